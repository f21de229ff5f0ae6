// Borders as Excel draws them, cell by cell, where the office draws them
// otherwise:
// - LineStyle = xlContinuous: in Excel an edge without a line gets a thin
//   one, and one with a line keeps its weight. The office keeps the width of
//   no line, so nothing shows, and on a range it gives every cell the width
//   the range's edge reads as a whole (thin where its cells differ). A
//   cell's own edge reads xlThin for no line as for a thin one: setting the
//   style and then xlThin where it reads so, a cell at a time, draws the
//   missing lines and leaves every other weight alone.
// - Weight = xlMedium: the office's medium is the width it reads Excel's
//   thick line as, and it saves it as thick. The line gets the width the
//   office reads Excel's medium line as instead (a macro reading the weight
//   back then gets 0, not xlMedium).
// Either on one edge, Borders(edge), or on the whole collection, Borders,
// which is every edge of every cell of the range. The statement becomes a
// call of a routine added at the end of the module.
#include <vector>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

const char* const kEdgeRoutines = R"(
Private Sub Tabulon_DrawEdge(target, edge)
    Tabulon_EachCellEdge target, edge, False
End Sub

Private Sub Tabulon_MediumEdge(target, edge)
    Tabulon_EachCellEdge target, edge, True
End Sub

' Edge 0 is the whole Borders collection: every edge of every cell.
Private Sub Tabulon_EachCellEdge(target, edge, medium)
    Dim r As Long, c As Long, cellEdge As Variant, e As Variant, edges As Variant
    edges = Array(edge)
    If edge = 0 Then edges = Array(xlEdgeLeft, xlEdgeTop, xlEdgeBottom, xlEdgeRight, xlInsideVertical, xlInsideHorizontal)
    For Each e In edges
        For r = 1 To target.Rows.Count
            For c = 1 To target.Columns.Count
                For Each cellEdge In Tabulon_CellEdges(e, r, c, target.Rows.Count, target.Columns.Count)
                    If cellEdge = 0 Then
                    ElseIf medium Then
                        Tabulon_MediumLine target.Cells(r, c), cellEdge
                    Else
                        With target.Cells(r, c).Borders(cellEdge)
                            .LineStyle = xlContinuous
                            If .Weight = xlThin Then .Weight = xlThin
                        End With
                    End If
                Next cellEdge
            Next c
        Next r
    Next e
End Sub

' The cell's own edges that make up the range's edge; 0 for none. Excel
' gives both cells beside an inside edge the line.
Private Function Tabulon_CellEdges(edge, r, c, rows, columns)
    Dim edges(1) As Long
    Select Case edge
        Case xlEdgeTop: If r = 1 Then edges(0) = xlEdgeTop
        Case xlEdgeBottom: If r = rows Then edges(0) = xlEdgeBottom
        Case xlEdgeLeft: If c = 1 Then edges(0) = xlEdgeLeft
        Case xlEdgeRight: If c = columns Then edges(0) = xlEdgeRight
        Case xlInsideHorizontal
            If r < rows Then edges(0) = xlEdgeBottom
            If r > 1 Then edges(1) = xlEdgeTop
        Case xlInsideVertical
            If c < columns Then edges(0) = xlEdgeRight
            If c > 1 Then edges(1) = xlEdgeLeft
        Case Else: edges(0) = edge
    End Select
    Tabulon_CellEdges = edges
End Function

' 62 hundredths of a millimetre: a medium line as the office reads it from
' a workbook, and the width it saves as medium again.
Private Sub Tabulon_MediumLine(cell, edge)
    Dim place As Object, side As String, border As Object
    cell.Borders(edge).Weight = xlMedium
    Select Case edge
        Case xlEdgeTop: side = "TopBorder2"
        Case xlEdgeBottom: side = "BottomBorder2"
        Case xlEdgeLeft: side = "LeftBorder2"
        Case xlEdgeRight: side = "RightBorder2"
        Case xlDiagonalDown: side = "DiagonalTLBR2"
        Case xlDiagonalUp: side = "DiagonalBLTR2"
        Case Else: Exit Sub
    End Select
    place = ThisComponent.Sheets.getByName(cell.Worksheet.Name).getCellRangeByName(cell.Address(False, False))
    border = place.getPropertyValue(side)
    border.OuterLineWidth = 62
    border.LineWidth = 62
    place.setPropertyValue(side, border)
End Sub
)";

// `<object>.Borders[(<edge>)]` split into its parts; edge "0" for the whole
// collection, no object for a With block of something else.
struct BorderEdge {
  QString object, edge;
};

BorderEdge SplitBorderEdge(const QString& code, const QRegularExpressionMatch& match) {
  return {code.mid(match.capturedStart(1), match.capturedLength(1)).trimmed(),
          match.capturedLength(2) > 0 ? code.mid(match.capturedStart(2), match.capturedLength(2)).trimmed()
                                      : QStringLiteral("0")};
}

// The routine for `.<property> = <value>`; empty when Excel and the office
// draw it alike.
QString RoutineFor(const QString& property, const QString& value) {
  if (property.compare(QLatin1String("LineStyle"), Qt::CaseInsensitive) == 0 &&
      (value.compare(QLatin1String("xlContinuous"), Qt::CaseInsensitive) == 0 || value == QLatin1String("1")))
    return QStringLiteral("Tabulon_DrawEdge");
  if (property.compare(QLatin1String("Weight"), Qt::CaseInsensitive) == 0 &&
      (value.compare(QLatin1String("xlMedium"), Qt::CaseInsensitive) == 0 || value == QLatin1String("-4138")))
    return QStringLiteral("Tabulon_MediumEdge");
  return {};
}

}  // namespace

QString BordersDrawnAsExcelDrawsThem(const QString& source) {
  static const QString kBorders = QStringLiteral(R"(\s*\.\s*Borders\s*(?:\(([^:()]+)\))?\s*)");
  static const QString kSetting = QStringLiteral(R"(\.\s*(LineStyle|Weight)\s*=\s*(\S+)\s*$)");
  static const QRegularExpression alone = VbaPattern(
      QStringLiteral(R"(^\s*(?![^:]*\b(?:Then|Else)\b)([^\s:][^:]*?)%1%2)").arg(kBorders, kSetting));
  static const QRegularExpression in_block = VbaPattern(QStringLiteral(R"(^\s*()()%1)").arg(kSetting));
  static const QRegularExpression with_start = VbaPattern(QStringLiteral(R"(^\s*With\s+\S)"));
  static const QRegularExpression with_borders = VbaPattern(QStringLiteral(R"(^\s*With\s+(\S.*?)%1$)").arg(kBorders));
  static const QRegularExpression with_end = VbaPattern(QStringLiteral(R"(^\s*End\s+With\b)"));
  SourceLines lines = SplitSource(source);
  std::vector<BorderEdge> blocks;  // the open With blocks, innermost last
  bool translated = false;
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (statement.first != statement.last) continue;
    BorderEdge edge;
    QRegularExpressionMatch setting;
    if (with_start.match(statement.mask).hasMatch()) {
      const auto match = with_borders.match(statement.mask);
      // An object inside another With cannot be named from within this one.
      const bool named = match.hasMatch() && !match.captured(1).startsWith(QLatin1Char('.'));
      blocks.push_back(named ? SplitBorderEdge(statement.code, match) : BorderEdge{});
      continue;
    }
    if (with_end.match(statement.mask).hasMatch()) {
      if (!blocks.empty()) blocks.pop_back();
      continue;
    }
    if (setting = alone.match(statement.mask); setting.hasMatch()) {
      edge = SplitBorderEdge(statement.code, setting);
    } else if (setting = in_block.match(statement.mask); setting.hasMatch() && !blocks.empty()) {
      edge = blocks.back();
    }
    const QString routine = edge.object.isEmpty() ? QString() : RoutineFor(setting.captured(3), setting.captured(4));
    if (routine.isEmpty()) continue;
    lines[statement.first].SetCode(lines[statement.first].Indent() +
                                   QStringLiteral("%1 %2, %3").arg(routine, edge.object, edge.edge));
    translated = true;
  }
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kEdgeRoutines);
  return out;
}

}  // namespace excel
