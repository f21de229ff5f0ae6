// SpecialCells(xlCellTypeLastCell), which the office lacks, written with the
// members it has.
#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {

// Excel's last cell is the bottom right cell of the sheet's used range,
// whatever range SpecialCells is asked on.
QString LastCellFromUsedRange(const QString& source) {
  static const QRegularExpression last_cell =
      VbaPattern(QStringLiteral(R"(\.SpecialCells\s*\(\s*(?:xlCellTypeLastCell|xlLastCell|11)\s*\))"));
  SourceLines lines = SplitSource(source);
  for (SourceLine& line : lines) {
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
  }
  return JoinSource(lines);
}

}  // namespace excel
