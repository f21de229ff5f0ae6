#include <QFile>

#include "export/excel_slots.h"
#include "exporter_fixture.h"
#include "xls_reader.h"

namespace {

QByteArray Contents(const QString& path) {
  QFile file(path);
  file.open(QIODevice::ReadOnly);
  return file.readAll();
}

}  // namespace

TEST_F(ExporterTest, CreateExcelFileSavesAtOnceAndReusesTheApplication) {
  const auto empty = ErrorOf([&] { exporter_.CreateExcelFile(QString(), QString(), true); });
  EXPECT_EQ(empty.Number(), platform::kObjectErrorBase + 513);
  EXPECT_EQ(empty.Description(), "Zero lengthed file name passed.");
  EXPECT_EQ(empty.Source(), "CExcelExporter::CreateExcelFile");

  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("first.xls"), QString(), gNewExcelInstance));
  EXPECT_FALSE(gNewExcelInstance);
  EXPECT_EQ(gExcelAppInUse, gExcelApp);
  EXPECT_EQ(ReadXls(out_.File("first.xls")).SheetNames(), QStringList({"Sheet1", "Sheet2", "Sheet3"}))
      << "on disk before any data";
  const long office = gExcelApp->OfficePid();
  const auto first_app = gExcelApp;

  gExcelAppInUse.reset();  // as the run does at its end
  // A path that does not end in .xls gives a blank workbook, not an error.
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("second.xls"), QStringLiteral("C:\\Templates\\Sales.xlt"), false));
  EXPECT_EQ(gExcelApp, first_app) << "the application is reused";
  EXPECT_EQ(gExcelApp->OfficePid(), office);
  EXPECT_EQ(ReadXls(out_.File("second.xls")).SheetNames().size(), 3);

  // Released by a cancelled run: the next file gets a new application, not a failure.
  exporter_.TerminateExcelProcess();
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("third.xls"), QString(), false));
  ASSERT_TRUE(gExcelApp);
  EXPECT_TRUE(gExcelApp->IsAlive());
}

TEST_F(ExporterTest, CreateExcelFileAsksBeforeReplacingAFile) {
  const QString file = out_.File("Report.xls");
  {
    QFile existing(file);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("keep me");
  }
  dialogs_.AnswerMessageBox(platform::vbNo);
  EXPECT_FALSE(exporter_.CreateExcelFile(file, QString(), true));
  ASSERT_EQ(dialogs_.MessageBoxes().size(), 2);
  EXPECT_EQ(dialogs_.MessageBoxes()[0].prompt,
            "A file named '" + file + "' already exists for the given path. Do you want to replace it?");
  EXPECT_EQ(dialogs_.MessageBoxes()[0].style, platform::vbYesNo + platform::vbExclamation);
  EXPECT_EQ(dialogs_.MessageBoxes()[0].title, "Tabulon");
  EXPECT_EQ(dialogs_.MessageBoxes()[1].prompt, "Output request cancelled.  Try again using a different name.");
  EXPECT_EQ(dialogs_.MessageBoxes()[1].style, platform::vbInformation);
  EXPECT_EQ(Contents(file), "keep me");
  EXPECT_FALSE(gExcelWorkbook);

  dialogs_.AnswerMessageBox(platform::vbYes);
  EXPECT_TRUE(exporter_.CreateExcelFile(file, QString(), true));
  EXPECT_EQ(dialogs_.MessageBoxes().size(), 3);
  EXPECT_EQ(ReadXls(file).SheetNames().size(), 3) << "replaced by the new workbook";
}

TEST_F(ExporterTest, CreateExcelFileReportsTemplateAndTargetProblemsAs514) {
  const auto missing = ErrorOf(
      [&] { exporter_.CreateExcelFile(out_.File("a.xls"), QStringLiteral("C:\\Templates\\Gone.XLS"), true); });
  EXPECT_EQ(missing.Number(), platform::kObjectErrorBase + 514);
  EXPECT_EQ(missing.Source(), "CExcelExporter::CreateExcelFile");

  QFile text(out_.File("notes.xls"));
  ASSERT_TRUE(text.open(QIODevice::WriteOnly));
  text.write("this is no workbook\n");
  text.close();
  EXPECT_EQ(ErrorOf([&] { exporter_.CreateExcelFile(out_.File("b.xls"), text.fileName(), false); }).Number(),
            platform::kObjectErrorBase + 514);

  EXPECT_EQ(ErrorOf([&] { exporter_.CreateExcelFile(out_.File("missing/c.xls"), QString(), false); }).Number(),
            platform::kObjectErrorBase + 514);
}

TEST_F(ExporterTest, StoredWindowsTemplatePathsAreFoundThroughTheFolderMapping) {
  gTemplateSearch.mappings = {{"C:\\Fisheries\\Templates", TABULON_FIXTURES "/excel"}};
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("mapped.xls"), QStringLiteral("c:\\FISHERIES\\templates\\WMACRO.XLS"),
                                        true));
  EXPECT_EQ(ReadXls(out_.File("mapped.xls")).SheetNames(), QStringList({"Feuil1", "Feuil2", "Feuil3"}));
}
