// A report run whose template macro stops, or takes the office with it, as
// the main window runs it: the one message names the macro, its module, the
// line and the office's text, and the next run has an office again; and
// macros reach the run's workbook through the active sheet.
#include <QFile>
#include <csignal>
#include <thread>

#include "export/excel_slots.h"
#include "export_run_fixture.h"
#include "macro_template.h"
#include "platform/excel/application.h"

namespace {

// "Broken Parameters": its one user query runs "Sales by Year".
constexpr int kSalesByYearReport = 5;
constexpr int kSalesByYearQuery = 7;

const QString kMacroMessage = QStringLiteral(
    "Cannot execute a macro in the Excel file.  Ensure that the Excel Macro exists.  \r\n\r\nAlternatively, the "
    "default settings for the template in the applicaton's database may be incorrect.\r\n\r\n");

class MacroStopRun : public ExportRunTest {
 protected:
  void RunInto(const MacroModules& modules, const QString& macro, const QString& output) {
    const QString path = OutputFile(QStringLiteral("Stops.xls"));
    if (!QFile::exists(path)) MakeMacroTemplate(*excel::Application::Create(), path, modules);
    ChangeUserQuery(kSalesByYearQuery, {{"ExcelTemplate", Text(path)},
                                        {"ExcelSheetName", Text(QStringLiteral("Data"))},
                                        {"ExcelTargetRow", Number(4)},
                                        {"ExcelTargetColumn", Number(1)},
                                        {"ExcelMacros", Text(macro)},
                                        {"DefaultQueryParameters", Text(QStringLiteral("01-Jan-1997/31-Mar-1997"))}});
    script.AnswerFileDialog(OutputFile(output));
    Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);
  }

  // Runs Marks (see WithMarks) after a run that showed one message: no other
  // message, and the macro wrote its cell.
  void ExpectTheNextRunMarks(const MacroModules& modules) {
    RunInto(modules, QStringLiteral("Marks"), QStringLiteral("next.xls"));
    EXPECT_EQ(script.MessageBoxes().size(), 1) << script.MessageBoxes().last().prompt.toStdString();
    EXPECT_EQ(ReadXls(OutputFile(QStringLiteral("next.xls"))).Sheet(QStringLiteral("Data")).Text(1, 1),
              QStringLiteral("ran"));
  }
};

}  // namespace

TEST_F(MacroStopRun, TheMessageNamesTheMacroItsModuleTheLineAndTheOfficesText) {
  RunInto(FailingReportModule(), QStringLiteral("Fails"), QStringLiteral("failed.xls"));
  const auto box = OnlyBox();
  EXPECT_EQ(box.prompt, kMacroMessage + QLatin1String(kFailingReportStop)) << box.prompt.toStdString();
  EXPECT_EQ(box.style, 48);
}

// A module whose Marks writes "ran" in A1 of the Data sheet, beside `module`.
MacroModules WithMarks(const std::pair<QString, QString>& module) {
  return {module, {QStringLiteral("Marking"), QStringLiteral("Sub Marks()\n"
                                                             "  ThisWorkbook.Worksheets(\"Data\").Range(\"A1\").Value = \"ran\"\n"
                                                             "End Sub\n")}};
}

TEST_F(MacroStopRun, AnOfficeKilledDuringTheMacroIsToldAndTheNextRunWorks) {
  const MacroModules modules = WithMarks({QStringLiteral("Loops"), QStringLiteral("Sub Spins()\n"
                                                                                  "  Do\n"
                                                                                  "    DoEvents\n"
                                                                                  "  Loop\n"
                                                                                  "End Sub\n")});
  const long office = excel::Application::Create()->OfficePid();
  std::thread killer([office] {
    std::this_thread::sleep_for(std::chrono::seconds(3));
    ::kill(static_cast<pid_t>(office), SIGKILL);
  });
  RunInto(modules, QStringLiteral("Spins"), QStringLiteral("killed.xls"));
  killer.join();
  EXPECT_EQ(OnlyBox().prompt, kMacroMessage + QStringLiteral("The macro 'Spins' (module Loops) did not finish: the "
                                                             "office ended while it ran. The next run starts a new "
                                                             "office."));

  ExpectTheNextRunMarks(modules);
}

TEST_F(MacroStopRun, AMacroQuittingTheOfficeThroughAVariableIsToldAndTheNextRunHasAFreshOffice) {
  const MacroModules modules = WithMarks({QStringLiteral("Ends"), QStringLiteral("Sub QuitsHeld()\n"
                                                                                 "  Dim office As Object\n"
                                                                                 "  Set office = Application\n"
                                                                                 "  office.Quit\n"
                                                                                 "End Sub\n")});
  const long office = excel::Application::Create()->OfficePid();
  RunInto(modules, QStringLiteral("QuitsHeld"), QStringLiteral("quit.xls"));
  EXPECT_EQ(OnlyBox().prompt, kMacroMessage + QStringLiteral("The macro 'QuitsHeld' (module Ends) tried to end the "
                                                             "office; it keeps running for the run."));
  ExpectTheNextRunMarks(modules);
  EXPECT_NE(gExcelApp->OfficePid(), office);
}

// The macro check before the run uses a scratch document of its own; the
// macros that run after it still find the run's workbook through the
// current sheet, as the recorder writes them.
TEST_F(MacroStopRun, MacrosAfterTheCheckReachTheRunsWorkbookThroughTheActiveSheet) {
  RunInto({{QStringLiteral("Plainly"), QStringLiteral("Sub Plain()\n"
                                                       "  Range(\"A1\").Value = \"plain\"\n"
                                                       "  ActiveSheet.Range(\"B1\").Value = ActiveSheet.Name\n"
                                                       "End Sub\n")}},
          QStringLiteral("Plain"), QStringLiteral("plain.xls"));
  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << script.MessageBoxes().value(0).prompt.toStdString();
  const auto data = ReadXls(OutputFile(QStringLiteral("plain.xls"))).Sheet(QStringLiteral("Data"));
  EXPECT_EQ(data.Text(1, 1), QStringLiteral("plain"));
  EXPECT_EQ(data.Text(1, 2), QStringLiteral("Data"));
}
