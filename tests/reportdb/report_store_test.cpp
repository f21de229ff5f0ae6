// The report store on a copy of the sample database, with the program's
// handle and the store's own one on the same file, as the windows use them.
#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QListWidget>
#include <QTemporaryDir>

#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "platform/ui/scripted_dialogs.h"
#include "reportdb/report_store.h"

namespace {

using reportdb::Key;

class ReportStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(temp_.isValid());
    path_ = temp_.filePath(QStringLiteral("survey.mdb"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), path_));
    QFile(path_).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    program_ = dao::DBEngine::Workspaces(0).OpenDatabase(path_);
    platform::setDialogs(&script_);
    reportdb::StoreServices services;
    services.programDatabase = [this] { return program_.get(); };
    services.reportError = [this](const QString& message, const platform::AppError&) { failures_ << message; };
    store_ = std::make_unique<reportdb::ReportStore>(services);
    ASSERT_TRUE(store_->OpenOwnDatabase(path_));
  }
  void TearDown() override {
    platform::setDialogs(nullptr);
    EXPECT_EQ(script_.PendingAnswers(), 0);
  }

  QStringList Rows(const QString& sql) const {
    QStringList rows;
    auto records = program_->OpenRecordset(sql);
    for (; !records->IsEOF(); records->MoveNext()) {
      QStringList fields;
      for (int i = 0; i < records->FieldCount(); ++i) fields << records->Value(i).toString();
      rows << fields.join(QLatin1Char('|'));
    }
    return rows;
  }

  platform::ScriptedDialogs script_;
  std::shared_ptr<dao::Database> program_;
  std::unique_ptr<reportdb::ReportStore> store_;
  QStringList failures_;

 private:
  QTemporaryDir temp_;
  QString path_;
};

TEST_F(ReportStoreTest, ANewReportsNameIsCheckedThroughTheOtherHandleWithoutRegardToCase) {
  const Key first = store_->AddNewReport(QStringLiteral(" Monthly "), QDate(2026, 11, 2), QStringLiteral("ana"),
                                         QStringLiteral("by month"));
  EXPECT_GT(first, 4);
  EXPECT_EQ(Rows(QStringLiteral("SELECT Abbreviation FROM tblExportableResults WHERE OutputID = %1").arg(first)),
            QStringList{QStringLiteral(" Monthly ")});
  script_.AnswerMessageBox(platform::vbOK);
  EXPECT_EQ(store_->AddNewReport(QStringLiteral("WEEKLY CATCH"), QDate(2026, 11, 2), QString(), QString()),
            reportdb::kReportNameTaken);
  ASSERT_EQ(script_.MessageBoxes().size(), 1);
  EXPECT_EQ(script_.MessageBoxes()[0].title, QStringLiteral("Duplication error"));
  EXPECT_EQ(script_.MessageBoxes()[0].prompt,
            QStringLiteral("A report named: 'WEEKLY CATCH' already exists.  Report not added.\r\nPlease try again "
                           "using a different name."));
  EXPECT_EQ(Rows(QStringLiteral("SELECT OutputID FROM tblExportableResults")).size(), 5);
}

TEST_F(ReportStoreTest, LinkRowsGoInTheGivenOrderAndAnEmptyKeyListIsReportedNotFatal) {
  ASSERT_TRUE(store_->DeleteReportUserQueries(2));
  ASSERT_TRUE(store_->AddReportUserQueries(2, {9, 3, 5}));
  // In the table's own order, as the rows were written.
  QStringList written;
  auto table = program_->OpenRecordset(QStringLiteral("tblExportableResults_UserQueries"), dao::dbOpenTable);
  for (; !table->IsEOF(); table->MoveNext()) {
    if (table->Value(0).toInt() == 2) written << table->Value(1).toString();
  }
  EXPECT_EQ(written, (QStringList{QStringLiteral("9"), QStringLiteral("3"), QStringLiteral("5")}));

  EXPECT_EQ(store_->AvailableReportQueries({}), nullptr);
  EXPECT_EQ(store_->SelectedReportQueries({}), nullptr);
  ASSERT_EQ(failures_.size(), 2);
  EXPECT_TRUE(failures_[0].endsWith(QStringLiteral("\r\n\r\nContact the system provider if this problem persists.")));
  auto available = store_->AvailableReportQueries({1, 2, 3});
  ASSERT_NE(available, nullptr);
  EXPECT_EQ(available->RecordCount(), 6);
}

TEST_F(ReportStoreTest, RemovingAUserQueryTakesItOutOfEveryReportInOneGo) {
  ASSERT_TRUE(store_->DeleteUserQuery(3));
  EXPECT_TRUE(Rows(QStringLiteral("SELECT QueryID FROM tblUserQueries WHERE QueryID = 3")).isEmpty());
  EXPECT_TRUE(Rows(QStringLiteral("SELECT OutputID FROM tblExportableResults_UserQueries WHERE QueryID = 3")).isEmpty());
  EXPECT_EQ(Rows(QStringLiteral("SELECT QueryID FROM tblExportableResults_UserQueries WHERE OutputID = 2")),
            QStringList{QStringLiteral("4")});
  EXPECT_TRUE(failures_.isEmpty());
}

TEST_F(ReportStoreTest, ListsFindTheirItemByTrimmedTextOrByKey) {
  QListWidget list;
  store_->InitReportList(list, QStringLiteral("  site SUMMARY "));
  ASSERT_EQ(list.count(), 4);
  EXPECT_EQ(list.currentItem()->text(), QStringLiteral("Site summary"));
  EXPECT_EQ(list.currentItem()->data(Qt::UserRole).toInt(), 2);
  QComboBox combo;
  store_->InitReportList(combo, 4);
  EXPECT_EQ(combo.currentText(), QStringLiteral("Estimates"));
  EXPECT_EQ(reportdb::FindListItem(combo, QStringLiteral("nothing")), -1);
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
