// Excel's Value2 is Value without the Date and Currency types: a date cell
// reads as its serial number. The office has no Value2. Its Value reads a
// date cell as a Date but writes a Date into a cell as a plain number, as
// Value2 writes one. So Value stands in for Value2 where that comes out the
// same: a statement writing through Value2 (what it writes reads no Value2,
// or is another range's Value2 as a whole), and a single cell's Value2 read
// into a variable, turned into its serial number when it is a date. Other
// reads are left for the macro check to report.
#include <optional>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

const QString kValue2 = QStringLiteral(R"(\.\s*Value2\b)");

bool IsSingleCell(const QString& object_code, const QString& object_mask) {
  static const QRegularExpression cells = VbaPattern(QStringLiteral(R"((?:^|\.)\s*Cells\s*\([^,]+,[^,]+\)$)"));
  static const QRegularExpression range = VbaPattern(QStringLiteral(R"re((?:^|\.)\s*Range\s*\("([^"]*)"\)$)re"));
  static const QRegularExpression a1_cell = VbaPattern(QStringLiteral(R"(^\$?[A-Z]{1,3}\$?[0-9]+$)"));
  if (cells.match(object_mask).hasMatch()) return true;
  const auto match = range.match(object_mask);
  return match.hasMatch() &&
         a1_cell.match(object_code.mid(match.capturedStart(1), match.capturedLength(1))).hasMatch();
}

// `target.Value2 = value`: value reads no Value2 or is one range's Value2.
std::optional<QString> WriteThroughValue2(const QString& code, const QString& mask) {
  static const QRegularExpression write = VbaPattern(
      QStringLiteral(R"(^(\s*(?![^:=]*\b(?:Then|Else)\b)[^\s:=][^:=]*)\.\s*Value2(\s*=\s*)([^:]*)$)"));
  static const QRegularExpression value2 = VbaPattern(kValue2);
  const auto match = write.match(mask);
  if (!match.hasMatch() || value2.match(match.captured(1)).hasMatch()) return std::nullopt;
  const QString value_mask = match.captured(3);
  QString value = code.mid(match.capturedStart(3));
  const auto read = value2.match(value_mask);
  if (read.hasMatch()) {
    const bool whole_range = ObjectExpressionStart(value_mask, read.capturedStart()) == 0 &&
                             value_mask.mid(read.capturedEnd()).trimmed().isEmpty();
    if (!whole_range) return std::nullopt;
    value = value.left(read.capturedStart()) + QStringLiteral(".Value") + value.mid(read.capturedEnd());
  }
  return code.left(match.capturedEnd(1)) + QStringLiteral(".Value") + match.captured(2) + value;
}

// `name = cell.Value2`, then a date (or an amount of money) made a plain
// number on the same line.
std::optional<QString> ReadCellValue2(const QString& source, const QString& code, const QString& mask) {
  static const QRegularExpression read = VbaPattern(QStringLiteral(R"(^(\s*)(\w+)\s*=\s*([^:]*)\.\s*Value2\s*$)"));
  const auto match = read.match(mask);
  if (!match.hasMatch()) return std::nullopt;
  const QString object_mask = match.captured(3);
  const QString object = code.mid(match.capturedStart(3), match.capturedLength(3));
  if (ObjectExpressionStart(object_mask, object_mask.size()) != 0 || !IsSingleCell(object, object_mask))
    return std::nullopt;
  const QString name = match.captured(2);
  // A date put into a String reads as a date's text, not as the serial number.
  const QRegularExpression text_variable =
      VbaPattern(QStringLiteral(R"(\b%1(?:\$|\s+As\s+String\b))").arg(QRegularExpression::escape(name)));
  if (text_variable.match(source).hasMatch()) return std::nullopt;
  return QStringLiteral("%1%2 = %3.Value: If VarType(%2) = vbDate Or VarType(%2) = vbCurrency Then %2 = CDbl(%2)")
      .arg(match.captured(1), name, object);
}

}  // namespace

QString Value2AsValue(const QString& source) {
  // A module declaring a Value2 of its own (a Type's field) keeps it.
  static const QRegularExpression declared = VbaPattern(QStringLiteral(R"(\bValue2\s+As\b)"));
  if (declared.match(source).hasMatch()) return source;
  SourceLines lines = SplitSource(source);
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (statement.first != statement.last) continue;
    auto rewritten = WriteThroughValue2(statement.code, statement.mask);
    if (!rewritten) rewritten = ReadCellValue2(source, statement.code, statement.mask);
    if (rewritten) lines[statement.first].SetCode(*rewritten);
  }
  return JoinSource(lines);
}

}  // namespace excel
