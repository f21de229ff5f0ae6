// Borders(edge).LineStyle = xlContinuous: in Excel an edge without a line
// gets a thin one, and one with a line keeps its weight, cell by cell. The
// office keeps the width of no line, so nothing shows, and on a range it
// gives every cell the width the range's edge reads as a whole (thin where
// its cells differ). A cell's own edge reads xlThin for no line as for a
// thin one: setting the style and then xlThin where it reads so, a cell at
// a time, draws the missing lines and leaves every other weight alone. The
// statement becomes a call of a routine added at the end of the module that
// does so. The whole Borders collection (every edge at once) is left as
// written.
#include <vector>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

const char* const kEdgeRoutines = R"(
Private Sub Tabulon_DrawEdge(target, edge)
    Dim r As Long, c As Long, cellEdge As Long
    For r = 1 To target.Rows.Count
        For c = 1 To target.Columns.Count
            cellEdge = Tabulon_CellEdge(edge, r, c, target.Rows.Count, target.Columns.Count)
            If cellEdge <> 0 Then
                With target.Cells(r, c).Borders(cellEdge)
                    .LineStyle = xlContinuous
                    If .Weight = xlThin Then .Weight = xlThin
                End With
            End If
        Next c
    Next r
End Sub

Private Function Tabulon_CellEdge(edge, r, c, rows, columns) As Long
    Select Case edge
        Case xlEdgeTop: If r = 1 Then Tabulon_CellEdge = xlEdgeTop
        Case xlEdgeBottom: If r = rows Then Tabulon_CellEdge = xlEdgeBottom
        Case xlEdgeLeft: If c = 1 Then Tabulon_CellEdge = xlEdgeLeft
        Case xlEdgeRight: If c = columns Then Tabulon_CellEdge = xlEdgeRight
        Case xlInsideHorizontal: If r < rows Then Tabulon_CellEdge = xlEdgeBottom
        Case xlInsideVertical: If c < columns Then Tabulon_CellEdge = xlEdgeRight
        Case Else: Tabulon_CellEdge = edge
    End Select
End Function
)";

// `<object>.Borders(<edge>)` split into its two parts.
struct BorderEdge {
  QString object, edge;
};

BorderEdge SplitBorderEdge(const QString& code, const QRegularExpressionMatch& match) {
  return {code.mid(match.capturedStart(1), match.capturedLength(1)).trimmed(),
          code.mid(match.capturedStart(2), match.capturedLength(2)).trimmed()};
}

}  // namespace

QString ContinuousBordersDrawn(const QString& source) {
  static const QString kContinuous = QStringLiteral(R"(\.\s*LineStyle\s*=\s*(?:xlContinuous|1)\s*$)");
  static const QRegularExpression alone = VbaPattern(
      QStringLiteral(R"(^\s*(?![^:]*\b(?:Then|Else)\b)([^\s:][^:]*?)\s*\.\s*Borders\s*\(([^:()]+)\)\s*%1)").arg(kContinuous));
  static const QRegularExpression in_block = VbaPattern(QStringLiteral(R"(^\s*%1)").arg(kContinuous));
  static const QRegularExpression with_start = VbaPattern(QStringLiteral(R"(^\s*With\s+\S)"));
  static const QRegularExpression with_borders =
      VbaPattern(QStringLiteral(R"(^\s*With\s+(\S.*?)\s*\.\s*Borders\s*\(([^:()]+)\)\s*$)"));
  static const QRegularExpression with_end = VbaPattern(QStringLiteral(R"(^\s*End\s+With\b)"));
  SourceLines lines = SplitSource(source);
  std::vector<BorderEdge> blocks;  // the open With blocks, innermost last; no object for other blocks
  bool translated = false;
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (statement.first != statement.last) continue;
    BorderEdge edge;
    if (with_start.match(statement.mask).hasMatch()) {
      const auto match = with_borders.match(statement.mask);
      // An object inside another With cannot be named from within this one.
      const bool named = match.hasMatch() && !match.captured(1).startsWith(QLatin1Char('.'));
      blocks.push_back(named ? SplitBorderEdge(statement.code, match) : BorderEdge{});
    } else if (with_end.match(statement.mask).hasMatch()) {
      if (!blocks.empty()) blocks.pop_back();
    } else if (const auto match = alone.match(statement.mask); match.hasMatch()) {
      edge = SplitBorderEdge(statement.code, match);
    } else if (!blocks.empty() && !blocks.back().object.isEmpty() && in_block.match(statement.mask).hasMatch()) {
      edge = blocks.back();
    }
    if (edge.object.isEmpty()) continue;
    lines[statement.first].SetCode(lines[statement.first].Indent() +
                                   QStringLiteral("Tabulon_DrawEdge %1, %2").arg(edge.object, edge.edge));
    translated = true;
  }
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kEdgeRoutines);
  return out;
}

}  // namespace excel
