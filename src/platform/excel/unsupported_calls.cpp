#include "platform/excel/unsupported_calls.h"

namespace excel {
namespace {

UnsupportedCall Entry(const char* call, const char* pattern, const char* advice, bool fails = true) {
  return {QLatin1String(call), QRegularExpression(QLatin1String(pattern), QRegularExpression::CaseInsensitiveOption),
          QLatin1String(advice), fails};
}

// An entry whose pattern looks into the texts the code holds.
UnsupportedCall InTexts(UnsupportedCall call) {
  call.in_texts = true;
  return call;
}

// A call the office carries out, with another result than Excel's.
UnsupportedCall Differs(const char* call, const char* pattern, const char* advice) {
  return Entry(call, pattern, advice, false);
}

std::vector<UnsupportedCall> MakeTable() {
  return {
      Entry("Application.InputBox", R"(\bApplication\s*\.\s*InputBox\b)",
            "A run has nobody to answer it, and the office has no Application.InputBox: read the value or the "
            "range's address from a cell of the template instead."),
      Entry("Charts.Add / ActiveChart", R"(\bCharts\s*\.\s*Add\b|\bActiveChart\b)",
            "There are no chart sheets and no active chart: make the chart as Excel's recorder does, "
            "ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select then ActiveChart.SetSourceData "
            "Source:=Range(\"A4:E24\"), with nothing more on ActiveChart; Tabulon draws that chart itself."),
      Entry("Shapes.AddChart", R"(\.\s*AddChart2?\b)",
            "Make the chart as Excel's recorder does, ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select "
            "then ActiveChart.SetSourceData Source:=Range(\"A4:E24\"), of a column, bar, line, pie or area type, "
            "with nothing more on ActiveChart."),
      Differs("ChartObjects.Add", R"(\bChartObjects\s*\.\s*Add\b)",
            "Its columns come out as bars, with the data copied in: follow Set c = "
            "ActiveSheet.ChartObjects.Add(Left, Top, Width, Height) at once with c.Chart.SetSourceData "
            "Source:=Range(\"A4:E24\") and c.Chart.ChartType of a column, bar, line, pie or area type; Tabulon "
            "draws that chart itself."),
      Differs("Err.Number = 9", R"(\bErr\s*(?:\.\s*Number\s*)?(?:=|<>)\s*9\b)",
              "The office gives error 1, not 9 (Subscript out of range), for a sheet or workbook that does not "
              "exist: test If Err.Number <> 0 Then."),
      InTexts(Differs("Header and footer codes", R"(\b(?:Left|Center|Right)(?:Header|Footer)\s*=.*"[^"]*&[A-Za-z0-9"])",
                      "The office prints Excel's codes in this text as they are written: write the header or footer "
                      "as one text with no font codes; &P, &N, &D, &T, &F and &A in it become the page's own fields.")),
      Differs("Range(address, variable)", R"((?<![.\w])Range\s*\(\s*"[^"]*"\s*,\s*\w+\s*\))",
              "Where the variable holds an address, the office takes it on the workbook's first sheet: declare it "
              "As String, or write Range(Range(\"A1\"), Range(corner))."),
      Entry("FormatConditions", R"(\.\s*FormatConditions\b)",
            "Colour the cells from the macro: For Each c In Range(...): If c.Value > 20 Then c.Interior.Color = "
            "RGB(255, 199, 206): Next."),
      Entry("Pivot tables", R"(\b(PivotCaches|PivotTables|PivotFields|CreatePivotTable)\b)",
            "There are no pivot tables: summarise with an Access crosstab query given its own destination, or with "
            "WorksheetFunction.SumIf."),
      Entry("ExportAsFixedFormat", R"(\.\s*ExportAsFixedFormat\b)",
            "A macro cannot write a PDF here: Tabulon writes the workbook; print or export it from the spreadsheet "
            "program."),
      Entry("Range.Value2", R"(\.\s*Value2\b)", "Use .Value."),
      Entry("Worksheet.Sort", R"(\.\s*Sort\s*\.\s*(SortFields|SetRange|Apply|Header|MatchCase|Orientation|SortMethod)\b)",
            "Sort the range itself: Range(\"A4\").CurrentRegion.Sort Key1:=Range(\"B5\"), Order1:=xlDescending, "
            "Header:=xlYes."),
      Entry("Application.PrintCommunication", R"(\bPrintCommunication\b)",
            "Remove the line: the office applies page settings at once."),
      Entry("PageSetup settings the office lacks",
            R"(\bPageSetup\b.*\.\s*(PrintComments|PrintQuality|Draft|BlackAndWhite|PrintErrors|)"
            R"(OddAndEvenPagesHeaderFooter|DifferentFirstPageHeaderFooter|ScaleWithDocHeaderFooter|)"
            R"(AlignMarginsHeaderFooter|EvenPage|FirstPage)\b)",
            "Remove the line: the office's page setup has no such setting."),
      Entry("Font theme settings", R"(\.\s*Font\s*\.\s*(ThemeColor|TintAndShade|ThemeFont|Superscript|Subscript)\b)",
            "Remove the line (with Excel's default theme it changes nothing), or set .Font.Color = RGB(...)."),
      Entry("Borders.ThemeColor", R"(\.\s*Borders\b.*\.\s*ThemeColor\b)", "Use .Color = RGB(...) or .ColorIndex."),
      Entry("SpecialCells(xlCellTypeLastCell)", R"(\bSpecialCells\s*\(\s*(xlCellTypeLastCell|11)\s*\))",
            "Find the last cell with Cells.Find(What:=\"*\", SearchOrder:=xlByRows, SearchDirection:=xlPrevious), or "
            "use ActiveSheet.UsedRange."),
      Entry("Debug.Print", R"(\bDebug\s*\.\s*(Print|Assert)\b)",
            "Remove the line, or write the value into a cell."),
      Entry("CreateObject / GetObject", R"(\b(CreateObject|GetObject)\s*\()",
            "There are no Windows COM objects here: use a Collection instead of Scripting.Dictionary, and cells "
            "instead of other programs."),
      Entry("the AutoFilter object", R"(\bAutoFilter\s*\.\s*(Range|Filters|Sort|ShowAllData|ApplyFilter)\b)",
            "Use ActiveSheet.AutoFilterMode, or Range.AutoFilter Field:=..., Criteria1:=...."),
      Entry("Range.Name =", R"(\bRange\s*\([^)]*\)\s*\.\s*Name\s*=)",
            "Name the range with ActiveWorkbook.Names.Add Name:=\"Block\", RefersTo:=\"=Data!$A$4:$E$24\"."),
  };
}

}  // namespace

const std::vector<UnsupportedCall>& UnsupportedCalls() {
  static const std::vector<UnsupportedCall> table = MakeTable();
  return table;
}

QString CompileFailureAdvice(const QString& line) {
  static const std::vector<UnsupportedCall> causes = {
      Entry("Declare PtrSafe", R"(\b(PtrSafe|LongPtr)\b)",
            "The office cannot compile 64-bit Windows declarations (Declare PtrSafe, even under #If VBA7): remove "
            "the declaration; Windows functions cannot be called here."),
      Entry("division by zero", R"(/\s*0+\s*($|[^.\d]))",
            "A division by a constant 0 does not compile in the office: compute the value or remove the line."),
  };
  for (const UnsupportedCall& cause : causes) {
    if (cause.pattern.match(line).hasMatch()) return cause.advice;
  }
  return QString();
}

}  // namespace excel
