// The macro check as a user meets it without a window: `tabulon
// --check-macros` and the check before `tabulon --run`, as processes in a
// bare environment, on a copy of the sample database whose "Effort" report
// is pointed at templates built here with the office.
#include <gtest/gtest.h>

#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include "batch_job.h"
#include "platform/dao/dao.h"
#include "macro_template.h"
#include "platform/excel/application.h"

namespace {

using Result = BatchResult;

const QString kFormatting = QStringLiteral(
    "Sub FormatBlock()\n"
    "  Range(\"A4:E4\").Font.Bold = True\n"
    "End Sub\n");
const QString kApi = QStringLiteral(
    "#If VBA7 Then\n"
    "Private Declare PtrSafe Function GetTickCount Lib \"kernel32\" () As Long\n"
    "#End If\n");
const QString kCharts = QStringLiteral(
    "Sub SavePdf()\n"
    "  If Year(Date) < 2000 Then ActiveSheet.ExportAsFixedFormat Type:=0, Filename:=\"x.pdf\"\n"
    "End Sub\n"
    "Sub NewChart()\n"
    "  Charts.Add\n"
    "End Sub\n"
    "Sub FindTotals()\n"
    "  On Error Resume Next\n"
    "  If Worksheets(\"Totals\").Index > 0 And Err.Number = 9 Then Range(\"D1\").Value = 0\n"
    "End Sub\n");

class MacroCheckCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(temp_.isValid());
    database_ = temp_.filePath(QStringLiteral("survey.mdb"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), database_));
    QFile(database_).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  }

  QString Template(const QString& name, const MacroModules& modules) const {
    const QString path = temp_.filePath(name);
    MakeMacroTemplate(*excel::Application::Create(), path, modules);
    return path;
  }

  // "Effort" makes its workbook from `path`, its first query (5) running
  // `macros`; its second (6) goes to the same sheet.
  void PointEffortAt(const QString& path, const QString& macros) const {
    const auto database = dao::DBEngine::Workspaces(0).OpenDatabase(database_);
    database->Execute(QStringLiteral("UPDATE tblUserQueries SET ExcelSheetName = 'Data' WHERE QueryID = 6"));
    database->Execute(
        QStringLiteral("UPDATE tblUserQueries SET ExcelTemplate = '%1', ExcelSheetName = 'Data', ExcelMacros = '%2' WHERE QueryID = 5")
            .arg(path, macros));
  }

  Result Tabulon(const QStringList& arguments) const {
    return RunBatchJob(QStringLiteral(TABULON_PROGRAM), arguments + QStringList{QStringLiteral("--database"), database_},
                       temp_.filePath(QStringLiteral("home")), temp_.path());
  }
  Result CheckEffort() const { return Tabulon({QStringLiteral("--check-macros"), QStringLiteral("Effort")}); }
  Result RunEffort() const {
    return Tabulon({QStringLiteral("--run"), QStringLiteral("Effort"), QStringLiteral("--output"), Output()});
  }
  QString Output() const { return temp_.filePath(QStringLiteral("effort.xls")); }

 private:
  QTemporaryDir temp_;
  QString database_;
};

}  // namespace

TEST_F(MacroCheckCommandTest, CheckMacrosPrintsWhatWillNotRunAndExitsSixOnlyWhenAMacroCannotRun) {
  const QString clean = Template(QStringLiteral("clean.xls"), {{QStringLiteral("Formatting"), kFormatting}});
  PointEffortAt(clean, QStringLiteral("FormatBlock"));
  Result checked = CheckEffort();
  EXPECT_EQ(checked.status, 0);
  EXPECT_EQ(checked.out, QStringLiteral("1 macro in 1 report checked: all can run.\n"));
  EXPECT_EQ(checked.err, QString());

  PointEffortAt(clean, QStringLiteral("FormatBlock/AddTotals"));
  checked = CheckEffort();
  EXPECT_EQ(checked.status, 6);
  EXPECT_EQ(checked.out, QStringLiteral("Effort: The macro 'AddTotals' does not exist in the template.\n"
                                        "2 macros in 1 report checked: 1 cannot run, 0 other findings.\n"));

  const QString broken = Template(QStringLiteral("broken.xls"), {{QStringLiteral("Formatting"), kFormatting},
                                                                 {QStringLiteral("Api"), kApi}});
  PointEffortAt(broken, QStringLiteral("FormatBlock"));
  checked = CheckEffort();
  EXPECT_EQ(checked.status, 6);
  EXPECT_TRUE(checked.out.startsWith(QStringLiteral(
      "Effort: The module Api does not compile, at line 2: \u201CPrivate Declare PtrSafe Function GetTickCount")))
      << checked.out.toStdString();

  const QString charts = Template(QStringLiteral("charts.xls"), {{QStringLiteral("ChartMacros"), kCharts}});
  PointEffortAt(charts, QStringLiteral("SavePdf"));
  checked = CheckEffort();
  EXPECT_EQ(checked.status, 0) << "a call that may not be reached is told, not refused: " << checked.out.toStdString();
  EXPECT_TRUE(checked.out.startsWith(QStringLiteral("Effort: Macro 'SavePdf', module ChartMacros, line 2: ")))
      << checked.out.toStdString();
  EXPECT_TRUE(checked.out.endsWith(QStringLiteral("checked: 0 cannot run, 1 other finding.\n")));

  // Every report, when none is named: the sample's own are clean.
  EXPECT_EQ(Tabulon({QStringLiteral("--check-macros")}).status, 0);
  EXPECT_EQ(Tabulon({QStringLiteral("--check-macros"), QStringLiteral("Nothing such")}).status, 3);
}

TEST_F(MacroCheckCommandTest, ARunRefusesWhatCannotRunBeforePlacingARecordAndTellsTheRest) {
  const QString broken = Template(QStringLiteral("broken.xls"), {{QStringLiteral("Formatting"), kFormatting},
                                                                 {QStringLiteral("Api"), kApi}});
  PointEffortAt(broken, QStringLiteral("FormatBlock"));
  Result run = RunEffort();
  EXPECT_EQ(run.status, 6);
  EXPECT_TRUE(run.err.startsWith(QStringLiteral("tabulon: Excel Exporter: Cannot execute a macro in the Excel file.")))
      << run.err.toStdString();
  EXPECT_TRUE(run.err.contains(QStringLiteral("The module Api does not compile, at line 2"))) << run.err.toStdString();
  EXPECT_FALSE(QFileInfo::exists(Output()));

  const QString charts = Template(QStringLiteral("charts.xls"), {{QStringLiteral("ChartMacros"), kCharts}});
  PointEffortAt(charts, QStringLiteral("NewChart"));
  run = RunEffort();
  EXPECT_EQ(run.status, 6) << "Charts.Add is made on every run of NewChart";
  EXPECT_TRUE(run.err.contains(QStringLiteral("Macro 'NewChart', module ChartMacros, line 5: \u201CCharts.Add\u201D")))
      << run.err.toStdString();

  PointEffortAt(charts, QStringLiteral("SavePdf"));
  run = RunEffort();
  EXPECT_EQ(run.status, 0) << run.err.toStdString();
  EXPECT_TRUE(run.err.startsWith(QStringLiteral("tabulon: Excel Exporter: The report's macros make calls the office "
                                                "does not support; they may fail:")))
      << run.err.toStdString();
  EXPECT_TRUE(run.err.contains(QStringLiteral("ExportAsFixedFormat")));
  EXPECT_TRUE(QFileInfo::exists(Output()));

  PointEffortAt(charts, QStringLiteral("FindTotals"));
  ASSERT_TRUE(QFile::remove(Output()));
  run = RunEffort();
  EXPECT_EQ(run.status, 0) << run.err.toStdString();
  EXPECT_TRUE(run.err.startsWith(QStringLiteral("tabulon: Excel Exporter: The report's macros make calls the office "
                                                "runs otherwise than Excel; check what they give:")))
      << run.err.toStdString();
  EXPECT_TRUE(run.err.contains(QStringLiteral("which the office does otherwise than Excel")));
}
