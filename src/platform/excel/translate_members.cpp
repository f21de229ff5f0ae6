// Range members the office lacks, written as the members it has.
#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

QString ForEachLine(const QString& source, const std::function<void(SourceLine&)>& rewrite) {
  SourceLines lines = SplitSource(source);
  for (SourceLine& line : lines) rewrite(line);
  return JoinSource(lines);
}

}  // namespace

// The office's Value is Excel's Value2: a date cell reads as its serial
// number. A module declaring a Value2 of its own (a Type's field) keeps it.
QString ReadValue2AsValue(const QString& source) {
  static const QRegularExpression value2 = VbaPattern(QStringLiteral(R"(\.\s*Value2\b)"));
  static const QRegularExpression declared = VbaPattern(QStringLiteral(R"(\bValue2\s+As\b)"));
  if (declared.match(source).hasMatch()) return source;
  return ForEachLine(source, [](SourceLine& line) {
    ReplaceInCode(line, value2, [](const QRegularExpressionMatch&, const SourceLine&) { return QStringLiteral(".Value"); });
  });
}

// Excel's last cell is the bottom right cell of the sheet's used range,
// whatever range SpecialCells is asked on.
QString LastCellFromUsedRange(const QString& source) {
  static const QRegularExpression last_cell =
      VbaPattern(QStringLiteral(R"(\.SpecialCells\s*\(\s*(?:xlCellTypeLastCell|xlLastCell|11)\s*\))"));
  return ForEachLine(source, [](SourceLine& line) {
    const QString mask = line.CodeMask();
    const QString code = line.Code();
    QString rewritten = code;
    std::vector<QRegularExpressionMatch> matches;
    for (auto it = last_cell.globalMatch(mask); it.hasNext();) matches.push_back(it.next());
    for (auto match = matches.rbegin(); match != matches.rend(); ++match) {
      const qsizetype start = ObjectExpressionStart(mask, match->capturedStart());
      if (start == match->capturedStart()) continue;
      const QString used = code.mid(start, match->capturedStart() - start) + QStringLiteral(".Worksheet.UsedRange");
      rewritten.replace(start, match->capturedEnd() - start,
                        QStringLiteral("%1.Cells(%1.Rows.Count, %1.Columns.Count)").arg(used));
    }
    if (rewritten != code) line.SetCode(rewritten);
  });
}

}  // namespace excel
