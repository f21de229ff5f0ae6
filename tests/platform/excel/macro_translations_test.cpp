// The translations as text: each test feeds recorder output, states what
// Excel does with it, and checks the line the office will run instead.
#include <QStringList>
#include <gtest/gtest.h>

#include "platform/excel/macro_source.h"
#include "platform/excel/macro_translation_rules.h"

namespace {

QString Lines(const QStringList& lines) { return lines.join(QLatin1Char('\n')) + QLatin1Char('\n'); }

QStringList Split(const QString& source) { return source.split(QLatin1Char('\n')); }

}  // namespace

TEST(MacroTranslations, EveryRuleKeepsTheLinesLiteralsAndCommentsOfAModule) {
  const QString module = Lines({
      "Sub Report()",
      "  Debug.Print \"Application.PrintCommunication = False\" ' .Value2",
      "  Application.PrintCommunication = False",
      "  MsgBox \"Debug.Print x: Range(\"\"A1\"\").Value2\" ' Debug.Print",
      "  x = Range(\"A1\").Value2 + _",
      "      Range(\"A2\").Value2",
      "  ' With Selection.Font",
      "  Rem .TintAndShade = 0 _",
      "  Debug.Print 1",
      "End Sub",
  });
  const QString out = excel::RewriteMacroSource(module);
  const QStringList lines = Split(out);
  ASSERT_EQ(lines.size(), Split(module).size());
  EXPECT_EQ(lines[1], "  If IsNull(Array(\"Application.PrintCommunication = False\")) Then Beep ' .Value2");
  EXPECT_EQ(lines[2], "  ");
  EXPECT_EQ(lines[3], "  MsgBox \"Debug.Print x: Range(\"\"A1\"\").Value2\" ' Debug.Print") << "literal and comment kept";
  EXPECT_EQ(lines[4], "  x = Range(\"A1\").Value2 + _") << "a statement over two lines is not translated";
  EXPECT_EQ(lines[5], "      Range(\"A2\").Value2");
  EXPECT_EQ(lines[7], "  Rem .TintAndShade = 0 _");
  EXPECT_EQ(lines[8], "  Debug.Print 1") << "a comment ending in \" _\" goes on over the next line in VBA";
  EXPECT_EQ(excel::RewriteMacroSource(out), out) << "a second pass changes nothing";
}

// Excel prints to its editor's Immediate window only, and sends page
// settings to the printer at once when nothing else runs.
TEST(MacroTranslations, StatementsTalkingToExcelsOwnWindowsOrPrinterDoNothingMore) {
  const QString module = Lines({
      "application.printcommunication = TRUE",
      "    Debug.Print \"rows\"; n, _",
      "        Now;",
      "If done Then Debug.Print \"x\"",
      "Debug.Print 1: n = 2",
      "x = Application.PrintCommunication",
      "  debug.print",
      "Debug.Print Tab(2); \"a;b\", Spc(n + 1); Tab; Cells(1, 1).Value",
  });
  const QStringList out = Split(excel::DebugPrintWorksOutItsItems(excel::DropPrintCommunication(module)));
  EXPECT_EQ(out[0], "") << "VBA is case-insensitive";
  // Excel still works out the items, with the errors and calls that brings.
  EXPECT_EQ(out[1], "    If IsNull(Array(\"rows\", n, Now)) Then Beep") << "never Null: Beep never runs";
  EXPECT_EQ(out[2], "        ");
  EXPECT_EQ(out[6], "  ");
  EXPECT_EQ(out[7], "If IsNull(Array((2), \"a;b\", (n + 1), Cells(1, 1).Value)) Then Beep");
  // A statement sharing its line is not ours to cut out of it.
  EXPECT_EQ(out[3], "If done Then Debug.Print \"x\"");
  EXPECT_EQ(out[4], "Debug.Print 1: n = 2");
  EXPECT_EQ(out[5], "x = Application.PrintCommunication");
}

// Value2 reads a date cell as its serial number where Value reads a date.
TEST(MacroTranslations, Value2IsValueWhereBothGiveTheSameCells) {
  const QStringList out = Split(excel::Value2AsValue(Lines({
      "ws.Range(\"A5:E24\").VALUE2 = arr",
      "Cells(r, 2).Value2 = Cells(r, 1).value2 ' .Value2",
      "n = Cells(r, 3).Value2",
      "  total = ws.Range(\"$C$5\").Value2",
      "arr = Range(\"A5:E24\").Value2",
      "Cells(r, 2).Value2 = \"On \" & Cells(r, 3).Value2",
      "If ok Then Cells(r, 2).Value2 = 1",
      "x = rng.Value2Total",
  })));
  EXPECT_EQ(out[0], "ws.Range(\"A5:E24\").Value = arr") << "Value2 and Value write the same";
  EXPECT_EQ(out[1], "Cells(r, 2).Value = Cells(r, 1).Value ' .Value2") << "a date copied as a serial number";
  EXPECT_EQ(out[2], "n = Cells(r, 3).Value: If VarType(n) = vbDate Or VarType(n) = vbCurrency Then n = CDbl(n)");
  EXPECT_TRUE(out[3].startsWith("  total = ws.Range(\"$C$5\").Value: If VarType(total) = vbDate"));
  // Dates inside a block's array, or a date in text ("On 45292"), are not Value's.
  for (int kept : {4, 5, 6, 7}) EXPECT_TRUE(out[kept].contains("Value2")) << kept;
  const QString into_text = Lines({"Dim shown As String", "shown = Cells(5, 3).Value2"});
  EXPECT_EQ(excel::Value2AsValue(into_text), into_text) << "Excel puts \"45292\" into the String";
  const QString own_field = Lines({"Type Reading", "  Value2 As Double", "End Type", "r.Value2 = 1"});
  EXPECT_EQ(excel::Value2AsValue(own_field), own_field) << "a Type's own Value2 is not the range's";
}

TEST(MacroTranslations, LastCellIsTheBottomRightCellOfTheSheetsUsedRange) {
  const QStringList out = Split(excel::LastCellFromUsedRange(Lines({
      "n = Cells.SpecialCells(xlCellTypeLastCell).Row",
      "Set c = Sheets(\"Data\").Range(\"A1\").SpecialCells(xlLastCell)",
      "  .Cells.SpecialCells( 11 ).Select",
      "k = Range(\"A4:E24\").SpecialCells(xlCellTypeConstants).Count",
  })));
  EXPECT_EQ(out[0],
            "n = Cells.Worksheet.UsedRange.Cells(Cells.Worksheet.UsedRange.Rows.Count, "
            "Cells.Worksheet.UsedRange.Columns.Count).Row");
  const QString data = "Sheets(\"Data\").Range(\"A1\").Worksheet.UsedRange";
  EXPECT_EQ(out[1], QStringLiteral("Set c = %1.Cells(%1.Rows.Count, %1.Columns.Count)").arg(data))
      << "Excel's last cell belongs to the sheet, whatever range asks";
  EXPECT_TRUE(out[2].startsWith("  .Cells.Worksheet.UsedRange.Cells(")) << "inside a With block";
  EXPECT_EQ(out[3], "k = Range(\"A4:E24\").SpecialCells(xlCellTypeConstants).Count") << "the office has the others";
}

// Excel's defaults leave the page as the office has it; any other value,
// or the same name outside a page setup, stays for the macro check.
TEST(MacroTranslations, RecorderPageSettingsTheOfficeLacksGoWhereTheyAreExcelsDefaults) {
  const QStringList out = Split(excel::DropPageSetupDefaults(Lines({
      "With ActiveSheet.PageSetup",
      "    .PrintComments = xlPrintNoComments",
      "    .PrintQuality = 600",
      "    .Draft = False",
      "    .BlackAndWhite = True",
      "    .ScaleWithDocHeaderFooter = True",
      "    .EvenPage.LeftHeader.Text = \"\"",
      "    .FirstPage.CenterFooter.Text = \"&P\"",
      "    With .Parent",
      "        .Draft = False",
      "    End With",
      "    .OddAndEvenPagesHeaderFooter = False",
      "End With",
      "Sheets(1).PageSetup.PrintErrors = xlPrintErrorsDisplayed",
      "If x Then ActiveSheet.PageSetup.Draft = False",
      ".Draft = False",
  })));
  EXPECT_EQ(out[1], "    ");
  EXPECT_EQ(out[2], "    ");
  EXPECT_EQ(out[3], "    ");
  EXPECT_EQ(out[4], "    .BlackAndWhite = True") << "printing in black and white changes the page";
  EXPECT_EQ(out[5], "    ");
  EXPECT_EQ(out[6], "    ");
  EXPECT_EQ(out[7], "    .FirstPage.CenterFooter.Text = \"&P\"");
  EXPECT_EQ(out[9], "        .Draft = False") << "a block inside the page setup's is another object's";
  EXPECT_EQ(out[11], "    ") << "the outer block goes on after the inner one";
  EXPECT_EQ(out[13], "");
  EXPECT_EQ(out[14], "If x Then ActiveSheet.PageSetup.Draft = False");
  EXPECT_EQ(out[15], ".Draft = False") << "outside any page setup";
}

// Unqualified, both corners are the active sheet's, as Excel takes them;
// the office takes an address on the first sheet.
TEST(MacroTranslations, ARangeFromAnAddressToARangeHasTwoRangeCorners) {
  const QStringList out = Split(excel::RangeCornersAsRanges(Lines({
      "Range(\"C5\", Cells(Rows.Count, 3).End(xlUp)).NumberFormat = \"0.0\"",
      "Set r = Range( \"A1\" , Range(\"B2\", last)): x = \"Range(\"\"A1\"\", y)\"",
      "Range(\"A1\", \"B2\").Select",
      "Sheets(1).Range(\"A1\", Cells(2, 2)).Select",
      "Range(Cells(1, 1), Cells(2, 2)).Select",
      "Set last = ActiveCell: Range(\"A1\", last).Select: Range(\"A1\", text).Select",
      "Dim corner As String: Range(\"A1\", corner).Select: Range(\"A1\", \"E\" & n).Select",
      "Range(\"A1\", Cells(n, 5).Address).Select",
  })));
  EXPECT_EQ(out[0], "Range(Range(\"C5\"), Cells(Rows.Count, 3).End(xlUp)).NumberFormat = \"0.0\"");
  EXPECT_EQ(out[1], "Set r = Range( Range(\"A1\") , Range(Range(\"B2\"), last)): x = \"Range(\"\"A1\"\", y)\"")
      << "nested calls, and never inside a literal";
  EXPECT_EQ(out[2], "Range(Range(\"A1\"), Range(\"B2\")).Select") << "two addresses, which the office takes on the first sheet";
  EXPECT_EQ(out[3], "Sheets(1).Range(\"A1\", Cells(2, 2)).Select") << "a sheet's own Range";
  EXPECT_EQ(out[4], "Range(Cells(1, 1), Cells(2, 2)).Select");
  EXPECT_EQ(out[5], "Set last = ActiveCell: Range(Range(\"A1\"), last).Select: Range(\"A1\", text).Select")
      << "a variable is a range when it is Set; another may hold an address";
  EXPECT_EQ(out[6], "Dim corner As String: Range(Range(\"A1\"), Range(corner)).Select: "
                    "Range(Range(\"A1\"), Range(\"E\" & n)).Select")
      << "an address for certain: a String, or text joined";
  EXPECT_EQ(out[7], "Range(Range(\"A1\"), Range(Cells(n, 5).Address)).Select");
}

TEST(MacroTranslations, EachOnErrorTurnsTheHandlingBeforeItOffOnItsOwnLine) {
  const QStringList out = Split(excel::OnErrorStartsAfresh(Lines({
      "  On Error Resume Next",
      "  If x Then On Error GoTo Failed Else y = 1",
      "  On Error GoTo 0: On error goto -1",
      "  s = \"On Error Resume Next\" ' On Error GoTo Failed",
  })));
  EXPECT_EQ(out[0], "  On Error GoTo 0: On Error Resume Next");
  EXPECT_EQ(out[1], "  If x Then On Error GoTo 0: On Error GoTo Failed Else y = 1");
  EXPECT_EQ(out[2], "  On Error GoTo 0: On error goto -1") << "turning off is left as written";
  EXPECT_EQ(out[3], "  s = \"On Error Resume Next\" ' On Error GoTo Failed");
}

TEST(MacroTranslations, VLookupCallsBecomeRoutinesAnsweringAMissAsExcelDoes) {
  const QString out = excel::VLookupMissesAsInExcel(Lines({
      "x = Application.WorksheetFunction.VLookup(k, Range(\"A1:B9\"), 2, False) + WorksheetFunction.VLookup(k, t, 2)",
      "v = Application.VLookup(k, t, 2): s = \"Application.VLookup(\" ' WorksheetFunction.VLookup(",
      "w = Other.Application.VLookup(k, t, 2)",
  }));
  const QStringList lines = Split(out);
  EXPECT_EQ(lines[0], "x = Tabulon_WorksheetVLookup(k, Range(\"A1:B9\"), 2, False) + Tabulon_WorksheetVLookup(k, t, 2)");
  EXPECT_EQ(lines[1], "v = Tabulon_ApplicationVLookup(k, t, 2): s = \"Application.VLookup(\" ' WorksheetFunction.VLookup(");
  EXPECT_EQ(lines[2], "w = Other.Application.VLookup(k, t, 2)") << "another object's";
  EXPECT_EQ(out.count(QStringLiteral("Private Function Tabulon_VLookup(")), 1);
  EXPECT_EQ(excel::VLookupMissesAsInExcel(QStringLiteral("x = 1\n")), QStringLiteral("x = 1\n"));
}

TEST(MacroTranslations, ContinuousAndMediumBordersAreDrawnCellByCell) {
  const QString out = excel::BordersDrawnAsExcelDrawsThem(Lines({
      "Selection.Borders(xlEdgeBottom).LineStyle = xlContinuous",
      "With Range(\"A4:E4\").Borders(xlEdgeTop)",
      "    .LineStyle = 1",
      "    .Weight = xlThick",
      "End With",
      "Range(\"A1:B2\").Borders.LineStyle = xlContinuous",
      "If x Then Cells(1, 1).Borders(xlEdgeLeft).LineStyle = xlContinuous",
      "Cells(1, 1).Borders(xlEdgeLeft).LineStyle = xlDash",
      "With .Range(\"B2\").Borders(xlEdgeTop)",
      "    .LineStyle = xlContinuous",
      "End With",
      "With Selection.Borders(xlInsideVertical)",
      "    .Weight = xlMedium",
      "End With",
      "Range(\"C3:D9\").Borders.Weight = -4138",
      "Range(\"C3\").Borders(xlEdgeTop).Weight = xlHairline",
  }));
  const QStringList lines = Split(out);
  // Each cell along the edge: a thin line where it has none, its own weight kept.
  EXPECT_EQ(lines[0], "Tabulon_DrawEdge Selection, xlEdgeBottom");
  EXPECT_EQ(lines[2], "    Tabulon_DrawEdge Range(\"A4:E4\"), xlEdgeTop");
  EXPECT_EQ(lines[3], "    .Weight = xlThick") << "a weight set afterwards still wins";
  EXPECT_EQ(lines[5], "Tabulon_DrawEdge Range(\"A1:B2\"), 0") << "every edge at once";
  EXPECT_EQ(lines[6], "If x Then Cells(1, 1).Borders(xlEdgeLeft).LineStyle = xlContinuous");
  EXPECT_EQ(lines[7], "Cells(1, 1).Borders(xlEdgeLeft).LineStyle = xlDash");
  EXPECT_EQ(lines[9], "    .LineStyle = xlContinuous") << "the outer With's range cannot be named inside this one";
  // Medium: the width the office saves as medium, on an edge or all of them.
  EXPECT_EQ(lines[12], "    Tabulon_MediumEdge Selection, xlInsideVertical");
  EXPECT_EQ(lines[14], "Tabulon_MediumEdge Range(\"C3:D9\"), 0");
  EXPECT_EQ(lines[15], "Range(\"C3\").Borders(xlEdgeTop).Weight = xlHairline") << "drawn alike by the office";
  EXPECT_EQ(out.count(QStringLiteral("Private Sub Tabulon_EachCellEdge(")), 1);
}

TEST(MacroTranslations, RecorderSortBlockIsOneRangeSortOnItsApplyLine) {
  const QStringList recorded = {
      "    ActiveWorkbook.Worksheets(\"Data\").Sort.SortFields.Clear",
      "    ActiveWorkbook.Worksheets(\"Data\").Sort.SortFields.Add Key:=Range(\"D5:D24\"), _",
      "        SortOn:=xlSortOnValues, Order:=xlAscending, DataOption:=xlSortNormal",
      "    ActiveWorkbook.Worksheets(\"Data\").Sort.SortFields.Add2 Key:=Range(\"B5:B24\"), _",
      "        SortOn:=xlSortOnValues, Order:=xlDescending",
      "    With ActiveWorkbook.Worksheets(\"Data\").Sort",
      "        .SetRange Range(\"A4:E24\")",
      "        .Header = xlYes",
      "        .MatchCase = False",
      "        .Orientation = xlTopToBottom",
      "        .SortMethod = xlPinYin",
      "        .Apply",
      "    End With",
  };
  const QStringList out = Split(excel::SortObjectToRangeSort(Lines(recorded)));
  ASSERT_EQ(out.size(), recorded.size() + 1);
  for (int i = 0; i < 11; ++i) EXPECT_EQ(out[i].trimmed(), "") << i;
  // Excel sorts A4:E24 below its header by Region, then by Amount descending.
  EXPECT_EQ(out[11],
            "        Range(\"A4:E24\").Sort Key1:=Range(\"D5:D24\"), Order1:=xlAscending, DataOption1:=xlSortNormal, "
            "Key2:=Range(\"B5:B24\"), Order2:=xlDescending, Header:=xlYes, MatchCase:=False, "
            "Orientation:=xlTopToBottom, SortMethod:=xlPinYin");
  EXPECT_EQ(out[12].trimmed(), "");

  // Sorting by cell colour, a fourth key or a custom list has no Range.Sort
  // form; a guessed header, a left-to-right sort and text read as numbers
  // are not known to come out as in Excel.
  const auto untouched = [](const QStringList& lines) {
    return excel::SortObjectToRangeSort(Lines(lines)) == Lines(lines);
  };
  QStringList by_colour = recorded;
  by_colour[2] = "        SortOn:=xlSortOnCellColor, Order:=xlAscending, DataOption:=xlSortNormal";
  EXPECT_TRUE(untouched(by_colour));
  QStringList custom = recorded;
  custom[4] = "        SortOn:=xlSortOnValues, Order:=xlDescending, CustomOrder:=\"Low,High\"";
  EXPECT_TRUE(untouched(custom));
  QStringList four_keys = recorded;
  for (int k = 0; k < 2; ++k) four_keys.insert(1, recorded[1].section(',', 0, 0));
  EXPECT_TRUE(untouched(four_keys));
  for (const auto& [line, setting] : std::vector<std::pair<int, const char*>>{
           {7, "        .Header = xlGuess"},
           {9, "        .Orientation = xlLeftToRight"},
           {2, "        SortOn:=xlSortOnValues, Order:=xlAscending, DataOption:=xlSortTextAsNumbers"}}) {
    QStringList other = recorded;
    other[line] = QString::fromLatin1(setting);
    EXPECT_TRUE(untouched(other)) << setting;
  }
  for (int setting : {7, 8, 9}) {
    QStringList unset = recorded;
    unset.removeAt(setting);
    EXPECT_TRUE(untouched(unset)) << "Excel would keep the sheet's last " << recorded[setting].toStdString();
  }
  QStringList other_sheet = recorded;
  other_sheet[5] = "    With ActiveWorkbook.Worksheets(\"Summary\").Sort";
  EXPECT_TRUE(untouched(other_sheet)) << "the fields were added to another sheet's sort";
  QStringList extra = recorded;
  extra[10] = "        MsgBox \"sorting\"";
  EXPECT_TRUE(untouched(extra));
}

TEST(MacroTranslations, RecorderFontBlockThemePropertiesMeanTheDefaultTheme) {
  const QStringList recorded = {
      "    With Selection.Font",
      "        .Name = \"Calibri\"",
      "        .Size = 11",
      "        .Superscript = False",
      "        .Subscript = False",
      "        .ThemeColor = xlThemeColorLight1",
      "        .TintAndShade = 0",
      "        .ThemeFont = xlThemeFontMinor",
      "    End With",
      "    With Range(\"A4\").Font",
      "        .Name = \"Arial\"",
      "        .ThemeFont = xlThemeFontMinor",
      "        .TintAndShade = -0.25",
      "        .ThemeFont = xlThemeFontNone",
      "        .Superscript = True",
      "    End With",
      "    .TintAndShade = 0",
      "Range(\"A4:E4\").Font.ThemeColor = xlThemeColorLight1: Selection.Font.TintAndShade = 0 ' black",
      "Selection.Font.TintAndShade = 0",
      "ws.Cells(4, 1).Font.Subscript = False",
      "Selection.Font.ThemeFont = xlThemeFontMinor",
      "If n > 0 Then x = 1 Else Selection.Font.TintAndShade = 0",
  };
  QString source = Lines(recorded);
  for (auto rule : {excel::FontTextColorAsBlack, excel::DropFontTintAndShadeZero, excel::DropFontThemeFontOfItsName,
                    excel::DropFontScriptOff})
    source = rule(source);
  const QStringList out = Split(source);
  ASSERT_EQ(out.size(), recorded.size() + 1);
  for (int kept : {0, 1, 2, 8, 9, 10, 15, 16}) EXPECT_EQ(out[kept], recorded[kept]) << kept;
  // Under the Office theme, Text 1 is black and the body font is Calibri.
  EXPECT_EQ(out[5], "        .Color = 0");
  for (int dropped : {3, 4, 6, 7, 13}) EXPECT_EQ(out[dropped], "        ") << dropped;
  EXPECT_EQ(out[11], recorded[11]) << "the body font would replace Arial";
  EXPECT_EQ(out[12], recorded[12]) << "a real tint changes the colour";
  EXPECT_EQ(out[14], recorded[14]) << "the office has no superscript to switch on";
  // The same properties set one by one.
  EXPECT_EQ(out[17], recorded[17]) << "two statements on a line";
  EXPECT_EQ(out[18], "");
  EXPECT_EQ(out[19], "");
  EXPECT_EQ(out[20], recorded[20]) << "no font name says the body font is meant";
  EXPECT_EQ(out[21], recorded[21]) << "part of a one-line If";
}

TEST(MacroTranslations, RecorderConditionalFormatIsOneCallMakingTheOfficesOwn) {
  const QStringList recorded = {
      "    Selection.FormatConditions.Delete",
      "    Selection.FormatConditions.Add Type:=xlCellValue, Operator:=xlGreater, _",
      "        Formula1:=\"=20\"",
      "    Selection.FormatConditions(Selection.FormatConditions.Count).SetFirstPriority",
      "    With Selection.FormatConditions(1).Font",
      "        .Color = -16383844",
      "        .TintAndShade = 0",
      "    End With",
      "    With Selection.FormatConditions(1).Interior",
      "        .PatternColorIndex = xlAutomatic",
      "        .Color = 13551615",
      "        .TintAndShade = 0",
      "    End With",
      "    Selection.FormatConditions(1).StopIfTrue = False",
      "    MsgBox \"done\"",
  };
  const QString out = excel::FormatConditionsAsConditionalFormats(Lines(recorded));
  const QStringList lines = Split(out);
  EXPECT_EQ(lines[0], "    Tabulon_ClearConditions Selection");
  EXPECT_EQ(lines[1], "    Tabulon_AddCondition Selection, 1, 5, \"=20\", \"\", True, -16383844, Empty, Empty, 13551615");
  for (int i = 2; i < 14; ++i) EXPECT_EQ(lines[i].trimmed(), "") << i;
  EXPECT_EQ(lines[14], "    MsgBox \"done\"") << "the block ends where its statements do";
  // The routines come after the module's own lines, once.
  EXPECT_EQ(out.count(QStringLiteral("Private Sub Tabulon_AddCondition(")), 1);
  EXPECT_TRUE(out.indexOf(QStringLiteral("Private Sub Tabulon_AddCondition(")) > out.indexOf(QStringLiteral("MsgBox")));

  // A formula condition by position, on a named range, with bold text.
  const QString expression = Lines({"Range(\"A5:E24\").FormatConditions.Add xlExpression, , \"=$B5>$E5\"",
                                    "Range(\"A5:E24\").FormatConditions(Range(\"A5:E24\").FormatConditions.Count).SetFirstPriority",
                                    "With Range(\"A5:E24\").FormatConditions(1).Font",
                                    ".Bold = True",
                                    "End With"});
  EXPECT_EQ(Split(excel::FormatConditionsAsConditionalFormats(expression))[0].toStdString(),
            "Tabulon_AddCondition Range(\"A5:E24\"), 2, 0, \"=$B5>$E5\", \"\", True, Empty, True, Empty, Empty");

  // What the office's conditional formats cannot say as Excel does stays for
  // the macro check: another sheet in the formula, colours by index, the
  // theme's colours.
  const auto untouched = [](const QStringList& lines) {
    return excel::FormatConditionsAsConditionalFormats(Lines(lines)) == Lines(lines);
  };
  QStringList block(recorded.begin() + 1, recorded.end() - 1);
  for (const auto& [line, text] : std::vector<std::pair<int, const char*>>{
           {1, "        Formula1:=\"=Limits!$A$1\""},
           {4, "        .ColorIndex = 3"},
           {9, "        .ThemeColor = xlThemeColorAccent2"}}) {
    QStringList other = block;
    other[line] = QString::fromLatin1(text);
    EXPECT_TRUE(untouched(other)) << text;
  }
  EXPECT_TRUE(untouched({"Selection.FormatConditions.AddColorScale ColorScaleType:=3"}));
  QStringList other_range = block;
  other_range[7] = "    With Range(\"B5\").FormatConditions(1).Interior";
  const QStringList kept = Split(excel::FormatConditionsAsConditionalFormats(Lines(other_range)));
  for (int i = 7; i < 12; ++i) EXPECT_EQ(kept[i], other_range[i]) << "not the new condition's block: " << i;
}

TEST(MacroTranslations, RecorderChartsAreOneCallMakingTheOfficesOwnChart) {
  const auto translated = [](const QStringList& lines) { return Split(excel::ChartsAsTheOfficesOwn(Lines(lines))); };
  // Excel 2013 and later.
  QStringList out = translated({"    Range(\"D4:E24\").Select",
                                "    ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select",
                                "    ActiveChart.SetSourceData Source:=Range(\"Data!$D$4:$E$24\")",
                                "    Range(\"A1\").Select"});
  EXPECT_EQ(out[1], "    Tabulon_AddChart ActiveSheet, Range(\"Data!$D$4:$E$24\"), 51, 0");
  EXPECT_EQ(out[2].trimmed(), "");
  EXPECT_EQ(out[3], "    Range(\"A1\").Select");
  EXPECT_EQ(out.filter(QStringLiteral("Private Function Tabulon_AddChart(")).size(), 1);
  // Excel 2007 and 2010: the type comes as its own statement.
  out = translated({"ActiveSheet.Shapes.AddChart.Select", "ActiveChart.ChartType = xlLine",
                    "ActiveChart.SetSourceData Source:=Range(\"A4:B24\")"});
  EXPECT_EQ(out[0], "Tabulon_AddChart ActiveSheet, Range(\"A4:B24\"), 4, 0");
  // Excel 2003: a chart sheet, then moved onto a sheet.
  const QStringList charts_add = {"Charts.Add", "ActiveChart.ChartType = xlBarClustered",
                                  "ActiveChart.SetSourceData Source:=Sheets(\"Data\").Range(\"A4:B24\"), _",
                                  "    PlotBy:=xlColumns",
                                  "ActiveChart.Location Where:=xlLocationAsObject, Name:=\"Summary\""};
  out = translated(charts_add);
  EXPECT_EQ(out[0], "Tabulon_AddChart Sheets(\"Summary\"), Sheets(\"Data\").Range(\"A4:B24\"), 57, 2");
  for (int i = 1; i < 5; ++i) EXPECT_EQ(out[i].trimmed(), "") << i;
  // By hand: a chart object of its own size, what follows its data and type
  // left to run on the office's chart object.
  out = translated({"Set co = Sheets(\"Data\").ChartObjects.Add(Top:=20, Left:=300, Width:=400, Height:=250)",
                    "co.Chart.ChartType = xlColumnStacked", "co.Chart.SetSourceData rng, xlRows",
                    "co.Chart.HasTitle = True", "co.Chart.SetSourceData Source:=Range(\"A1:B2\")"});
  EXPECT_EQ(out[0], "Set co = Tabulon_ChartObject(Sheets(\"Data\"), rng, 52, 1, 300, 20, 400, 250)");
  EXPECT_EQ(out[1].trimmed() + out[2].trimmed(), "");
  EXPECT_EQ(out[3], "co.Chart.HasTitle = True");
  EXPECT_EQ(out[4], "co.Chart.SetSourceData Source:=Range(\"A1:B2\")");
  out = translated({"  With ActiveSheet.ChartObjects.Add(10, 20, 30, 40)", "    .Chart.SetSourceData Source:=Range(\"A4:B9\")",
                    "  End With"});
  EXPECT_EQ(out[0], "  With Tabulon_ChartObject(ActiveSheet, Range(\"A4:B9\"), 51, 0, 10, 20, 30, 40)");
  EXPECT_EQ(out[2], "  End With");

  // Left to the macro check: a chart sheet, anything more on ActiveChart, a
  // type without a counterpart, a place of its own, no data.
  const auto untouched = [](const QStringList& lines) {
    return excel::ChartsAsTheOfficesOwn(Lines(lines)) == Lines(lines);
  };
  EXPECT_TRUE(untouched(charts_add.mid(0, 4)));
  EXPECT_TRUE(untouched({"ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select",
                         "ActiveChart.SetSourceData Source:=Range(\"A4:B24\")", "ActiveChart.HasTitle = True"}));
  EXPECT_TRUE(untouched({"ActiveSheet.Shapes.AddChart2(317, xlRadar).Select",
                         "ActiveChart.SetSourceData Source:=Range(\"A4:B24\")"}));
  EXPECT_TRUE(untouched({"ActiveSheet.Shapes.AddChart(xlLine, 10, 10, 300, 200).Select",
                         "ActiveChart.SetSourceData Source:=Range(\"A4:B24\")"}));
  EXPECT_TRUE(untouched({"ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select"}));
  EXPECT_TRUE(untouched({"Set co = ActiveSheet.ChartObjects.Add(10, 20, 30, 40)", "co.Chart.HasTitle = True",
                         "co.Chart.SetSourceData Source:=Range(\"A4:B9\")"}));
  EXPECT_TRUE(untouched({"Set co = ActiveSheet.ChartObjects.Add(10, 20, 30, 40)",
                         "co.Chart.ChartType = xlRadar", "co.Chart.SetSourceData Source:=Range(\"A4:B9\")"}));
}

TEST(MacroTranslations, ASheetCopiedWithinTheWorkbookIsMadeByARoutineNamingItAsExcelDoes) {
  const QString out = excel::SheetCopiesNamedAsExcelNamesThem(Lines({
      "  Sheets(\"Data\").Copy After:=Sheets(Sheets.Count)",
      "  ActiveWorkbook.Worksheets(1).Copy Before:=Sheets(\"Summary\")",
      "  Range(\"A1:B2\").Copy Destination:=Range(\"D1\")",
      "  Sheets(\"Data\").Copy",
      "  If x Then Sheets(\"Data\").Copy After:=Sheets(1)",
  }));
  const QStringList lines = Split(out);
  EXPECT_EQ(lines[0], "  Tabulon_CopySheet Sheets(\"Data\"), Empty, Sheets(Sheets.Count)");
  EXPECT_EQ(lines[1], "  Tabulon_CopySheet ActiveWorkbook.Worksheets(1), Sheets(\"Summary\"), Empty");
  EXPECT_EQ(lines[2], "  Range(\"A1:B2\").Copy Destination:=Range(\"D1\")") << "a range's copy";
  EXPECT_EQ(lines[3], "  Sheets(\"Data\").Copy") << "into a new workbook";
  EXPECT_EQ(lines[4], "  If x Then Sheets(\"Data\").Copy After:=Sheets(1)");
  EXPECT_EQ(out.count(QStringLiteral("Private Sub Tabulon_CopySheet(")), 1);
}

TEST(MacroTranslations, PageNumbersInHeadersAndTitleRowsAreSetAsTheOfficeKeepsThem) {
  const QString out = excel::HeaderFooterCodesAsFields(Lines({
      "    With ActiveSheet.PageSetup",
      "        .CenterFooter = \"Page &P of &N\"",
      "        .leftheader = \"&A, printed &D &T && filed as &F\"",
      "        .RightHeader = \"&\"\"Arial,Bold\"\"&12Survey &P\"",
      "        .RightFooter = \"Weekly catch\"",
      "        .LeftFooter = title & \" &P\"",
      "    End With",
      "    Sheets(\"Data\").PageSetup.RightFooter = \"&p\"",
      "    With .PageSetup",
      "        .CenterFooter = \"&P\"",
      "    End With",
  }));
  const QStringList lines = Split(out);
  EXPECT_EQ(lines[1], "        Tabulon_HeaderFooter ActiveSheet, \"CenterFooter\", \"Page &P of &N\"");
  EXPECT_EQ(lines[2], "        Tabulon_HeaderFooter ActiveSheet, \"LeftHeader\", \"&A, printed &D &T && filed as &F\"");
  EXPECT_EQ(lines[3], "        .RightHeader = \"&\"\"Arial,Bold\"\"&12Survey &P\"") << "font codes: left as written";
  EXPECT_EQ(lines[4], "        .RightFooter = \"Weekly catch\"") << "no codes: the office writes it as Excel does";
  EXPECT_EQ(lines[5], "        .LeftFooter = title & \" &P\"") << "not one literal";
  EXPECT_EQ(lines[7], "    Tabulon_HeaderFooter Sheets(\"Data\"), \"RightFooter\", \"&p\"");
  EXPECT_EQ(lines[9], "        .CenterFooter = \"&P\"") << "the outer With's sheet cannot be named inside this one";
  EXPECT_EQ(out.count(QStringLiteral("Private Sub Tabulon_HeaderFooter(")), 1);

  // Title rows, which the office's PageSetup takes and ignores.
  const QStringList titles = Split(excel::PrintTitleRowsSet(Lines({
      "With Worksheets(\"Data\").PageSetup", "  .PrintTitleRows = \"$1:$4\"", "End With",
      "ActiveSheet.PageSetup.PrintTitleRows = \"\"", "x = ActiveSheet.PageSetup.PrintTitleRows"})));
  EXPECT_EQ(titles[1], "  Tabulon_PrintTitleRows Worksheets(\"Data\"), \"$1:$4\"");
  EXPECT_EQ(titles[3], "Tabulon_PrintTitleRows ActiveSheet, \"\"");
  EXPECT_EQ(titles[4], "x = ActiveSheet.PageSetup.PrintTitleRows") << "read, not set";
}
