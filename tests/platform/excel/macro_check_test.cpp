// The macro check on templates built as Excel users write them, in the real
// office: what it names, where, and what it tells the user to write instead.
#include <gtest/gtest.h>

#include "macro_template.h"
#include "office_test_support.h"
#include "platform/excel/application.h"
#include "platform/excel/macro_check.h"

namespace {

using Kind = excel::MacroFinding::Kind;

// A template saved with these modules and loaded back, as a user's is.
QString MakeTemplate(const OutputFolder& out, const QString& name, const MacroModules& modules) {
  const QString path = out.File(name);
  MakeMacroTemplate(*excel::Application::Create(), path, modules);
  return path;
}

std::vector<excel::MacroFinding> Check(const QString& path, const QStringList& macros) {
  return excel::CheckTemplateMacros(*excel::Application::Create(), path, macros);
}

const QString kClean = QStringLiteral(
    "Sub FormatBlock()\n"
    "  ' Debug.Print and FormatConditions in a comment are not calls\n"
    "  Range(\"A4:E4\").Font.Bold = True\n"
    "  MsgBox \"Use FormatConditions\"\n"
    "  Columns(\"A:E\").AutoFit\n"
    "End Sub\n");

}  // namespace

TEST(MacroCheck, ModulesThatDoNotCompileAreNamedWithTheLineAndStopEveryMacro) {
  OutputFolder out;
  const QString path = MakeTemplate(
      out, QStringLiteral("broken.xls"),
      {{QStringLiteral("Formatting"), kClean},
       {QStringLiteral("Api"), QStringLiteral("#If VBA7 Then\n"
                                              "Private Declare PtrSafe Function GetTickCount Lib \"kernel32\" () As Long\n"
                                              "#Else\n"
                                              "Private Declare Function GetTickCount Lib \"kernel32\" () As Long\n"
                                              "#End If\n"
                                              "Sub Wait()\nEnd Sub\n")},
       {QStringLiteral("Ratios"), QStringLiteral("Sub Share()\n"
                                                 "  Dim total As Double\n"
                                                 "  total = 4\n"
                                                 "  If total > 0 Then\n"
                                                 "    Range(\"B2\").Value = 100 / 0\n"
                                                 "  End If\n"
                                                 "End Sub\n")}});
  const auto findings = Check(path, {QStringLiteral("FormatBlock")});
  ASSERT_EQ(findings.size(), 2u) << excel::FindingsText(findings).toStdString();
  EXPECT_TRUE(excel::AnyCannotRun(findings)) << "a module that does not compile stops the clean macro too";
  const auto& api = findings[0].module == QLatin1String("Api") ? findings[0] : findings[1];
  const auto& ratios = findings[0].module == QLatin1String("Api") ? findings[1] : findings[0];
  EXPECT_EQ(api.kind, Kind::kModuleDoesNotCompile);
  const QString apiText = api.Text();
  EXPECT_TRUE(apiText.startsWith(QStringLiteral("The module Api does not compile, at line "))) << apiText.toStdString();
  EXPECT_TRUE(apiText.contains(QStringLiteral("Declare PtrSafe Function GetTickCount"))) << apiText.toStdString();
  EXPECT_TRUE(apiText.contains(QStringLiteral("No macro of the workbook can run"))) << apiText.toStdString();
  EXPECT_EQ(ratios.code, QStringLiteral("Range(\"B2\").Value = 100 / 0"));
  EXPECT_TRUE(ratios.advice.contains(QStringLiteral("division by a constant 0"))) << ratios.advice.toStdString();
  EXPECT_EQ(api.line, 2) << "counted as the user's editor counts";
  EXPECT_EQ(ratios.line, 5);
  EXPECT_TRUE(ratios.macro.isEmpty());

  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add(path);
  EXPECT_NE(ErrorNumberOf([&] { app->Run(QStringLiteral("FormatBlock")); }), 0)
      << "the office indeed runs no macro of such a workbook";
  book.Close();
}

TEST(MacroCheck, UnsupportedCallsOfANamedMacroAndWhatItCallsAreListedWithLineAndAdvice) {
  OutputFolder out;
  const QString path = MakeTemplate(
      out, QStringLiteral("calls.xls"),
      {{QStringLiteral("Formatting"), kClean},
       {QStringLiteral("Report"),
        QStringLiteral("Sub FormatReport()\n"                                       // 1
                       "  Range(\"A1\").Value = \"Report\"\n"                       // 2
                       "  Call AddRules\n"                                          // 3
                       "  If Range(\"A1\").Value = \"\" Then ActiveSheet.ExportAsFixedFormat Type:=0\n"  // 4
                       "End Sub\n"                                                  // 5
                       "Sub AddRules()\n"                                           // 6
                       "  With Range(\"B5:B24\")\n"                                 // 7
                       "    .FormatConditions.Add Type:=1, Operator:=5, Formula1:=\"=20\"\n"  // 8
                       "  End With\n"                                               // 9
                       "End Sub\n"                                                  // 10
                       "Sub NotNamed()\n"                                           // 11
                       "  Set p = ActiveWorkbook.PivotCaches.Create(1, \"Data!A4:E24\")\n"  // 12
                       "End Sub\n"                                                  // 13
                       "Sub NewChart()\n"                                           // 14
                       "  Charts.Add\n"                                             // 15
                       "  ActiveChart.SetSourceData Source:=Range(\"A4:B24\")\n"    // 16
                       "End Sub\n"                                                  // 17
                       "Sub ChartIfAny()\n"                                         // 18
                       "  On Error Resume Next\n"                                   // 19
                       "  Charts.Add\n"                                             // 20
                       "End Sub\n"                                                  // 21
                       "Sub HandCharts()\n"                                         // 22
                       "  Set co = ActiveSheet.ChartObjects.Add(10, 20, 300, 200)\n"  // 23
                       "  co.Chart.SetSourceData Source:=Range(\"A4:B24\")\n"       // 24
                       "  Set other = ActiveSheet.ChartObjects.Add(10, 220, 300, 200)\n"  // 25
                       "  other.Chart.HasTitle = True\n"                            // 26
                       "  On Error Resume Next\n"                                   // 27
                       "  Set ws = Sheets(\"Totals\")\n"                            // 28
                       "  If Err.Number = 9 Then Worksheets.Add\n"                  // 29
                       "  ActiveSheet.PageSetup.CenterFooter = \"&\"\"Arial,Bold\"\"&P\"\n"  // 30
                       "  ActiveSheet.PageSetup.LeftFooter = \"Page &P of &N\"\n"    // 31
                       "  Range(\"A1\", corner).Select\n"                            // 32
                       "  Set last = Cells(9, 5): Range(\"A1\", last).Select\n"       // 33
                       "End Sub\n")}});
  const auto findings = Check(path, {QStringLiteral("FormatBlock"), QStringLiteral("Report.FormatReport")});
  ASSERT_EQ(findings.size(), 2u) << excel::FindingsText(findings).toStdString();
  EXPECT_FALSE(excel::AnyCannotRun(findings)) << "neither call is made on every run of FormatReport itself";
  const auto& pdf = findings[0];
  EXPECT_EQ(pdf.macro, QStringLiteral("Report.FormatReport"));
  EXPECT_EQ(pdf.call, QStringLiteral("ExportAsFixedFormat"));
  EXPECT_EQ(pdf.line, 4) << "counted as the user's editor counts, not the office's own lines";
  const auto& rule = findings[1];
  EXPECT_EQ(rule.call, QStringLiteral("FormatConditions"));
  EXPECT_EQ(rule.line, 8) << "found in AddRules, which FormatReport calls, through the With block";
  EXPECT_EQ(rule.code, QStringLiteral(".FormatConditions.Add Type:=1, Operator:=5, Formula1:=\"=20\""));
  EXPECT_TRUE(rule.Text().startsWith(QStringLiteral("Macro 'Report.FormatReport', module Report, line %1: ")
                                         .arg(rule.line)))
      << rule.Text().toStdString();
  EXPECT_TRUE(rule.Text().contains(QStringLiteral("Interior.Color"))) << "says what to write instead";

  const auto chart = Check(path, {QStringLiteral("NewChart")});
  ASSERT_EQ(chart.size(), 2u) << excel::FindingsText(chart).toStdString();
  EXPECT_EQ(chart[0].line, 15);
  EXPECT_TRUE(chart[0].certain) << excel::FindingsText(chart).toStdString();
  EXPECT_TRUE(excel::AnyCannotRun(chart)) << "Charts.Add on every run of the named macro: it will fail";
  EXPECT_TRUE(chart[0].Text().contains(QStringLiteral("the macro will fail here")));
  EXPECT_TRUE(chart[0].Text().contains(QStringLiteral("Shapes.AddChart2(201, xlColumnClustered)")));

  const auto handled = Check(path, {QStringLiteral("ChartIfAny")});
  ASSERT_EQ(handled.size(), 1u);
  EXPECT_EQ(handled[0].line, 20);
  EXPECT_FALSE(excel::AnyCannotRun(handled)) << "the macro's own error handler may go on past it";

  // The office runs a chart object it cannot be given to draw as Excel
  // does, with another result: told, and the run goes on.
  const auto hand = Check(path, {QStringLiteral("HandCharts")});
  ASSERT_EQ(hand.size(), 4u) << excel::FindingsText(hand).toStdString();
  EXPECT_EQ(hand[0].line, 25) << "the one followed by its data is drawn by Tabulon";
  EXPECT_FALSE(excel::AnyCannotRun(hand));
  EXPECT_TRUE(hand[0].Text().contains(QStringLiteral("which the office does otherwise than Excel. Its columns")))
      << hand[0].Text().toStdString();
  EXPECT_EQ(hand[1].line, 29);
  EXPECT_TRUE(hand[1].Text().contains(QStringLiteral("If Err.Number <> 0"))) << hand[1].Text().toStdString();
  EXPECT_EQ(hand[2].line, 30) << "the footer with codes alone is written as Excel's";
  EXPECT_EQ(hand[3].line, 32) << "a corner that may be an address; one Set to a range is translated";
  EXPECT_FALSE(excel::AnyCannotRun(hand));
}

TEST(MacroCheck, ACleanTemplateHasNoFindingsAndAMissingMacroCannotRun) {
  OutputFolder out;
  const QString path = MakeTemplate(out, QStringLiteral("clean.xls"), {{QStringLiteral("Formatting"), kClean}});
  EXPECT_TRUE(Check(path, {QStringLiteral("FormatBlock"), QStringLiteral("Formatting.FormatBlock")}).empty());
  const auto missing = Check(path, {QStringLiteral("FormatBlock"), QStringLiteral("AddTotals")});
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_EQ(missing[0].Text(), QStringLiteral("The macro 'AddTotals' does not exist in the template."));
  EXPECT_TRUE(missing[0].CannotRun());
  EXPECT_EQ(Check(path, {QStringLiteral("Totals.FormatBlock")}).size(), 1u) << "not in that module";
}
