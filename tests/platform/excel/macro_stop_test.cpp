// Macros that fail, or try to take the office or the workbook away, in real
// templates loaded as a run loads them: the error names the macro, its
// module, the line and the call, and the office and the workbook stay.
#include <QFile>
#include <QThread>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

#include "macro_template.h"
#include "office_test_support.h"
#include "platform/excel/application.h"
#include "platform/excel/excel_errors.h"
#include "xls_reader.h"

namespace {

QString RunError(excel::Application& app, const QString& macro) { return MacroRunError(app, macro); }

QByteArray Bytes(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class MacroStopTest : public ::testing::Test {
 protected:
  QString MakeTemplate(const MacroModules& modules) {
    const QString path = out.File(QStringLiteral("Stops.xls"));
    MakeMacroTemplate(*app, path, modules);
    return path;
  }

  OutputFolder out;
  std::shared_ptr<excel::Application> app = excel::Application::Create();
};

}  // namespace

TEST_F(MacroStopTest, AFailingMacroIsNamedWithTheModuleTheLineAsTheEditorCountsItAndTheOfficesText) {
  MacroModules modules = FailingReportModule();
  modules[0].second += QStringLiteral("Sub CallsHelper()\n"
                                      "  Helper\n"
                                      "End Sub\n"
                                      "Sub Tolerant()\n"
                                      "  Dim y\n"
                                      "  On Error Resume Next\n"
                                      "  Range(\"A1\").NoSuchMember = 2\n"
                                      "  Range(\"B1\").Value = 7\n"
                                      "  y = 0: y = 1 / y\n"
                                      "  Range(\"B2\").Value = Err.Number\n"
                                      "End Sub\n"
                                      "Function Handled() As Long\n"
                                      "  On Error GoTo Failed\n"
                                      "  Range(\"A1\").NoSuchMember = 2\n"
                                      "Failed:\n"
                                      "  Range(\"C1\").Value = 8\n"
                                      "End Function\n");
  modules.append({QStringLiteral("Helpers"), QStringLiteral("Function Helper() As Long\n"
                                                            "  Helper = 1\n"
                                                            "  Err.Raise 5, , \"Helper failed\"\n"
                                                            "End Function\n")});
  const QString path = MakeTemplate(modules);
  auto book = app->Workbooks().Add(path);
  EXPECT_EQ(RunError(*app, QStringLiteral("Fails")), QLatin1String(kFailingReportStop));
  EXPECT_EQ(RunError(*app, QStringLiteral("CallsHelper")),
            QStringLiteral("The macro 'CallsHelper' (module Report) stopped in Helper (module Helpers) at line 3: "
                           "Helper failed (error 5)"));
  // An error the macro handles itself is no stop, and leaves nothing behind.
  EXPECT_EQ(RunError(*app, QStringLiteral("Tolerant")), QString());
  EXPECT_EQ(book.Worksheets().Item(1).Cells(1, 2).Value(), QVariant(7.0));
  EXPECT_EQ(book.Worksheets().Item(1).Cells(2, 2).Value(), QVariant(11.0)) << "Err tells what failed, as in Excel";
  EXPECT_EQ(RunError(*app, QStringLiteral("Handled")), QString()) << "a handler of its own that runs on to the end";
  EXPECT_EQ(book.Worksheets().Item(1).Cells(1, 3).Value(), QVariant(8.0));
  book.Close();
}

TEST_F(MacroStopTest, NoMacroEndsTheOfficeClosesTheWorkbookOrWritesAnotherFile) {
  const QString elsewhere = out.File(QStringLiteral("elsewhere.xls"));
  const QString copy = out.File(QStringLiteral("copy.xls"));
  const QString path = MakeTemplate({{QStringLiteral("Ends"), QStringLiteral("Sub Quits()\n"
                                                                             "  Range(\"B1\").Value = \"before\"\n"
                                                                             "  Application.Quit\n"
                                                                             "  Range(\"B1\").Value = \"after\"\n"
                                                                             "End Sub\n"
                                                                             "Sub Closes()\n"
                                                                             "  ThisWorkbook.Close SaveChanges:=False\n"
                                                                             "End Sub\n"
                                                                             "Sub ClosesWith()\n"
                                                                             "  On Error Resume Next\n"
                                                                             "  With ActiveWorkbook\n"
                                                                             "    .Close\n"
                                                                             "  End With\n"
                                                                             "End Sub\n"
                                                                             "Sub Saves()\n"
                                                                             "  ThisWorkbook.Save\n"
                                                                             "End Sub\n"
                                                                             "Sub SavesAs()\n"
                                                                             "  ActiveWorkbook.SaveAs Filename:=\"%1\"\n"
                                                                             "End Sub\n"
                                                                             "Sub SavesCopy()\n"
                                                                             "  Call ThisWorkbook.SaveCopyAs(\"%2\")\n"
                                                                             "End Sub\n"
                                                                             "Sub ClosesHeld()\n"
                                                                             "  Dim book As Object\n"
                                                                             "  Set book = ThisWorkbook\n"
                                                                             "  book.Close False\n"
                                                                             "End Sub\n"
                                                                             "Sub Benign()\n"
                                                                             "  Range(\"C1\").Value = 1\n"
                                                                             "End Sub\n"
                                                                             "Sub QuitsHeld()\n"
                                                                             "  Dim office As Object\n"
                                                                             "  Set office = Application\n"
                                                                             "  office.Quit\n"
                                                                             "End Sub\n")
                                                                  .arg(elsewhere, copy)}});
  const QByteArray template_bytes = Bytes(path);
  auto book = app->Workbooks().Add(path);
  const QString output = out.File(QStringLiteral("output.xls"));
  book.SaveAs(output);
  struct Stop {
    const char* macro;
    const char* told;
    bool office_retired;  // the office serves no later run
  };
  const Stop stops[] = {
      {"Quits", "stopped at line 3: The macro cannot end the office: Application.Quit (error 1004)", false},
      {"Closes", "stopped at line 7: The macro cannot close the workbook: ThisWorkbook.Close (error 1004)", false},
      {"ClosesWith", "stopped at line 12: The macro cannot close the workbook: ActiveWorkbook.Close (error 1004)", false},
      {"Saves", "stopped at line 16: The macro cannot save the workbook: ThisWorkbook.Save (error 1004)", false},
      {"SavesAs", "stopped at line 19: The macro cannot save the workbook: ActiveWorkbook.SaveAs (error 1004)", false},
      {"SavesCopy", "stopped at line 22: The macro cannot save the workbook: ThisWorkbook.SaveCopyAs (error 1004)", false},
      // Ways the source does not show are refused by the office itself.
      {"ClosesHeld", "tried to close the workbook; it stays open for the run.", true},
      {"QuitsHeld", "tried to end the office; it keeps running for the run.", true},
  };
  for (const auto& [macro, call, office_retired] : stops) {
    const QString error = RunError(*app, QString::fromLatin1(macro));
    EXPECT_TRUE(error.startsWith(QStringLiteral("The macro '%1' (module Ends) ").arg(QLatin1String(macro))))
        << error.toStdString();
    EXPECT_TRUE(error.endsWith(QLatin1String(call))) << error.toStdString();
    EXPECT_EQ(app->IsAlive(), !office_retired) << macro;
    ASSERT_TRUE(book.IsOpen()) << macro;
    ASSERT_EQ(book.Worksheets().Item(1).Name(), QStringLiteral("Data")) << "the office answers after " << macro;
  }
  // A refused close or end leaves the office unfit for macros: the next run gets a new one.
  auto next = excel::Application::Create();
  EXPECT_NE(next->OfficePid(), app->OfficePid());
  auto fresh = next->Workbooks().Add(path);
  EXPECT_EQ(RunError(*next, QStringLiteral("Benign")), QString());
  fresh.Close();
  EXPECT_FALSE(QFile::exists(elsewhere));
  EXPECT_FALSE(QFile::exists(copy));
  EXPECT_EQ(Bytes(path), template_bytes);
  book.Save();
  book.Close();
  EXPECT_EQ(ReadXls(output).Sheet(QStringLiteral("Data")).Text(1, 2), QStringLiteral("before"));
}

TEST_F(MacroStopTest, AnOfficeThatDiesDuringAMacroIsToldAndTheNextRunGetsANewOne) {
  const QString path = MakeTemplate({{QStringLiteral("Loops"), QStringLiteral("Sub Spins()\n"
                                                                              "  Do\n"
                                                                              "    DoEvents\n"
                                                                              "  Loop\n"
                                                                              "End Sub\n"
                                                                              "Sub Marks()\n"
                                                                              "  Range(\"A1\").Value = \"ran\"\n"
                                                                              "End Sub\n")}});
  auto book = app->Workbooks().Add(path);
  const pid_t office = static_cast<pid_t>(app->OfficePid());
  std::thread killer([office] {
    std::this_thread::sleep_for(std::chrono::seconds(2));
    ::kill(office, SIGKILL);
  });
  QString error;
  try {
    app->Run(QStringLiteral("Spins"));
  } catch (const platform::AppError& e) {
    EXPECT_EQ(e.Number(), excel::kRemoteCallFailed) << "the number Excel gives when it is gone";
    error = e.Description();
  }
  killer.join();
  EXPECT_EQ(error, QStringLiteral("The macro 'Spins' (module Loops) did not finish: the office ended while it ran. "
                                  "The next run starts a new office."));
  EXPECT_FALSE(app->IsAlive());

  auto next = excel::Application::Create();
  ASSERT_TRUE(next->IsAlive());
  EXPECT_NE(next->OfficePid(), office);
  auto again = next->Workbooks().Add(path);
  EXPECT_EQ(RunError(*next, QStringLiteral("Marks")), QString());
  EXPECT_EQ(again.Worksheets().Item(1).Cells(1, 1).Value(), QVariant(QStringLiteral("ran")));
  again.Close();
}
