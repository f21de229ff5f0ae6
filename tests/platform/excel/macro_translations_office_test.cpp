// Excel 2007+ recorder output run by the office through Application.Run,
// from a template saved as .xls, with the effects read back from the cells
// and from the saved workbook.
#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <algorithm>
#include <gtest/gtest.h>

#include "biff_cell_format.h"
#include "office_test_support.h"
#include "platform/excel/application.h"

namespace {

struct SurveyRow {
  double id, amount;
  QString region;
};

// The notes' survey block: a header in A4:E4 and 20 rows below it.
std::vector<SurveyRow> SurveyRows() {
  static const char* regions[] = {"North", "South", "East", "West"};
  std::vector<SurveyRow> rows;
  for (int i = 0; i < 20; ++i)
    rows.push_back({double(i + 1), double((i * 37) % 23 + 1), QString::fromLatin1(regions[(i * 3) % 4])});
  return rows;
}

const char* const kRecordedModule = R"(Sub PageSetupBlock()
    Application.PrintCommunication = False
    With ActiveSheet.PageSetup
        .Orientation = xlLandscape
    End With
    Application.PrintCommunication = True
    Sheets("Summary").Range("A1").Value = "page set"
End Sub

Sub PrintProgress()
    Debug.Print "rows: "; Range("A4").CurrentRegion.Rows.Count
    Sheets("Summary").Range("A2").Value = "printed"
End Sub

Sub PrintMissingSheet()
    Debug.Print "rows: "; Sheets("No such sheet").UsedRange.Rows.Count
End Sub

Sub Values2()
    amount = Range("B5").Value2
    Sheets("Summary").Range("A3").Value2 = amount * 2
    Sheets("Summary").Range("B3").Value2 = Range("C5").Value2
    opened = Cells(5, 3).Value2
    Sheets("Summary").Range("C3").Value = TypeName(opened)
End Sub

Sub MarkLastCell()
    Sheets("Summary").Range("A4").Value = Cells.SpecialCells(xlCellTypeLastCell).Row
    Sheets("Summary").Range("B4").Value = ActiveSheet.Range("B7").SpecialCells(xlLastCell).Column
End Sub

Sub SortByRegionThenAmount()
    ActiveWorkbook.Worksheets("Data").Sort.SortFields.Clear
    ActiveWorkbook.Worksheets("Data").Sort.SortFields.Add Key:=Range("D5:D24"), _
        SortOn:=xlSortOnValues, Order:=xlAscending, DataOption:=xlSortNormal
    ActiveWorkbook.Worksheets("Data").Sort.SortFields.Add Key:=Range("B5:B24"), _
        SortOn:=xlSortOnValues, Order:=xlDescending, DataOption:=xlSortNormal
    With ActiveWorkbook.Worksheets("Data").Sort
        .SetRange Range("A4:E24")
        .Header = xlYes
        .MatchCase = False
        .Orientation = xlTopToBottom
        .SortMethod = xlPinYin
        .Apply
    End With
End Sub

Sub FormatHeader()
    Range("A4:E4").Select
    With Selection.Font
        .Name = "Calibri"
        .FontStyle = "Bold"
        .Size = 11
        .Strikethrough = False
        .Superscript = False
        .Subscript = False
        .OutlineFont = False
        .Shadow = False
        .Underline = xlUnderlineStyleNone
        .ThemeColor = xlThemeColorLight1
        .TintAndShade = 0
        .ThemeFont = xlThemeFontMinor
    End With
    Selection.Font.TintAndShade = 0
    Selection.Font.Subscript = False
    Sheets("Summary").Range("A5").Value = "formatted"
End Sub

Sub HighlightLargeAmounts()
    Range("B5:B24").Select
    Selection.FormatConditions.Delete
    Selection.FormatConditions.Add Type:=xlCellValue, Operator:=xlGreater, _
        Formula1:="=20"
    Selection.FormatConditions(Selection.FormatConditions.Count).SetFirstPriority
    With Selection.FormatConditions(1).Font
        .Color = -16383844
        .TintAndShade = 0
    End With
    With Selection.FormatConditions(1).Interior
        .PatternColorIndex = xlAutomatic
        .Color = 13551615
        .TintAndShade = 0
    End With
    Selection.FormatConditions(1).StopIfTrue = False
    Range("A1").Select
End Sub

Sub ChartScoresByRegion()
    Range("D4:E24").Select
    ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select
    ActiveChart.SetSourceData Source:=Range("Data!$D$4:$E$24")
    Range("A1").Select
End Sub

Sub ChartIdsAndAmountsOnSummary()
    Charts.Add
    ActiveChart.ChartType = xlLine
    ActiveChart.SetSourceData Source:=Sheets("Data").Range("A4:B24"), PlotBy:=xlColumns
    ActiveChart.Location Where:=xlLocationAsObject, Name:="Summary"
End Sub

Sub ChartScoresByHand()
    Dim co As ChartObject
    Set co = Sheets("Summary").ChartObjects.Add(Left:=300, Top:=20, Width:=400, Height:=250)
    co.Chart.SetSourceData Source:=Sheets("Data").Range("D4:E24")
    co.Chart.ChartType = xlColumnClustered
    co.Chart.HasTitle = True
    co.Chart.ChartTitle.Text = "Scores"
    Sheets("Summary").Range("A10").Value = co.Name
End Sub

Sub SortByIdAgain()
    ActiveSheet.Sort.SortFields.Clear
    ActiveSheet.Sort.SortFields.Add2 Key:=Range("A5"), SortOn:=xlSortOnValues, Order:=xlAscending, DataOption _
        :=xlSortNormal
    With ActiveSheet.Sort
        .SetRange Range("A4:E24")
        .Header = xlYes
        .MatchCase = False
        .Orientation = xlTopToBottom
        .Apply
    End With
End Sub
)";

QByteArray Digest(const QString& file) {
  QFile in(file);
  if (!in.open(QIODevice::ReadOnly)) return {};
  return QCryptographicHash::hash(in.readAll(), QCryptographicHash::Sha256);
}

QString MakeTemplate(excel::Application& app, const OutputFolder& folder) {
  auto book = app.Workbooks().Add();
  auto data = book.Worksheets().Item(1);
  data.SetName(QStringLiteral("Data"));
  book.Worksheets().Item(2).SetName(QStringLiteral("Summary"));
  const char* header[] = {"ID", "Amount", "Date", "Region", "Score"};
  for (int c = 0; c < 5; ++c) data.Cells(4, c + 1).SetValue(QString::fromLatin1(header[c]));
  data.Range(QStringLiteral("A4:E4")).SetFontColorIndex(3);  // red, until the recorder's black
  const auto rows = SurveyRows();
  for (int r = 0; r < int(rows.size()); ++r) {
    data.Cells(5 + r, 1).SetValue(rows[r].id);
    data.Cells(5 + r, 2).SetValue(rows[r].amount);
    data.Cells(5 + r, 3).SetValue(QDateTime(QDate(2024, 1, 1 + r), QTime()));
    data.Cells(5 + r, 4).SetValue(rows[r].region);
    data.Cells(5 + r, 5).SetValue(rows[r].amount / 2);
  }
  book.AddCodeModule(QStringLiteral("Recorded"), QString::fromLatin1(kRecordedModule));
  // What the office made of the conditional format, through its own API.
  book.AddCodeModule(QStringLiteral("Probe"), QStringLiteral(
      "Sub ProbeConditions()\n"
      "    Dim entries As Object, style As Object\n"
      "    entries = ThisComponent.Sheets.getByName(\"Data\").getCellRangeByName(\"B5:B24\").ConditionalFormat\n"
      "    Sheets(\"Summary\").Range(\"A7\").Value = entries.Count\n"
      "    Sheets(\"Summary\").Range(\"B7\").Value = CLng(entries.getByIndex(0).Operator)\n"
      "    Sheets(\"Summary\").Range(\"C7\").Value = \"'\" & entries.getByIndex(0).Formula1\n"
      "    style = ThisComponent.StyleFamilies.getByName(\"CellStyles\").getByName(entries.getByIndex(0).StyleName)\n"
      "    Sheets(\"Summary\").Range(\"D7\").Value = style.CharColor\n"
      "    Sheets(\"Summary\").Range(\"E7\").Value = style.CellBackColor\n"
      "End Sub\n"
      "Sub ProbeCharts()\n"
      "    Dim chart As Object, ranges As Variant\n"
      "    chart = ThisComponent.Sheets.getByName(\"Data\").Charts.getByIndex(0).EmbeddedObject\n"
      "    ranges = ThisComponent.Sheets.getByName(\"Data\").Charts.getByIndex(0).Ranges\n"
      "    With Sheets(\"Summary\")\n"
      "        .Range(\"A8\").Value = chart.Diagram.DiagramType\n"
      "        .Range(\"B8\").Value = chart.Diagram.Vertical\n"
      "        .Range(\"C8\").Value = ranges(0).StartColumn & \":\" & ranges(0).StartRow & \":\" & ranges(0).EndColumn & \":\" & ranges(0).EndRow\n"
      "        .Range(\"D8\").Value = chart.Data.RowDescriptions(0)\n"
      "        .Range(\"E8\").Value = chart.Data.ColumnDescriptions(0)\n"
      "        .Range(\"F8\").Value = UBound(chart.Data.RowDescriptions) + 1\n"
      "    End With\n"
      "    With chart.FirstDiagram.CoordinateSystems(0)\n"
      "        Sheets(\"Summary\").Range(\"G8\").Value = .ChartTypes(0).DataSeries(0).DataSequences(0).Values.SourceRangeRepresentation\n"
      "        Sheets(\"Summary\").Range(\"H8\").Value = .getAxisByDimension(0, 0).ScaleData.Categories.Values.SourceRangeRepresentation\n"
      "    End With\n"
      "    chart = ThisComponent.Sheets.getByName(\"Summary\").Charts.getByIndex(0).EmbeddedObject\n"
      "    Sheets(\"Summary\").Range(\"A9\").Value = chart.Diagram.DiagramType\n"
      "    Sheets(\"Summary\").Range(\"B9\").Value = UBound(chart.Data.ColumnDescriptions) + 1\n"
      "    chart = ThisComponent.Sheets.getByName(\"Summary\").Charts.getByName(Sheets(\"Summary\").Range(\"A10\").Value).EmbeddedObject\n"
      "    With Sheets(\"Summary\")\n"
      "        .Range(\"B10\").Value = chart.Diagram.DiagramType\n"
      "        .Range(\"C10\").Value = chart.Diagram.Vertical\n"
      "        .Range(\"D10\").Value = chart.Title.String\n"
      "        .Range(\"E10\").Value = chart.FirstDiagram.CoordinateSystems(0).getAxisByDimension(0, 0).ScaleData.Categories.Values.SourceRangeRepresentation\n"
      "    End With\n"
      "End Sub\n"));
  // What a translation writes compiles where every variable must be declared.
  book.AddCodeModule(QStringLiteral("Strict"), QStringLiteral("Option Explicit\n"
                                                              "Sub StrictRead()\n"
                                                              "    Dim amount As Variant\n"
                                                              "    amount = Cells(5, 2).Value2\n"
                                                              "    Sheets(\"Summary\").Range(\"A6\").Value = amount\n"
                                                              "End Sub\n"));
  data.Activate();
  const QString file = folder.File("recorded.xls");
  book.SaveAs(file);
  book.Close();
  return file;
}

}  // namespace

TEST(MacroTranslations, RecorderOutputRunsAsInExcelFromTheLoadedCopyOnly) {
  OutputFolder folder;
  auto app = excel::Application::Create();
  const QString template_file = MakeTemplate(*app, folder);
  const QByteArray template_digest = Digest(template_file);
  auto book = app->Workbooks().Add(template_file);
  auto data = book.Worksheets().Item(QStringLiteral("Data"));
  auto summary = book.Worksheets().Item(QStringLiteral("Summary"));
  for (const char* macro : {"StrictRead", "PageSetupBlock", "PrintProgress", "Values2", "MarkLastCell", "FormatHeader",
                            "SortByRegionThenAmount", "HighlightLargeAmounts", "ProbeConditions"})
    EXPECT_EQ(ErrorNumberOf([&] { app->Run(QString::fromLatin1(macro)); }), 0) << macro;

  EXPECT_NE(ErrorNumberOf([&] { app->Run(QStringLiteral("PrintMissingSheet")); }), 0)
      << "Excel works out what it would print, and there is no such sheet";
  // The page setup block and Debug.Print leave the macro running on.
  EXPECT_EQ(summary.Cells(1, 1).Value(), QVariant(QStringLiteral("page set")));
  EXPECT_EQ(summary.Cells(2, 1).Value(), QVariant(QStringLiteral("printed")));

  // Value2 is the cell's value; for a date, its serial number.
  const auto rows = SurveyRows();
  EXPECT_EQ(summary.Cells(3, 1).Value(), QVariant(rows[0].amount * 2));
  EXPECT_EQ(summary.Cells(3, 2).Value(), QVariant(45292.0)) << "1 January 2024";
  EXPECT_EQ(summary.Cells(3, 2).Text(), "45292") << "Value2 carries no date, so Excel writes a plain number";
  EXPECT_EQ(summary.Cells(3, 3).Value(), QVariant(QStringLiteral("Double")));
  EXPECT_EQ(summary.Cells(6, 1).Value(), QVariant(rows[0].amount));

  // The last cell closes the used range A4:E24, whatever range asked.
  EXPECT_EQ(summary.Cells(4, 1).Value(), QVariant(24.0));
  EXPECT_EQ(summary.Cells(4, 2).Value(), QVariant(5.0));

  // Sorted by Region, then by Amount from the largest; the header stays.
  auto sorted = rows;
  std::stable_sort(sorted.begin(), sorted.end(), [](const SurveyRow& a, const SurveyRow& b) {
    return a.region != b.region ? a.region < b.region : a.amount > b.amount;
  });
  EXPECT_EQ(data.Cells(4, 4).Value(), QVariant(QStringLiteral("Region")));
  for (int r = 0; r < int(sorted.size()); ++r) {
    EXPECT_EQ(data.Cells(5 + r, 4).Value(), QVariant(sorted[r].region)) << r;
    EXPECT_EQ(data.Cells(5 + r, 2).Value(), QVariant(sorted[r].amount)) << r;
    EXPECT_EQ(data.Cells(5 + r, 5).Value(), QVariant(sorted[r].amount / 2)) << "whole rows move " << r;
  }
  EXPECT_EQ(ErrorNumberOf([&] { app->Run(QStringLiteral("SortByIdAgain")); }), 0);
  for (int r = 0; r < int(rows.size()); ++r) EXPECT_EQ(data.Cells(5 + r, 1).Value(), QVariant(rows[r].id)) << r;

  // Charts as Excel draws them: columns of each region's score, the regions
  // as categories, the scores' header naming the series, linked to the
  // cells; the 2003 recorder's chart, moved onto Summary, a line for each
  // numeric column (a number column gives no categories in Excel).
  for (const char* macro : {"ChartScoresByRegion", "ChartIdsAndAmountsOnSummary", "ChartScoresByHand", "ProbeCharts"})
    EXPECT_EQ(ErrorNumberOf([&] { app->Run(QString::fromLatin1(macro)); }), 0) << macro;
  EXPECT_EQ(summary.Cells(8, 1).Value(), QVariant(QStringLiteral("com.sun.star.chart.BarDiagram")));
  EXPECT_EQ(summary.Cells(8, 2).Value(), QVariant(false)) << "columns, not bars";
  EXPECT_EQ(summary.Cells(8, 3).Value(), QVariant(QStringLiteral("3:3:4:23"))) << "D4:E24";
  EXPECT_EQ(summary.Cells(8, 4).Value(), QVariant(rows[0].region));
  EXPECT_EQ(summary.Cells(8, 5).Value(), QVariant(QStringLiteral("Score")));
  EXPECT_EQ(summary.Cells(8, 6).Value(), QVariant(20.0));
  // The chart reads the cells, not a copy of them.
  EXPECT_EQ(summary.Cells(8, 7).Value(), QVariant(QStringLiteral("$Data.$E$5:$E$24")));
  EXPECT_EQ(summary.Cells(8, 8).Value(), QVariant(QStringLiteral("$Data.$D$5:$D$24")));
  EXPECT_EQ(summary.Cells(9, 1).Value(), QVariant(QStringLiteral("com.sun.star.chart.LineDiagram")));
  EXPECT_EQ(summary.Cells(9, 2).Value(), QVariant(2.0));
  // By hand, ChartObjects.Add: columns too, the regions as categories, and
  // the statements after the data and type ran on the office's chart.
  EXPECT_EQ(summary.Cells(10, 1).Value(), QVariant(QStringLiteral("Chart 3")));
  EXPECT_EQ(summary.Cells(10, 2).Value(), QVariant(QStringLiteral("com.sun.star.chart.BarDiagram")));
  EXPECT_EQ(summary.Cells(10, 3).Value(), QVariant(false));
  EXPECT_EQ(summary.Cells(10, 4).Value(), QVariant(QStringLiteral("Scores")));
  EXPECT_EQ(summary.Cells(10, 5).Value(), QVariant(QStringLiteral("$Data.$D$5:$D$24")));

  // Amounts over 20 in Excel's "Light Red Fill with Dark Red Text": one
  // condition, greater than 20, dark red (156, 0, 6) on light red (255, 199, 206).
  EXPECT_EQ(summary.Cells(7, 1).Value(), QVariant(1.0));
  EXPECT_EQ(summary.Cells(7, 2).Value(), QVariant(3.0)) << "the office's GREATER";
  EXPECT_EQ(summary.Cells(7, 3).Value(), QVariant(QStringLiteral("20")));
  EXPECT_EQ(summary.Cells(7, 4).Value(), QVariant(double(0x9C0006)));
  EXPECT_EQ(summary.Cells(7, 5).Value(), QVariant(double(0xFFC7CE)));

  // The font block ran to its end: bold, and Text 1 of Excel's theme is black.
  EXPECT_EQ(summary.Cells(5, 1).Value(), QVariant(QStringLiteral("formatted")));
  EXPECT_EQ(data.Cells(4, 1).FontColorIndex(), 1);
  const QString output = folder.File("output.xls");
  book.SaveAs(output);
  book.Close();
  const biff::Workbook saved = biff::Read(output);
  EXPECT_TRUE(biff::FormatOf(saved, saved.Sheet(QStringLiteral("Data")), 4, 1).bold);
  // As Excel reads the file: a cell-value condition, greater than (5), of
  // the formula 20 (tInt 20), on the amounts.
  const QList<biff::Record> conditions = saved.Sheet(QStringLiteral("Data")).All(biff::kCf);
  ASSERT_EQ(conditions.size(), 1);
  EXPECT_EQ(uint8_t(conditions[0].data[0]), 1);
  EXPECT_EQ(uint8_t(conditions[0].data[1]), 5);
  EXPECT_EQ(conditions[0].data.right(3), QByteArray("\x1E\x14\x00", 3));
  // The charts as Excel reads them: columns (a bar group not turned on its
  // side) with one series on Data; on Summary, lines with two series and
  // columns with one.
  const auto bars = saved.Sheet(QStringLiteral("Data")).All(biff::kChartBar);
  ASSERT_EQ(bars.size(), 1);
  EXPECT_EQ(bars[0].U16(4) & 1, 0) << "not horizontal";
  EXPECT_EQ(saved.Sheet(QStringLiteral("Data")).All(biff::kChartSeries).size(), 1);
  EXPECT_EQ(saved.Sheet(QStringLiteral("Summary")).All(biff::kChartLine).size(), 1);
  EXPECT_EQ(saved.Sheet(QStringLiteral("Summary")).All(biff::kChartSeries).size(), 3);
  const auto summary_bars = saved.Sheet(QStringLiteral("Summary")).All(biff::kChartBar);
  ASSERT_EQ(summary_bars.size(), 1);
  EXPECT_EQ(summary_bars[0].U16(4) & 1, 0) << "the chart made by hand is not horizontal either";

  EXPECT_EQ(Digest(template_file), template_digest) << "the template file is never rewritten";
  // The saved workbook carries the macros as the template has them, not as
  // they were rewritten to run here (the office adds a line break at the
  // end of a module each time it saves one).
  auto as_template = app->Workbooks().Add(template_file);
  auto as_saved = app->Workbooks().Add(output);
  const auto text = [](const excel::Workbook& book, const char* module) {
    QString source = book.CodeModuleText(QString::fromLatin1(module));
    while (source.endsWith(QLatin1Char('\n'))) source.chop(1);
    return source.toStdString();
  };
  for (const char* module : {"Recorded", "Strict", "Probe"}) EXPECT_EQ(text(as_saved, module), text(as_template, module));
  as_saved.Close();
  as_template.Close();
}
