// Borders(edge).LineStyle = xlContinuous: in Excel an edge without a line
// gets a thin one, and one with a line keeps its weight. The office keeps
// the width of no line, so nothing shows. Its Weight reads xlThin for no
// line as for a thin one: setting xlThin where it reads so draws the line
// and leaves every other weight alone. (Along an edge whose cells mix a
// line with none the office reads xlThin too, and the line becomes thin.)
// The whole Borders collection reads no weight when its edges differ, so
// Borders.LineStyle is left as written.
#include <vector>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {

QString ContinuousBordersDrawn(const QString& source) {
  static const QString kContinuous = QStringLiteral(R"(\.\s*LineStyle\s*=\s*(?:xlContinuous|1)\s*$)");
  static const QRegularExpression alone = VbaPattern(
      QStringLiteral(R"(^\s*(?![^:]*\b(?:Then|Else)\b)([^\s:][^:]*\bBorders\s*\([^:()]+\))\s*%1)").arg(kContinuous));
  static const QRegularExpression in_block = VbaPattern(QStringLiteral(R"(^\s*%1)").arg(kContinuous));
  static const QRegularExpression with_start = VbaPattern(QStringLiteral(R"(^\s*With\s+\S)"));
  static const QRegularExpression with_borders =
      VbaPattern(QStringLiteral(R"(^\s*With\s+\S.*\bBorders\s*\([^:()]+\)\s*$)"));
  static const QRegularExpression with_end = VbaPattern(QStringLiteral(R"(^\s*End\s+With\b)"));
  SourceLines lines = SplitSource(source);
  std::vector<bool> border_blocks;  // the open With blocks, innermost last
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (statement.first != statement.last) continue;
    QString object;
    if (with_start.match(statement.mask).hasMatch()) {
      border_blocks.push_back(with_borders.match(statement.mask).hasMatch());
    } else if (with_end.match(statement.mask).hasMatch()) {
      if (!border_blocks.empty()) border_blocks.pop_back();
    } else if (const auto match = alone.match(statement.mask); match.hasMatch()) {
      object = statement.code.mid(match.capturedStart(1), match.capturedLength(1)).trimmed();
    } else if (!border_blocks.empty() && border_blocks.back() && in_block.match(statement.mask).hasMatch()) {
      object = QStringLiteral("");  // the block's own object: ".Weight"
    }
    if (object.isNull()) continue;
    lines[statement.first].SetCode(statement.code + QStringLiteral(": If %1.Weight = xlThin Then %1.Weight = xlThin").arg(object));
  }
  return JoinSource(lines);
}

}  // namespace excel
