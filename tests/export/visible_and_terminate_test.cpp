#include <QDir>
#include <QFile>

#include "export/excel_slots.h"
#include "exporter_fixture.h"
#include "platform/dao/recordset.h"
#include "xls_reader.h"

namespace {

bool LockFileBeside(const QString& file) {
  const QFileInfo info(file);
  return QFile::exists(info.dir().filePath(".~lock." + info.fileName() + "#"));
}

dao::Recordset OneRow(const QString& text) {
  return dao::Recordset({{"Text", jet::ColumnType::kText, {}}}, {{text}});
}

}  // namespace

TEST_F(ExporterTest, ExcelVisibleShowsTheSavedFileAfterACompleteRun) {
  const QString file = out_.File("done.xls");
  ASSERT_TRUE(exporter_.CreateExcelFile(file, QString(), true));
  auto records = OneRow(QStringLiteral("saved"));
  exporter_.DoExport(records, 1, 1, QStringLiteral("Sheet2"));
  gExcelApp->SetDisplayAlerts(false);
  gExcelWorkbook->Save();
  exporter_.ExcelVisible(1);
  EXPECT_EQ(opened_, QStringList{file});
  EXPECT_FALSE(LockFileBeside(file)) << "the office let go of the file";
  EXPECT_TRUE(gExcelApp->Visible());
  EXPECT_EQ(ReadXls(file).Sheet("Sheet2").Text(2, 1), "saved");
}

TEST_F(ExporterTest, ExcelVisibleAfterAStoppedRunShowsACopyAndLeavesTheOutputAsItWas) {
  const QString file = out_.File("stopped.xls");
  ASSERT_TRUE(exporter_.CreateExcelFile(file, QString(), true));
  auto records = OneRow(QStringLiteral("unsaved"));
  exporter_.DoExport(records, 1, 1, QString());
  exporter_.ExcelVisible(1);
  ASSERT_EQ(opened_.size(), 1);
  EXPECT_NE(opened_[0], file);
  EXPECT_EQ(ReadXls(opened_[0]).Sheet("Sheet1").Text(2, 1), "unsaved") << "the copy shows the current state";
  EXPECT_EQ(ReadXls(file).Sheet("Sheet1").cells.size(), 0) << "the output file stays as the run left it";
  EXPECT_FALSE(LockFileBeside(file));
  QFile::remove(opened_[0]);

  // Nothing to show (a run whose file dialog was cancelled): no failure either.
  gExcelWorkbook.reset();
  exporter_.ExcelVisible(1);
  gExcelApp.reset();
  exporter_.ExcelVisible(1);
  exporter_.TerminateExcelProcess();
  EXPECT_EQ(opened_.size(), 1);
}

TEST_F(ExporterTest, TerminateExcelProcessSavesClosesAndEmptiesTheSlots) {
  const QString file = out_.File("cancelled.xls");
  ASSERT_TRUE(exporter_.CreateExcelFile(file, QString(), true));
  auto records = OneRow(QStringLiteral("kept"));
  exporter_.DoExport(records, 2, 2, QString());
  const long office = gExcelApp->OfficePid();
  exporter_.TerminateExcelProcess();
  EXPECT_FALSE(gExcelApp);
  EXPECT_FALSE(gExcelAppInUse);
  EXPECT_FALSE(gExcelWorkbook);
  EXPECT_FALSE(gExcelWorksheet);
  EXPECT_FALSE(LockFileBeside(file));
  EXPECT_EQ(ReadXls(file).Sheet("Sheet1").Text(3, 2), "kept");
  EXPECT_TRUE(opened_.isEmpty());
  // The office stays for the next run.
  EXPECT_TRUE(exporter_.CreateExcelFile(out_.File("next.xls"), QString(), gNewExcelInstance));
  EXPECT_EQ(gExcelApp->OfficePid(), office);
}
