// Report macros as survey staff write them, one idiom a sheet of one
// template: the report runs from the window (in this process's office) and
// as `tabulon --run` in a bare environment, and both workbooks are read back
// with readers that share nothing with the office: the idiom's effect is
// checked, and the two runs must have written the same cells and formats.
//
// Charts are read back from the records alone, freexl reading no sheet of
// a workbook with one. Left out here, idioms the office does not run right:
// header and footer codes among font codes (kept as text), Err.Number for a
// missing sheet (1, not 9: the macro check tells), and Range("A1", v) with v
// a Variant holding an address (the office takes it on the first sheet;
// literal, joined and String addresses are translated).
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <algorithm>
#include <functional>

#include "batch_job.h"
#include "biff_cell_format.h"
#include "biff_sheet_view.h"
#include "export/bas_exporter.h"
#include "exporter_fixture.h"
#include "macro_template.h"
#include "platform/dao/dao.h"
#include "platform/excel/application.h"
#include "xls_reader.h"

namespace {

// A written idiom sheet: qryCatchByWeek's block (Year, Week, Total Catch,
// Total Released, Interviews) placed at A4, rows 5 to Last().
struct Sheet {
  const XlsBook& cells;
  const biff::Workbook& records;
  QString name;

  const XlsSheet& Cells() const { return cells.Sheet(name); }
  const biff::Substream& Records() const { return records.Sheet(name); }
  double Number(int row, int column) const {
    return biff::FormulaResult(Records(), row, column).value_or(Cells().At(row, column).value.toDouble());
  }
  QString Text(int row, int column) const { return Cells().Text(row, column); }
  biff::CellFormat Format(int row, int column) const { return biff::FormatOf(records, Records(), row, column); }
  int Last() const {
    int row = 5;
    while (Cells().At(row + 1, 2).kind == XlsCell::Kind::kNumber) ++row;
    return row;
  }
  // The data rows as text, in sheet order.
  QStringList Rows() const {
    QStringList rows;
    for (int r = 5; r <= Last(); ++r) rows << QStringLiteral("%1|%2|%3|%4|%5").arg(Text(r, 1), Text(r, 2), Text(r, 3), Text(r, 4), Text(r, 5));
    return rows;
  }
  bool Descending(int column) const {
    for (int r = 5; r < Last(); ++r)
      if (Number(r, column) < Number(r + 1, column)) return false;
    return true;
  }
};

struct Idiom {
  const char* name;  // the sheet; the module is <name>Macro, the macro Do<name>
  const char* body;  // the macro's statements; extra procedures after a line "End Sub"
  std::function<void(const Sheet&)> expect;
};

// The block as placed, before any macro: the unsorted reference rows.
QStringList PlacedRows(const Sheet& any) { return Sheet{any.cells, any.records, QStringLiteral("Formatting")}.Rows(); }

QStringList Sorted(QStringList rows) {
  rows.sort();
  return rows;
}

// Both page setup idioms: landscape, one page wide, a centred header (its
// text; the office adds its page style's font to it).
void ExpectLandscapeOnePageWide(const Sheet& s) {
  const biff::PageSetup page = biff::PageSetupOf(s.Records());
  EXPECT_TRUE(page.landscape);
  EXPECT_TRUE(page.fit_to_pages);
  EXPECT_EQ(page.fit_wide, 1);
  EXPECT_EQ(page.fit_tall, 0);
  static const QRegularExpression font(QStringLiteral(R"(&"[^"]*"|&\d+)"));
  EXPECT_EQ(QString(page.header).remove(font), QStringLiteral("&CWeekly catch"));
}

const Idiom kIdioms[] = {
    {"Formatting",
     "  Range(\"A4:E4\").Select\n"
     "  With Selection\n    With .Font\n      .Bold = True\n      .Color = RGB(0, 0, 255)\n    End With\n  End With\n"
     "  Range(\"A4:E4\").HorizontalAlignment = xlCenter\n  Range(\"A4:E4\").Interior.Color = RGB(255, 255, 0)\n"
     "  Range(\"A5\").Interior.ColorIndex = 3\n",
     [](const Sheet& s) {
       EXPECT_TRUE(s.Format(4, 5).bold);
       EXPECT_FALSE(s.Format(5, 1).bold);
       EXPECT_EQ(s.Format(4, 1).font_colour, QColor(Qt::blue));
       EXPECT_EQ(s.Format(4, 1).horizontal_align, 2);
       EXPECT_EQ(s.Format(4, 2).fill, QColor(Qt::yellow));
       EXPECT_EQ(s.Format(5, 1).fill, QColor(Qt::red));
       EXPECT_FALSE(s.Format(5, 2).fill);
     }},
    {"Borders",
     "  With Range(\"A4:E4\").Borders(xlEdgeBottom)\n    .LineStyle = xlContinuous\n    .Weight = xlThick\n  End With\n"
     "  Range(\"A5:E5\").Borders(xlEdgeBottom).LineStyle = xlContinuous\n"
     "  Range(\"G9\").Borders(xlEdgeBottom).Weight = xlThick\n  Range(\"G8:G9\").Borders(xlEdgeBottom).LineStyle = xlContinuous\n"
     "  Range(\"H12\").Borders(xlEdgeBottom).Weight = xlThick\n"
     "  Range(\"G12:I12\").Borders(xlEdgeBottom).LineStyle = xlContinuous\n"
     "  Range(\"A7:E7\").Select\n  With Selection.Borders(xlEdgeBottom)\n    .LineStyle = xlContinuous\n"
     "    .ColorIndex = 0\n    .Weight = xlMedium\n  End With\n"
     "  Range(\"G15:H16\").Borders.LineStyle = xlContinuous\n  Range(\"G18:H18\").Borders.Weight = xlMedium\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Format(4, 3).bottom_border, 5) << "thick";
       EXPECT_EQ(s.Format(5, 3).bottom_border, 1) << "a continuous line is thin";
       EXPECT_EQ(s.Format(6, 3).bottom_border, 0);
       EXPECT_EQ(s.Format(9, 7).bottom_border, 5) << "a line keeps its weight";
       // Along an edge with a line in one cell only: that one keeps its weight.
       EXPECT_EQ(s.Format(12, 7).bottom_border, 1);
       EXPECT_EQ(s.Format(12, 8).bottom_border, 5);
       EXPECT_EQ(s.Format(12, 9).bottom_border, 1);
       EXPECT_EQ(s.Format(7, 3).bottom_border, 2) << "medium";
       // The whole collection: every edge of every cell.
       for (int row : {15, 16})
         for (int column : {7, 8}) {
           const biff::CellFormat cell = s.Format(row, column);
           EXPECT_EQ(std::vector<int>({cell.left_border, cell.top_border, cell.right_border, cell.bottom_border}),
                     std::vector<int>({1, 1, 1, 1})) << row << ", " << column;
         }
       EXPECT_EQ(s.Format(18, 7).bottom_border, 2);
       EXPECT_EQ(s.Format(18, 8).bottom_border, 2);
       EXPECT_EQ(s.Format(18, 7).right_border, 2) << "between the cells, on both";
       EXPECT_EQ(s.Format(18, 8).left_border, 2);
     }},
    {"NumberFormats",
     "  Range(\"C5\", Cells(Rows.Count, 3).End(xlUp)).NumberFormat = \"#,##0.00\"\n"
     "  Range(\"G4\").Value = DateSerial(2021, 5, 3)\n  Range(\"G4\").NumberFormat = \"dd-mmm-yyyy\"\n"
     "  Range(\"F5\", \"F8\").Value = 1\n  Dim corner As String\n  corner = \"F\" & 10\n  Range(\"F9\", corner).Value = 2\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Format(5, 3).number_format, QStringLiteral("#,##0.00"));
       EXPECT_EQ(s.Format(s.Last(), 3).number_format, QStringLiteral("#,##0.00"));
       EXPECT_EQ(s.Format(s.Last(), 4).number_format, QStringLiteral("General"));
       EXPECT_EQ(s.Number(8, 6), 1) << "corners given as two addresses";
       EXPECT_EQ(s.Number(10, 6), 2) << "a corner held in a String";
       EXPECT_EQ(s.Format(4, 7).number_format.toLower().remove(QLatin1Char('\\')), QStringLiteral("dd-mmm-yyyy"));
       EXPECT_EQ(s.Text(4, 7), QStringLiteral("2021-05-03"));
     }},
    {"AutoFit",
     "  Range(\"A2\").Value = \"A caption long enough to widen its column\"\n"
     "  Columns(\"A:A\").AutoFit\n  Range(\"B3\").Value = \"Another caption, long enough to widen its own column\"\n"
     "  Range(\"B4\").EntireColumn.AutoFit\n  Columns(\"E:E\").ColumnWidth = 20\n",
     [](const Sheet& s) {
       EXPECT_GT(biff::ColumnWidth(s.Records(), 1), 30 * 256);
       EXPECT_NEAR(biff::ColumnWidth(s.Records(), 5), 20 * 256, 256);
       EXPECT_GT(biff::ColumnWidth(s.Records(), 2), 30 * 256);
       EXPECT_LT(biff::ColumnWidth(s.Records(), 3), 12 * 256) << "the others keep theirs";
     }},
    {"RangeSort",
     "  Range(\"A4\").CurrentRegion.Sort Key1:=Range(\"C5\"), Order1:=xlDescending, Header:=xlYes\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Text(4, 3), QStringLiteral("Total Catch"));
       EXPECT_TRUE(s.Descending(3));
       EXPECT_EQ(Sorted(s.Rows()), Sorted(PlacedRows(s)));
     }},
    {"RecorderSort",
     "    Range(\"A4\").Select\n"
     "    ActiveWorkbook.Worksheets(\"RecorderSort\").Sort.SortFields.Clear\n"
     "    ActiveWorkbook.Worksheets(\"RecorderSort\").Sort.SortFields.Add Key:=Range(\"D5:D60\"), _\n"
     "        SortOn:=xlSortOnValues, Order:=xlDescending, DataOption:=xlSortNormal\n"
     "    With ActiveWorkbook.Worksheets(\"RecorderSort\").Sort\n"
     "        .SetRange Range(\"A4:E60\")\n        .Header = xlYes\n        .MatchCase = False\n"
     "        .Orientation = xlTopToBottom\n        .SortMethod = xlPinYin\n        .Apply\n    End With\n",
     [](const Sheet& s) {
       EXPECT_TRUE(s.Descending(4));
       EXPECT_EQ(Sorted(s.Rows()), Sorted(PlacedRows(s)));
     }},
    {"AutoFilter",
     "  Range(\"A4\").CurrentRegion.AutoFilter Field:=3, Criteria1:=\">\" & WorksheetFunction.Median(Range(\"C5:C60\"))\n",
     [](const Sheet& s) {
       ASSERT_TRUE(s.Records().First(biff::kAutoFilterInfo));
       QList<double> catches;
       for (int r = 5; r <= s.Last(); ++r) catches << s.Number(r, 3);
       std::sort(catches.begin(), catches.end());
       const double median = (catches[(catches.size() - 1) / 2] + catches[catches.size() / 2]) / 2;
       QList<int> hidden;
       for (int r = 5; r <= s.Last(); ++r)
         if (s.Number(r, 3) <= median) hidden << r;
       EXPECT_EQ(biff::HiddenRows(s.Records()), hidden);
     }},
    {"Totals",
     "  Dim last As Long, c As Range\n  last = Cells(Rows.Count, 1).End(xlUp).Row\n"
     "  Cells(last + 1, 1).Value = \"Total\"\n"
     "  Cells(last + 1, 3).Formula = \"=SUM(C5:C\" & last & \")\"\n"
     "  Cells(last + 1, 4).Value = WorksheetFunction.Sum(Range(\"D5:D\" & last))\n"
     "  Cells(last + 1, 5).Value = Application.Sum(Range(Cells(5, 5), Cells(last, 5)))\n"
     "  For Each c In Range(Cells(last + 1, 1), Cells(last + 1, 5))\n    c.Font.Bold = True\n  Next\n",
     [](const Sheet& s) {
       const int total = s.Last() + 1;
       EXPECT_EQ(s.Text(total, 1), QStringLiteral("Total"));
       for (int column = 3; column <= 5; ++column) {
         double sum = 0;
         for (int r = 5; r < total; ++r) sum += s.Number(r, column);
         EXPECT_EQ(s.Number(total, column), sum) << column;
       }
       EXPECT_TRUE(s.Format(total, 5).bold);
     }},
    {"ErrorHandling",
     "  Dim ws As Worksheet, y As Variant\n  On Error Resume Next\n  Set ws = Sheets(\"No such sheet\")\n"
     "  If Err.Number <> 0 Then Range(\"G4\").Value = \"no such sheet\"\n  Err.Clear\n"
     "  y = 0\n  y = 1 / y\n  Range(\"G5\").Value = Err.Number\n"
     "  On Error GoTo Failed\n  Range(\"G6\").Value = 1 / y\n  Range(\"G7\").Value = \"went on\"\n  Exit Sub\n"
     "Failed:\n  Range(\"G6\").Value = \"handled \" & Err.Number\n  Resume Next\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Text(4, 7), QStringLiteral("no such sheet"));
       EXPECT_EQ(s.Number(5, 7), 11) << "division by zero";
       EXPECT_EQ(s.Text(6, 7), QStringLiteral("handled 11")) << "GoTo after Resume Next";
       EXPECT_EQ(s.Text(7, 7), QStringLiteral("went on"));
     }},
    {"Lookup",
     "  Dim v As Variant\n"
     "  Range(\"G4\").Value = Application.WorksheetFunction.VLookup(Range(\"B6\").Value, Range(\"B5:E60\"), 2, False)\n"
     "  v = Application.VLookup(999, Range(\"B5:E60\"), 2, False)\n  If IsError(v) Then Range(\"G5\").Value = \"#N/A\"\n"
     "  On Error Resume Next\n  v = WorksheetFunction.VLookup(999, Range(\"B5:E60\"), 2, False)\n"
     "  Range(\"G6\").Value = Err.Number\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Number(4, 7), s.Number(6, 3)) << "found";
       EXPECT_EQ(s.Text(5, 7), QStringLiteral("#N/A"));
       EXPECT_EQ(s.Number(6, 7), 1004);
     }},
    {"Names",
     "  ActiveWorkbook.Names.Add Name:=\"CatchBlock\", RefersTo:=\"=Names!$A$4:$E$\" & Cells(Rows.Count, 1).End(xlUp).Row\n",
     [](const Sheet& s) { EXPECT_TRUE(biff::DefinedNames(s.records).contains(QStringLiteral("CatchBlock"))); }},
    {"PageSetup",
     "  With ActiveSheet.PageSetup\n    .Orientation = xlLandscape\n    .PrintArea = \"$A$1:$E$30\"\n"
     "    .CenterHeader = \"Weekly catch\"\n    .Zoom = False\n    .FitToPagesWide = 1\n    .FitToPagesTall = False\n"
     "    .CenterFooter = \"Page &P of &N\"\n"
     "    .RightFooter = \"&A, &D &T, &F && more\"\n"
     "    .PrintTitleRows = \"$4:$4\"\n"
     "  End With\n",
     [](const Sheet& s) {
       ExpectLandscapeOnePageWide(s);
       static const QRegularExpression font(QStringLiteral(R"(&"[^"]*"|&\d+)"));
       EXPECT_EQ(QString(biff::PageSetupOf(s.Records()).footer).remove(font),
                 QStringLiteral("&CPage &P of &N&R&A, &D &T, &F && more"))
           << "the page number and count, the sheet, date, time and file as Excel's codes, not as text";
       EXPECT_TRUE(biff::DefinedNames(s.records).contains(QStringLiteral("PageSetup!Print_Area")));
       EXPECT_TRUE(biff::DefinedNames(s.records).contains(QStringLiteral("PageSetup!Print_Titles")))
           << biff::DefinedNames(s.records).join(QLatin1Char(' ')).toStdString();
     }},
    {"RecorderPageSetup",
     "    Application.PrintCommunication = False\n    With ActiveSheet.PageSetup\n        .PrintTitleRows = \"\"\n"
     "    End With\n    Application.PrintCommunication = True\n    ActiveSheet.PageSetup.PrintArea = \"\"\n"
     "    Application.PrintCommunication = False\n    With ActiveSheet.PageSetup\n        .CenterHeader = \"Weekly catch\"\n"
     "        .CenterFooter = \"\"\n        .LeftMargin = Application.InchesToPoints(0.7)\n        .PrintHeadings = False\n"
     "        .PrintComments = xlPrintNoComments\n        .PrintQuality = 600\n        .CenterHorizontally = False\n"
     "        .Orientation = xlLandscape\n        .Draft = False\n        .PaperSize = xlPaperA4\n        .BlackAndWhite = False\n"
     "        .Zoom = False\n        .FitToPagesWide = 1\n        .FitToPagesTall = False\n"
     "        .PrintErrors = xlPrintErrorsDisplayed\n        .OddAndEvenPagesHeaderFooter = False\n"
     "        .DifferentFirstPageHeaderFooter = False\n        .ScaleWithDocHeaderFooter = True\n"
     "        .AlignMarginsHeaderFooter = True\n        .EvenPage.LeftHeader.Text = \"\"\n"
     "        .FirstPage.RightFooter.Text = \"\"\n    End With\n    Application.PrintCommunication = True\n",
     ExpectLandscapeOnePageWide},
    {"Rows",
     "  Application.ScreenUpdating = False\n  Rows(5).Insert\n  Range(\"A1:E1\").Merge\n"
     "  Range(\"A1\").Value = Format$(DateSerial(2021, 5, 3), \"dd mmm yyyy\")\n"
     "  Range(\"G1\").Value = ActiveSheet.UsedRange.Rows.Count\n  Application.ScreenUpdating = True\n",
     [](const Sheet& s) {
       const Sheet placed{s.cells, s.records, QStringLiteral("Formatting")};
       EXPECT_EQ(s.Cells().At(5, 3).kind, XlsCell::Kind::kEmpty);
       EXPECT_EQ(s.Text(6, 3), placed.Text(5, 3));
       EXPECT_EQ(s.Text(1, 1), QStringLiteral("03 May 2021"));
       EXPECT_EQ(s.Number(1, 7), placed.Last() + 1) << "rows 1 to the block's last, one lower now";
       const auto merged = s.Records().First(0x00E5);  // MERGEDCELLS: count, then rows and columns from 0
       ASSERT_TRUE(merged);
       EXPECT_EQ(QList<int>({merged->U16(2), merged->U16(4), merged->U16(6), merged->U16(8)}), QList<int>({0, 0, 0, 4}));
     }},
    {"DeleteSheet",
     "  Application.DisplayAlerts = False\n  Sheets(\"Spare\").Delete\n  Application.DisplayAlerts = True\n",
     [](const Sheet& s) { EXPECT_FALSE(s.cells.SheetNames().contains(QStringLiteral("Spare"))); }},
    {"CopySheet",
     "  Sheets(\"CopySheet\").Copy After:=Sheets(Sheets.Count)\n"
     "  Sheets(Sheets.Count).Range(\"G1\").Value = \"the copy\"\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.cells.SheetNames().last(), QStringLiteral("CopySheet (2)"))
           << "after the last sheet, named as Excel names it";
       const Sheet copy{s.cells, s.records, QStringLiteral("CopySheet (2)")};
       EXPECT_EQ(copy.Rows(), s.Rows());
       EXPECT_EQ(copy.Text(1, 7), QStringLiteral("the copy")) << "Sheets(n) reaches the new sheet";
       EXPECT_EQ(s.Text(1, 7), QString());
     }},
    {"AddSheet",
     "  Dim ws As Worksheet\n  Set ws = Worksheets.Add(After:=Sheets(\"AddSheet\"))\n  ws.Name = \"Added\"\n"
     "  ws.Range(\"A1\").Value = \"added\"\n  Sheets(\"Added\").Range(\"A2\").Value = ws.Index - Sheets(\"AddSheet\").Index\n",
     [](const Sheet& s) {
       const QStringList names = s.cells.SheetNames();
       ASSERT_TRUE(names.contains(QStringLiteral("AddSheet"))) << "the macro's own sheet keeps its name";
       EXPECT_EQ(names.value(names.indexOf(QStringLiteral("AddSheet")) + 1), QStringLiteral("Added"));
       const Sheet added{s.cells, s.records, QStringLiteral("Added")};
       EXPECT_EQ(added.Text(1, 1), QStringLiteral("added"));
       EXPECT_EQ(added.Text(2, 1), QStringLiteral("1"));
       EXPECT_EQ(s.Rows(), PlacedRows(s)) << "nothing written over the block";
     }},
    {"ActiveCellLoop",
     "  Range(\"E5\").Select\n  Do Until IsEmpty(ActiveCell)\n"
     "    ActiveCell.Offset(0, 1).Value = ActiveCell.Value * 2\n    ActiveCell.Offset(1, 0).Select\n  Loop\n",
     [](const Sheet& s) {
       for (int r = 5; r <= s.Last(); ++r) EXPECT_EQ(s.Number(r, 6), 2 * s.Number(r, 5)) << r;
       EXPECT_EQ(s.Cells().At(s.Last() + 1, 6).kind, XlsCell::Kind::kEmpty);
     }},
    {"PasteSpecial",
     "  Range(\"F5\").Formula = \"=C5*10\"\n  Range(\"C5:C8\").Copy\n"
     "  Range(\"G5\").PasteSpecial Paste:=xlPasteValues\n  Range(\"F5\").Copy\n"
     "  Range(\"G10\").PasteSpecial Paste:=xlPasteValues\n  Application.CutCopyMode = False\n"
     "  Range(\"D5:D8\").Copy Destination:=Range(\"H5\")\n",
     [](const Sheet& s) {
       for (int r = 5; r <= 8; ++r) {
         EXPECT_EQ(s.Number(r, 7), s.Number(r, 3)) << r;
         EXPECT_EQ(s.Number(r, 8), s.Number(r, 4)) << r;
       }
       EXPECT_EQ(s.Number(10, 7), 10 * s.Number(5, 3));
     }},
    {"FormulaR1C1",
     "  Range(\"F5\").Select\n  ActiveCell.FormulaR1C1 = \"=RC[-3]+RC[-2]\"\n"
     "  Range(\"G5:G8\").FormulaR1C1 = \"=R5C3*2\"\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Number(5, 6), s.Number(5, 3) + s.Number(5, 4));
       for (int r = 5; r <= 8; ++r) EXPECT_EQ(s.Number(r, 7), 2 * s.Number(5, 3)) << r;
     }},
    {"Udf",
     "  Range(\"F5\").Formula = \"=Doubled(C5)\"\n"
     "End Sub\nFunction Doubled(x)\n  Doubled = x * 2\nEnd Function\n",
     [](const Sheet& s) { EXPECT_EQ(s.Number(5, 6), 2 * s.Number(5, 3)); }},
    {"ApplicationRun",
     "  Application.Run \"MarkRow\", 5\n  Range(\"G4\").Value = Application.Run(\"Twice\", 21)\n"
     "  Application.Run \"'\" & ThisWorkbook.Name & \"'!ApplicationRunMacro.MarkRow\", 6\n"
     "End Sub\nSub MarkRow(r)\n  Cells(r, 6).Value = \"marked\"\nEnd Sub\n"
     "Function Twice(n)\n  Twice = n * 2\nEnd Function\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Text(5, 6), QStringLiteral("marked"));
       EXPECT_EQ(s.Text(6, 6), QStringLiteral("marked")) << "named with its workbook and module";
       EXPECT_EQ(s.Number(4, 7), 42);
     }},
    {"ConditionalFormat",
     "    Range(\"C5:C60\").Select\n"
     "    Selection.FormatConditions.Add Type:=xlCellValue, Operator:=xlGreater, _\n"
     "        Formula1:=\"=100\"\n"
     "    Selection.FormatConditions(Selection.FormatConditions.Count).SetFirstPriority\n"
     "    With Selection.FormatConditions(1).Font\n        .Color = -16383844\n        .TintAndShade = 0\n    End With\n"
     "    With Selection.FormatConditions(1).Interior\n        .PatternColorIndex = xlAutomatic\n"
     "        .Color = 13551615\n        .TintAndShade = 0\n    End With\n"
     "    Selection.FormatConditions(1).StopIfTrue = False\n",
     [](const Sheet& s) {
       const auto format = s.Records().First(biff::kCondFmt);
       ASSERT_TRUE(format);
       EXPECT_EQ(format->U16(4), 4);  // rows 5 to 60, column C, counted from 0
       EXPECT_EQ(format->U16(6), 59);
       EXPECT_EQ(format->U16(8), 2);
       EXPECT_EQ(format->U16(10), 2);
       const QList<biff::Record> conditions = s.Records().All(biff::kCf);
       ASSERT_EQ(conditions.size(), 1);
       EXPECT_EQ(uint8_t(conditions[0].data[0]), 1) << "on the cell's value";
       EXPECT_EQ(uint8_t(conditions[0].data[1]), 5) << "greater than";
       EXPECT_EQ(conditions[0].data.right(3), QByteArray("\x1E\x64\x00", 3)) << "the number 100";
     }},
    {"Value2",
     "  Dim x\n  Application.ScreenUpdating = False\n  ThisWorkbook.Worksheets(\"Value2\").Range(\"F5\").Value2 = Range(\"C5\").Value2\n"
     "  x = Range(\"C6\").Value2\n  Range(\"F6\").Value = x + 1\n",
     [](const Sheet& s) {
       EXPECT_EQ(s.Number(5, 6), s.Number(5, 3));
       EXPECT_EQ(s.Number(6, 6), s.Number(6, 3) + 1);
     }},
};

// Calls the office refuses a report macro: each ends the macro with a
// message naming the macro, the call and its line.
struct Guard {
  const char* macro;
  const char* call;
  const char* told;
};

const Guard kGuards[] = {
    {"Quits", "Application.Quit", "The macro cannot end the office: Application.Quit"},
    {"Closes", "ThisWorkbook.Close SaveChanges:=False", "The macro cannot close the workbook: ThisWorkbook.Close"},
    {"Saves", "ThisWorkbook.Save", "The macro cannot save the workbook: ThisWorkbook.Save"},
    {"SavesAs", "ActiveWorkbook.SaveAs Filename:=ThisWorkbook.Path & \"/elsewhere.xls\"",
     "The macro cannot save the workbook: ActiveWorkbook.SaveAs"},
};

QString ModuleOf(const QString& macro, const QString& body) {
  return QStringLiteral("Sub %1()\n%2").arg(macro, body) + (body.contains(QStringLiteral("End Sub\n")) ? QString() : QStringLiteral("End Sub\n"));
}

// Everything the readers see of a sheet, to set two workbooks side by side.
QString Described(const XlsBook& cells, const biff::Workbook& records, const QString& name) {
  QStringList lines;
  const biff::Substream& sheet = records.Sheet(name);
  for (auto it = cells.Sheet(name).cells.cbegin(); it != cells.Sheet(name).cells.cend(); ++it) {
    const auto [row, column] = it.key();
    const biff::CellFormat f = biff::FormatOf(records, sheet, row, column);
    lines << QStringLiteral("%1,%2 %3 %4 bold=%5 fill=%6 font=%7 borders=%8/%9 align=%10 format=%11")
                 .arg(row).arg(column).arg(int(it->kind)).arg(it->value.toString()).arg(f.bold)
                 .arg(f.fill ? f.fill->name() : QString(), f.font_colour.name()).arg(f.top_border)
                 .arg(f.bottom_border).arg(f.horizontal_align).arg(f.number_format);
  }
  for (const biff::Record& formula : sheet.All(0x0006)) {  // FORMULA: the reader above shows no formula cell
    const int row = formula.U16(0) + 1, column = formula.U16(2) + 1;
    lines << QStringLiteral("%1,%2 = %3").arg(row).arg(column).arg(biff::FormulaResult(sheet, row, column).value_or(-1));
  }
  for (int column = 1; column <= 8; ++column) lines << QStringLiteral("width %1").arg(biff::ColumnWidth(sheet, column));
  const biff::PageSetup page = biff::PageSetupOf(sheet);
  lines << QStringLiteral("page %1 %2 %3x%4 %5 %6").arg(page.landscape).arg(page.fit_to_pages).arg(page.fit_wide)
                .arg(page.fit_tall).arg(page.header, page.footer);
  for (const int row : biff::HiddenRows(sheet)) lines << QStringLiteral("hidden %1").arg(row);
  return lines.join(QLatin1Char('\n'));
}

struct Batch {
  int status = -1;
  QString err;
};

class MacroCorpusTest : public ExporterTest {
 protected:
  void SetUp() override {
    ExporterTest::SetUp();
    ASSERT_TRUE(temp_.isValid());
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(Path(QStringLiteral("config"))));
    database_ = Path(QStringLiteral("survey.mdb"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), database_));
    QFile(database_).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  }

  QString Path(const QString& name) const { return temp_.filePath(name); }

  // A report of one qryCatchByWeek block per sheet, each dressed by the
  // macro of the same name; returns its key.
  int AddReport(const QString& report, const QString& templatePath, const QStringList& sheets,
                const QStringList& macros) {
    auto db = dao::DBEngine::Workspaces(0).OpenDatabase(database_);
    db->Execute(QStringLiteral("INSERT INTO tblExportableResults (Abbreviation, Author, Description) "
                               "VALUES ('%1', 'Test', 'Macro idioms')").arg(report));
    const int output = db->OpenRecordset(QStringLiteral("SELECT Max(OutputID) FROM tblExportableResults"))->Value(0).toInt();
    for (int i = 0; i < sheets.size(); ++i) {
      db->Execute(QStringLiteral("INSERT INTO tblUserQueries (QueryName, Author, ExcelTemplate, ExcelSheetName, "
                                 "ExcelTargetRow, ExcelTargetColumn, ExcelMacros, DefaultQueryParameters) VALUES "
                                 "('qryCatchByWeek', 'Test', '%1', '%2', 4, 1, '%3', '01-May-2021/30-Sep-2021')")
                      .arg(templatePath, sheets[i], macros[i]));
      const int query = db->OpenRecordset(QStringLiteral("SELECT Max(QueryID) FROM tblUserQueries"))->Value(0).toInt();
      db->Execute(QStringLiteral("INSERT INTO tblExportableResults_UserQueries (OutputID, QueryID) VALUES (%1, %2)")
                      .arg(output).arg(query));
    }
    return output;
  }

  // The report as the main window runs it, saved as `file`.
  void RunInWindow(const QString& report, int output, const QString& file) {
    dialogs_.AnswerFileDialog(file);
    auto db = dao::DBEngine::Workspaces(0).OpenDatabase(database_);
    basExporter::RunContext context{*db, database_, [](const QString&) {}};
    basExporter::ExportReport(report, output, context);
  }

  // `tabulon --run` as cron starts it: HOME and PATH alone, no display.
  Batch RunInBatch(const QString& report, const QString& file) const {
    const BatchResult run = RunBatchJob(QStringLiteral(TABULON_PROGRAM),
                                        {QStringLiteral("--run"), report, QStringLiteral("--output"), file,
                                         QStringLiteral("--database"), database_},
                                        Path(QStringLiteral("home")), temp_.path());
    return {run.status, run.err};
  }

  QString database_;

 private:
  QTemporaryDir temp_;
};

QByteArray Bytes(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

TEST_F(MacroCorpusTest, EachIdiomHasItsEffectAndTheWindowAndABatchRunWriteTheSame) {
  QStringList sheets, macros;
  MacroModules modules;
  for (const Idiom& idiom : kIdioms) {
    sheets << QLatin1String(idiom.name);
    macros << QStringLiteral("%1Macro.Do%1").arg(QLatin1String(idiom.name));
    modules.append({QStringLiteral("%1Macro").arg(QLatin1String(idiom.name)),
                     ModuleOf(QStringLiteral("Do") + QLatin1String(idiom.name), QLatin1String(idiom.body))});
  }
  const QString templatePath = Path(QStringLiteral("Idioms.xls"));
  // "Spare" is there for a macro to delete.
  MakeMacroTemplate(*excel::Application::Create(), templatePath, modules, sheets + QStringList{QStringLiteral("Spare")});
  const int report = AddReport(QStringLiteral("Idioms"), templatePath, sheets, macros);

  RunInWindow(QStringLiteral("Idioms"), report, Path(QStringLiteral("window.xls")));
  for (const auto& box : dialogs_.MessageBoxes()) ADD_FAILURE() << box.prompt.toStdString();
  const Batch batch = RunInBatch(QStringLiteral("Idioms"), Path(QStringLiteral("batch.xls")));
  EXPECT_EQ(batch.status, 0) << batch.err.toStdString();

  const XlsBook windowCells = ReadXls(Path(QStringLiteral("window.xls")));
  const biff::Workbook windowRecords = biff::Read(Path(QStringLiteral("window.xls")));
  const XlsBook batchCells = ReadXls(Path(QStringLiteral("batch.xls")));
  const biff::Workbook batchRecords = biff::Read(Path(QStringLiteral("batch.xls")));
  EXPECT_EQ(windowCells.SheetNames(), batchCells.SheetNames());
  for (const Idiom& idiom : kIdioms) {
    SCOPED_TRACE(idiom.name);
    idiom.expect(Sheet{windowCells, windowRecords, QLatin1String(idiom.name)});
    EXPECT_EQ(Described(windowCells, windowRecords, QLatin1String(idiom.name)),
              Described(batchCells, batchRecords, QLatin1String(idiom.name)));
  }
  EXPECT_EQ(biff::DefinedNames(windowRecords), biff::DefinedNames(batchRecords));
}

// Charts on a template of their own: freexl reads no sheet of a workbook
// with one, so only the chart records are read back, from both runs.
TEST_F(MacroCorpusTest, ChartsAreTheOfficesOwnInTheWindowAndInABatchRun) {
  const QString last = QStringLiteral("  last = Cells(Rows.Count, 3).End(xlUp).Row\n");
  const MacroModules modules = {
      {QStringLiteral("Recorded"),
       ModuleOf(QStringLiteral("CatchColumns"),
                QStringLiteral("  Dim last As Long\n") + last +
                    QStringLiteral("  Range(\"C4:D\" & last).Select\n"
                                   "  ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select\n"
                                   "  ActiveChart.SetSourceData Source:=Range(\"Columns!$C$4:$D$\" & last)\n"))},
      {QStringLiteral("ByHand"),
       ModuleOf(QStringLiteral("CatchLine"),
                QStringLiteral("  Dim last As Long, co As ChartObject\n") + last +
                    QStringLiteral("  Set co = ActiveSheet.ChartObjects.Add(Left:=400, Top:=20, Width:=360, Height:=216)\n"
                                   "  co.Chart.SetSourceData Source:=Range(\"C4:C\" & last)\n"
                                   "  co.Chart.ChartType = xlLine\n"
                                   "  co.Chart.HasTitle = True\n"))},
  };
  const QString templatePath = Path(QStringLiteral("Charts.xls"));
  const QStringList sheets = {QStringLiteral("Columns"), QStringLiteral("Lines")};
  MakeMacroTemplate(*excel::Application::Create(), templatePath, modules, sheets);
  const int report = AddReport(QStringLiteral("Charts"), templatePath, sheets,
                               {QStringLiteral("Recorded.CatchColumns"), QStringLiteral("ByHand.CatchLine")});
  RunInWindow(QStringLiteral("Charts"), report, Path(QStringLiteral("window.xls")));
  for (const auto& box : dialogs_.MessageBoxes()) ADD_FAILURE() << box.prompt.toStdString();
  const Batch batch = RunInBatch(QStringLiteral("Charts"), Path(QStringLiteral("batch.xls")));
  EXPECT_EQ(batch.status, 0) << batch.err.toStdString();
  for (const char* run : {"window.xls", "batch.xls"}) {
    SCOPED_TRACE(run);
    const biff::Workbook saved = biff::Read(Path(QLatin1String(run)));
    // Columns, not bars on their side, of the catch and the releases.
    const auto bars = saved.Sheet(QStringLiteral("Columns")).All(biff::kChartBar);
    ASSERT_EQ(bars.size(), 1);
    EXPECT_EQ(bars[0].U16(4) & 1, 0);
    EXPECT_EQ(saved.Sheet(QStringLiteral("Columns")).All(biff::kChartSeries).size(), 2);
    EXPECT_EQ(saved.Sheet(QStringLiteral("Lines")).All(biff::kChartLine).size(), 1);
    EXPECT_EQ(saved.Sheet(QStringLiteral("Lines")).All(biff::kChartSeries).size(), 1);
    EXPECT_TRUE(saved.Sheet(QStringLiteral("Lines")).All(biff::kChartBar).isEmpty());
  }
}

TEST_F(MacroCorpusTest, ACallEndingTheOfficeClosingOrSavingTheWorkbookEndsTheMacroWithItsMessage) {
  QString guards;
  for (const Guard& guard : kGuards)
    guards += ModuleOf(QLatin1String(guard.macro),
                       QStringLiteral("  Range(\"A1\").Value = \"before\"\n  %1\n  Range(\"A2\").Value = \"after\"\n")
                           .arg(QLatin1String(guard.call)));
  const QString templatePath = Path(QStringLiteral("Guards.xls"));
  MakeMacroTemplate(*excel::Application::Create(), templatePath, {{QStringLiteral("Guards"), guards}},
                    {QStringLiteral("Data")});
  const QByteArray templateBytes = Bytes(templatePath);
  int line = 3;
  for (const Guard& guard : kGuards) {
    SCOPED_TRACE(guard.macro);
    const QString told = QStringLiteral("The macro '%1' (module Guards) stopped at line %2: %3 (error 1004)")
                             .arg(QLatin1String(guard.macro)).arg(line).arg(QLatin1String(guard.told));
    line += 5;
    const int report = AddReport(QLatin1String(guard.macro), templatePath, {QStringLiteral("Data")},
                                 {QLatin1String(guard.macro)});
    const auto shownBefore = dialogs_.MessageBoxes().size();
    RunInWindow(QLatin1String(guard.macro), report, Path(QLatin1String(guard.macro) + QStringLiteral(".xls")));
    ASSERT_EQ(dialogs_.MessageBoxes().size(), shownBefore + 1);
    EXPECT_TRUE(dialogs_.MessageBoxes().last().prompt.endsWith(told)) << dialogs_.MessageBoxes().last().prompt.toStdString();
    // The person sees the block and what the macro did before the call.
    ASSERT_EQ(opened_.size(), 1);
    const XlsSheet shown = ReadXls(opened_.takeFirst()).Sheet(QStringLiteral("Data"));
    EXPECT_EQ(shown.Text(1, 1), QStringLiteral("before"));
    EXPECT_EQ(shown.Text(2, 1), QString());
    EXPECT_EQ(shown.Text(4, 1), QStringLiteral("Year"));

    const Batch batch = RunInBatch(QLatin1String(guard.macro), QStringLiteral("batch.xls"));
    EXPECT_EQ(batch.status, 6);
    EXPECT_TRUE(batch.err.endsWith(told + QLatin1Char('\n'))) << batch.err.toStdString();
    EXPECT_FALSE(QFile::exists(Path(QStringLiteral("batch.xls"))));
    EXPECT_EQ(Bytes(templatePath), templateBytes);
    EXPECT_FALSE(QFile::exists(Path(QStringLiteral("elsewhere.xls"))));
  }
}
