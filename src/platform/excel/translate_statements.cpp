// Statements with no effect on a workbook outside Excel's own windows, dropped.
#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

// Blanks every statement that is a whole line (or continued lines) and
// matches `pattern`; one sharing its line with another is left alone.
QString DropWholeStatements(const QString& source, const QRegularExpression& pattern) {
  SourceLines lines = SplitSource(source);
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (pattern.match(statement.mask).hasMatch()) BlankStatement(lines, statement);
  }
  return JoinSource(lines);
}

}  // namespace

QString DropPrintCommunication(const QString& source) {
  static const QRegularExpression assignment =
      VbaPattern(QStringLiteral(R"(^\s*(?:Excel\s*\.\s*)?Application\s*\.\s*PrintCommunication\s*=[^:]*$)"));
  return DropWholeStatements(source, assignment);
}

QString DropDebugPrint(const QString& source) {
  static const QRegularExpression print = VbaPattern(QStringLiteral(R"(^\s*Debug\s*\.\s*Print\b[^:]*$)"));
  return DropWholeStatements(source, print);
}

}  // namespace excel
