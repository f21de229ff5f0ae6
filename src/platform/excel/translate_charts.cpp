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
// Charts written by hand, Set c = <sheet>.ChartObjects.Add(left, top, width,
// height) or With <sheet>.ChartObjects.Add(...), go the same way when
// c.Chart.SetSourceData (and c.Chart.ChartType) come straight after: the Add
// becomes a call of the routine at the chart object's place, returning the
// office's chart object, and the statements that follow run on it.
#include <optional>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

struct RecordedChart {
  QString sheet;  // an expression for the sheet the chart goes on
  QString type = QStringLiteral("51");  // Excel's default: clustered columns
  QString source, plot_by = QStringLiteral("0");
  QString place;  // ChartObjects.Add's left, top, width, height in points
  QString head;   // what takes ChartObjects.Add's chart object: "Set c = " or "With "
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
Private Function Tabulon_AddChart(host, source, chartType, plotBy, Optional left, Optional top, Optional width, Optional height) As String
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
    ' Excel's size for a new chart, 5 by 3 inches, beside the data, unless
    ' placed in points (1/72 inch; the office counts 1/100 mm).
    place = CreateUnoStruct("com.sun.star.awt.Rectangle")
    If IsMissing(left) Then
        place.X = data.Position.X + data.Size.Width + 500
        place.Y = data.Position.Y
        place.Width = 12700
        place.Height = 7620
    Else
        place.X = left * 2540 / 72
        place.Y = top * 2540 / 72
        place.Width = width * 2540 / 72
        place.Height = height * 2540 / 72
    End If
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
    Tabulon_AddChart = name
End Function

Private Function Tabulon_ChartObject(host, source, chartType, plotBy, left, top, width, height) As Object
    Set Tabulon_ChartObject = host.ChartObjects(Tabulon_AddChart(host, source, chartType, plotBy, left, top, width, height))
End Function

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

// SetSourceData's PlotBy as its number: 2 by columns, 1 by rows.
std::optional<QString> PlotBy(const QString& value) {
  if (value.compare(QLatin1String("xlColumns"), Qt::CaseInsensitive) == 0 || value == QLatin1String("2"))
    return QStringLiteral("2");
  if (value.compare(QLatin1String("xlRows"), Qt::CaseInsensitive) == 0 || value == QLatin1String("1"))
    return QStringLiteral("1");
  return std::nullopt;
}

// One call on a chart: its member lower-cased, whether it is assigned, and
// the code after the member (and `=`). False for any the office's chart
// cannot take as Excel does; `located` is null where a chart cannot move.
bool ParseChartMember(const QString& member, bool assigned, const QString& rest, const QString& rest_mask,
                      RecordedChart& chart, bool* located) {
  if (member == QLatin1String("charttype") && assigned) {
    const auto type = ChartType(rest.trimmed());
    if (type) chart.type = *type;
    return type.has_value();
  }
  if (assigned) return false;
  static const QRegularExpression named = VbaPattern(QStringLiteral(R"(^\s*(\w+)\s*:=\s*)"));
  const std::vector<TextSpan> spans = ArgumentSpans(rest_mask);
  for (std::size_t i = 0; i < spans.size(); ++i) {
    const QString mask = rest_mask.mid(spans[i].from, spans[i].to - spans[i].from);
    const auto match = named.match(mask);
    // SetSourceData(Source, PlotBy) may come without names.
    QString name = match.hasMatch() ? match.captured(1).toLower()
                   : member == QLatin1String("setsourcedata") && i < 2 ? QLatin1String(i == 0 ? "source" : "plotby")
                                                                        : QString();
    if (name.isEmpty()) return false;
    const qsizetype skip = match.hasMatch() ? match.capturedEnd() : 0;
    const QString value = rest.mid(spans[i].from + skip, spans[i].to - spans[i].from - skip).trimmed();
    if (member == QLatin1String("setsourcedata") && name == QLatin1String("source")) chart.source = value;
    else if (member == QLatin1String("setsourcedata") && name == QLatin1String("plotby")) {
      const auto plot_by = PlotBy(value);
      if (!plot_by) return false;
      chart.plot_by = *plot_by;
    } else if (located && member == QLatin1String("location") && name == QLatin1String("where")) {
      if (value.compare(QLatin1String("xlLocationAsObject"), Qt::CaseInsensitive) != 0 && value != QLatin1String("2"))
        return false;
    } else if (located && member == QLatin1String("location") && name == QLatin1String("name")) {
      chart.sheet = QStringLiteral("Sheets(%1)").arg(value);
      *located = true;
    } else {
      return false;
    }
  }
  return true;
}

// One ActiveChart statement of the recorder's block.
bool ParseActiveChart(const LogicalLine& statement, RecordedChart& chart, bool* located) {
  static const QRegularExpression call = VbaPattern(QStringLiteral(R"(^\s*ActiveChart\s*\.\s*(\w+)\s*(=)?\s*)"));
  const auto match = call.match(statement.mask);
  return match.hasMatch() && ParseChartMember(match.captured(1).toLower(), match.capturedLength(2) > 0,
                                              statement.code.mid(match.capturedEnd()),
                                              statement.mask.mid(match.capturedEnd()), chart, located);
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

// ChartObjects.Add's Left, Top, Width and Height, named or in that order.
std::optional<QString> ChartObjectPlace(const QString& code, const QString& mask) {
  static const QRegularExpression named = VbaPattern(QStringLiteral(R"(^\s*(Left|Top|Width|Height)\s*:=\s*)"));
  static const QStringList order = {QStringLiteral("left"), QStringLiteral("top"), QStringLiteral("width"),
                                    QStringLiteral("height")};
  const std::vector<TextSpan> spans = ArgumentSpans(mask);
  if (spans.size() != 4) return std::nullopt;
  QStringList place(4);
  for (std::size_t i = 0; i < 4; ++i) {
    const auto match = named.match(mask.mid(spans[i].from, spans[i].to - spans[i].from));
    const qsizetype at = match.hasMatch() ? order.indexOf(match.captured(1).toLower()) : qsizetype(i);
    const qsizetype skip = match.hasMatch() ? match.capturedEnd() : 0;
    place[at] = code.mid(spans[i].from + skip, spans[i].to - spans[i].from - skip).trimmed();
  }
  if (place.contains(QString())) return std::nullopt;
  return place.join(QStringLiteral(", "));
}

std::optional<RecordedChart> ParseChartObject(const std::vector<LogicalLine>& statements, std::size_t start) {
  static const QRegularExpression add = VbaPattern(QStringLiteral(
      R"(^\s*(Set\s+(\w+)\s*=\s*|With\s+)([^\s.]\S*?)\s*\.\s*ChartObjects\s*\.\s*Add\s*\(([^()]*)\)\s*$)"));
  const LogicalLine& statement = statements[start];
  const auto match = add.match(statement.mask);
  if (!match.hasMatch()) return std::nullopt;
  RecordedChart chart;
  const auto place = ChartObjectPlace(statement.code.mid(match.capturedStart(4), match.capturedLength(4)), match.captured(4));
  if (!place) return std::nullopt;
  chart.place = *place;
  chart.head = statement.code.mid(match.capturedStart(1), match.capturedLength(1));
  chart.sheet = statement.code.mid(match.capturedStart(3), match.capturedLength(3));
  const QString object = match.capturedLength(2) > 0 ? QRegularExpression::escape(match.captured(2)) : QString();
  const QRegularExpression call =
      VbaPattern(QStringLiteral(R"(^\s*%1\s*\.\s*Chart\s*\.\s*(SetSourceData|ChartType)\b\s*(=)?\s*)").arg(object));
  chart.first = chart.last = start;
  for (std::size_t i = start + 1; i < statements.size(); ++i) {
    const auto member = call.match(statements[i].mask);
    if (!member.hasMatch()) break;
    if (!ParseChartMember(member.captured(1).toLower(), member.capturedLength(2) > 0,
                          statements[i].code.mid(member.capturedEnd()), statements[i].mask.mid(member.capturedEnd()),
                          chart, nullptr))
      return std::nullopt;
    chart.last = i;
  }
  if (chart.source.isEmpty()) return std::nullopt;
  return chart;
}

QString ChartCall(const RecordedChart& chart) {
  if (chart.place.isEmpty())
    return QStringLiteral("Tabulon_AddChart %1, %2, %3, %4").arg(chart.sheet, chart.source, chart.type, chart.plot_by);
  return chart.head + QStringLiteral("Tabulon_ChartObject(%1, %2, %3, %4, %5)")
                          .arg(chart.sheet, chart.source, chart.type, chart.plot_by, chart.place);
}

}  // namespace

QString ChartsAsTheOfficesOwn(const QString& source) {
  SourceLines lines = SplitSource(source);
  const std::vector<LogicalLine> statements = LogicalLines(lines);
  bool translated = false;
  for (std::size_t i = 0; i < statements.size(); ++i) {
    auto chart = ParseChart(statements, i);
    if (!chart) chart = ParseChartObject(statements, i);
    if (!chart) continue;
    const QString indent = lines[statements[i].first].Indent();
    for (std::size_t s = chart->first; s <= chart->last; ++s) BlankStatement(lines, statements[s]);
    lines[statements[i].first].SetCode(indent + ChartCall(*chart));
    translated = true;
    i = chart->last;
  }
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kChartRoutines);
  return out;
}

}  // namespace excel
