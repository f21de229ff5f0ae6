// The recorder's charts, which the office cannot make as Excel does (it has
// no Shapes.AddChart, AddChart2 or chart sheets, and its ChartObjects draw a
// column chart as bars with the data copied in):
//   ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select        (2013+)
//   ActiveSheet.Shapes.AddChart.Select / ActiveChart.ChartType = ...   (2007, 2010)
//   Charts.Add / ActiveChart.ChartType = ... / ... / ActiveChart.Location
//       Where:=xlLocationAsObject, Name:="Data"                         (2003)
// each with ActiveChart.SetSourceData Source:=Range(...)[, PlotBy:=...].
// The block becomes one call, on its first line, of a routine added at the
// end of the module that makes the office's own chart of the same type on
// that sheet, linked to the cells, with series and categories taken from the
// range as Excel takes them. Any other ActiveChart statement in the block,
// a type without a counterpart, or a chart sheet leaves the block to the
// macro check.
#include <optional>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

struct RecordedChart {
  QString sheet;  // an expression for the sheet the chart goes on
  QString type = QStringLiteral("51");  // Excel's default: clustered columns
  QString source, plot_by = QStringLiteral("0");
  std::size_t first = 0, last = 0;
};

// Excel's chart types that the office draws the same way.
std::optional<QString> ChartType(const QString& value) {
  static const std::pair<const char*, int> known[] = {
      {"xlColumnClustered", 51}, {"xlColumnStacked", 52}, {"xlColumnStacked100", 53}, {"xlBarClustered", 57},
      {"xlBarStacked", 58},      {"xlBarStacked100", 59}, {"xlLine", 4},              {"xlLineMarkers", 65},
      {"xlPie", 5},              {"xlArea", 1},           {"xlAreaStacked", 76}};
  for (const auto& [name, number] : known) {
    if (value.compare(QLatin1String(name), Qt::CaseInsensitive) == 0 || value == QString::number(number))
      return QString::number(number);
  }
  return std::nullopt;
}

const char* const kChartRoutines = R"(
Private Sub Tabulon_AddChart(host, source, chartType, plotBy)
    Dim sheet As Object, data As Object, charts As Object, chart As Object, place As Object
    Dim name As String, n As Long, categories As Boolean, names As Boolean, diagram As Object
    sheet = ThisComponent.Sheets.getByName(host.Name)
    data = ThisComponent.Sheets.getByName(source.Worksheet.Name).getCellRangeByName(source.Address(False, False))
    ' Excel's guess: the first column holds categories when the corner is
    ' empty or the column is text; the first row names the series when it is text.
    categories = data.getCellByPosition(0, 0).Type = com.sun.star.table.CellContentType.EMPTY
    If data.Rows.Count > 1 Then categories = categories Or data.getCellByPosition(0, 1).Type = com.sun.star.table.CellContentType.TEXT
    names = data.getCellByPosition(data.Columns.Count - 1, 0).Type = com.sun.star.table.CellContentType.TEXT
    ' A chart's name is the document's, not just its sheet's.
    n = 1
    Do While Tabulon_ChartNameTaken("Chart " & n)
        n = n + 1
    Loop
    name = "Chart " & n
    charts = sheet.Charts
    ' Excel's size for a new chart, 5 by 3 inches, beside the data.
    place = CreateUnoStruct("com.sun.star.awt.Rectangle")
    place.X = data.Position.X + data.Size.Width + 500
    place.Y = data.Position.Y
    place.Width = 12700
    place.Height = 7620
    charts.addNewByName(name, place, Array(data.RangeAddress), names, categories)
    chart = charts.getByName(name).EmbeddedObject
    Select Case chartType
        Case 4, 65: diagram = chart.createInstance("com.sun.star.chart.LineDiagram")
        Case 5: diagram = chart.createInstance("com.sun.star.chart.PieDiagram")
        Case 1, 76: diagram = chart.createInstance("com.sun.star.chart.AreaDiagram")
        Case Else: diagram = chart.createInstance("com.sun.star.chart.BarDiagram")
    End Select
    chart.setDiagram(diagram)
    Select Case chartType
        Case 51, 52, 53: diagram.Vertical = False
        Case 57, 58, 59: diagram.Vertical = True
        Case 4: diagram.SymbolType = com.sun.star.chart.ChartSymbolType.NONE
    End Select
    If chartType = 52 Or chartType = 58 Or chartType = 76 Then diagram.Stacked = True
    If chartType = 53 Or chartType = 59 Then diagram.Percent = True
    ' By rows when told, or when the range is wider than it is tall.
    If plotBy = 1 Or (plotBy = 0 And data.Columns.Count > data.Rows.Count) Then
        diagram.DataRowSource = com.sun.star.chart.ChartDataRowSource.ROWS
    End If
End Sub

Private Function Tabulon_ChartNameTaken(name) As Boolean
    Dim i As Long
    For i = 0 To ThisComponent.Sheets.Count - 1
        If ThisComponent.Sheets.getByIndex(i).Charts.hasByName(name) Then Tabulon_ChartNameTaken = True
    Next i
End Function
)";

QString Trimmed(const LogicalLine& statement) { return statement.code.trimmed(); }

// `<sheet>.Shapes.AddChart2(style, type...).Select`, `.AddChart.Select` or
// `Charts.Add`: where the block starts.
bool ParseStart(const LogicalLine& statement, RecordedChart& chart, bool* needs_location) {
  static const QRegularExpression add_chart =
      VbaPattern(QStringLiteral(R"(^\s*(\S.*?)\s*\.\s*Shapes\s*\.\s*AddChart(2)?\s*(\(([^()]*)\))?\s*\.\s*Select\s*$)"));
  static const QRegularExpression charts_add = VbaPattern(QStringLiteral(R"(^\s*Charts\s*\.\s*Add\s*$)"));
  if (charts_add.match(statement.mask).hasMatch()) {
    *needs_location = true;
    return true;
  }
  const auto match = add_chart.match(statement.mask);
  if (!match.hasMatch()) return false;
  chart.sheet = statement.code.mid(match.capturedStart(1), match.capturedLength(1));
  if (match.capturedLength(4) > 0) {
    const QString arguments_mask = match.captured(4);
    const QString arguments = statement.code.mid(match.capturedStart(4), match.capturedLength(4));
    const std::vector<TextSpan> spans = ArgumentSpans(arguments_mask);
    // AddChart2(Style, XlChartType, ...); AddChart(XlChartType, ...).
    const std::size_t type_at = match.capturedLength(2) > 0 ? 1 : 0;
    if (spans.size() > type_at) {
      const auto type = ChartType(arguments.mid(spans[type_at].from, spans[type_at].to - spans[type_at].from));
      if (!type) return false;
      chart.type = *type;
    }
    if (spans.size() > type_at + 1) return false;  // a place and size of its own
  }
  *needs_location = false;
  return true;
}

// The named arguments of an ActiveChart call, lower-cased names to values.
std::optional<std::vector<std::pair<QString, QString>>> NamedArguments(const QString& code, const QString& mask) {
  static const QRegularExpression named = VbaPattern(QStringLiteral(R"(^(\w+)\s*:=\s*)"));
  std::vector<std::pair<QString, QString>> out;
  for (const TextSpan& span : ArgumentSpans(mask)) {
    const auto match = named.match(mask.mid(span.from, span.to - span.from));
    if (!match.hasMatch()) return std::nullopt;
    out.emplace_back(match.captured(1).toLower(),
                     code.mid(span.from + match.capturedEnd(), span.to - span.from - match.capturedEnd()).trimmed());
  }
  return out;
}

// One ActiveChart statement of the block; false for any the office's chart
// cannot take as Excel does.
bool ParseActiveChart(const LogicalLine& statement, RecordedChart& chart, bool* located) {
  static const QRegularExpression call = VbaPattern(QStringLiteral(R"(^\s*ActiveChart\s*\.\s*(\w+)\s*(=)?\s*)"));
  const auto match = call.match(statement.mask);
  if (!match.hasMatch()) return false;
  const QString member = match.captured(1).toLower();
  const QString rest = statement.code.mid(match.capturedEnd());
  if (member == QLatin1String("charttype") && match.capturedLength(2) > 0) {
    const auto type = ChartType(rest.trimmed());
    if (type) chart.type = *type;
    return type.has_value();
  }
  const auto arguments = NamedArguments(rest, statement.mask.mid(match.capturedEnd()));
  if (!arguments) return false;
  for (const auto& [name, value] : *arguments) {
    if (member == QLatin1String("setsourcedata") && name == QLatin1String("source")) chart.source = value;
    else if (member == QLatin1String("setsourcedata") && name == QLatin1String("plotby")) {
      if (value.compare(QLatin1String("xlColumns"), Qt::CaseInsensitive) == 0 || value == QLatin1String("2"))
        chart.plot_by = QStringLiteral("2");
      else if (value.compare(QLatin1String("xlRows"), Qt::CaseInsensitive) == 0 || value == QLatin1String("1"))
        chart.plot_by = QStringLiteral("1");
      else return false;
    } else if (member == QLatin1String("location") && name == QLatin1String("where")) {
      if (value.compare(QLatin1String("xlLocationAsObject"), Qt::CaseInsensitive) != 0 && value != QLatin1String("2"))
        return false;
    } else if (member == QLatin1String("location") && name == QLatin1String("name")) {
      chart.sheet = QStringLiteral("Sheets(%1)").arg(value);
      *located = true;
    } else {
      return false;
    }
  }
  return true;
}

std::optional<RecordedChart> ParseChart(const std::vector<LogicalLine>& statements, std::size_t start) {
  RecordedChart chart;
  bool needs_location = false, located = false;
  if (!ParseStart(statements[start], chart, &needs_location)) return std::nullopt;
  chart.first = chart.last = start;
  for (std::size_t i = start + 1; i < statements.size() && Trimmed(statements[i]).startsWith(QLatin1String("ActiveChart"), Qt::CaseInsensitive); ++i) {
    if (!ParseActiveChart(statements[i], chart, &located)) return std::nullopt;
    chart.last = i;
  }
  if (chart.source.isEmpty() || needs_location != located) return std::nullopt;
  return chart;
}

}  // namespace

QString ChartsAsTheOfficesOwn(const QString& source) {
  SourceLines lines = SplitSource(source);
  const std::vector<LogicalLine> statements = LogicalLines(lines);
  bool translated = false;
  for (std::size_t i = 0; i < statements.size(); ++i) {
    const auto chart = ParseChart(statements, i);
    if (!chart) continue;
    const QString indent = lines[statements[i].first].Indent();
    for (std::size_t s = chart->first; s <= chart->last; ++s) BlankStatement(lines, statements[s]);
    lines[statements[i].first].SetCode(indent + QStringLiteral("Tabulon_AddChart %1, %2, %3, %4")
                                                    .arg(chart->sheet, chart->source, chart->type, chart->plot_by));
    translated = true;
    i = chart->last;
  }
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kChartRoutines);
  return out;
}

}  // namespace excel
