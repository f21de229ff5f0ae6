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

// Excel still works out what Debug.Print would print, with any error or
// call that brings: the items become an array's, which is then dropped.
QString DebugPrintWorksOutItsItems(const QString& source) {
  static const QRegularExpression print = VbaPattern(QStringLiteral(R"(^(\s*)Debug\s*\.\s*Print\b([^:]*)$)"));
  static const QRegularExpression spacing = VbaPattern(QStringLiteral(R"(^(?:Spc|Tab)\s*(\(.*\))$)"));
  SourceLines lines = SplitSource(source);
  for (const LogicalLine& statement : LogicalLines(lines)) {
    const auto match = print.match(statement.mask);
    if (!match.hasMatch()) continue;
    QString items_mask = match.captured(2);
    const QString items_code = statement.code.mid(match.capturedStart(2));
    items_mask.replace(QLatin1Char(';'), QLatin1Char(','));  // the mask shows no literal's ';'
    QStringList items;
    for (const TextSpan& span : ArgumentSpans(items_mask)) {
      QString item = items_code.mid(span.from, span.to - span.from);
      const auto spaced = spacing.match(items_mask.mid(span.from, span.to - span.from));
      if (spaced.hasMatch()) item = item.mid(spaced.capturedStart(1));  // Tab(n), Spc(n): n is worked out
      if (!item.isEmpty() && item.compare(QLatin1String("Tab"), Qt::CaseInsensitive) != 0) items << item;
    }
    BlankStatement(lines, statement);
    if (!items.isEmpty())
      lines[statement.first].SetCode(match.captured(1) + QStringLiteral("If IsNull(Array(%1)) Then Beep")
                                                              .arg(items.join(QStringLiteral(", "))));
  }
  return JoinSource(lines);
}

}  // namespace excel
