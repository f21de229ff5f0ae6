// The report editor when the report tables themselves live on a PostgreSQL
// server, linked into the sample survey: a new report typed in and saved,
// an existing one described, another deleted, each change seen on the
// server and none in the file's own tables.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>

#include "editor_fixture.h"
#include "editors/bas_output_report.h"
#include "editors/frm_output_report.h"
#include "platform/dao/dao.h"
#include "postgres_server.h"

namespace {

using basOutputReport::frmOutputReport_OnShow;

class ServerReportTablesTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    ASSERT_TRUE(server_.Start()) << server_.error();
    const QString copy = TempPath(QStringLiteral("survey.mdb"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), copy));
    QFile(copy).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    QProcess upsize;
    upsize.start(QStringLiteral(TABULON_JETDUMP),
                 {copy, QStringLiteral("--upsize"), QString::fromStdString(server_.odbc_connect()),
                  QStringLiteral("tblExportableResults"), QStringLiteral("tblUserQueries"),
                  QStringLiteral("tblExportableResults_UserQueries")});
    ASSERT_TRUE(upsize.waitForFinished(120000));
    ASSERT_EQ(upsize.exitCode(), 0) << upsize.readAllStandardError().toStdString();
    dao::DBEngine::SetOdbcMappings({*jet::ParseOdbcMapping("{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=" +
                                                           server_.password())});
    OpenDatabase(copy);
  }
  void TearDown() override {
    EditorTest::TearDown();
    dao::DBEngine::SetOdbcMappings({});
  }

  std::string ServerSql(const std::string& sql) const {
    std::string out;
    server_.RunSql(sql, &out);
    return out;
  }

  testing_support::PostgresServer server_;
};

TEST_F(ServerReportTablesTest, TheReportEditorSavesDescribesAndDeletesOnTheServer) {
  const QStringList localBefore = ExportedRows(QStringLiteral("tblExportableResults_local"));
  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    QTest::keyClick(form.txtDescription, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(form.txtDescription, QStringLiteral("Landings by port"));
    QTest::keyClick(form.txtNewReportName, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(form.txtNewReportName, QStringLiteral("Landings"));
    ASSERT_TRUE(form.cmdOK->isEnabled());
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    // The number the server gave the new report, after the file's four.
    EXPECT_EQ(form.lblOutputID->text(), QStringLiteral("5"));
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Landings"));
  });
  frmOutputReport_OnShow(basOutputReport::kNewReport);

  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    QTest::keyClick(form.txtDescription, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(form.txtDescription, QStringLiteral("Weekly catch, described again"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  frmOutputReport_OnShow(1);

  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    script.AnswerMessageBox(platform::vbYes);
    QTest::mouseClick(form.cmdDelete, Qt::LeftButton);
    EXPECT_EQ(form.cboScenName->findText(QStringLiteral("Landings")), -1);
  });
  frmOutputReport_OnShow(5);

  EXPECT_TRUE(storeErrors.isEmpty()) << storeErrors.join('|').toStdString();
  EXPECT_EQ(ServerSql("SELECT string_agg(\"OutputID\" || ':' || coalesce(\"Description\", ''), '|' ORDER BY "
                      "\"OutputID\") FROM \"tblExportableResults\" WHERE \"OutputID\" IN (1, 5)"),
            "1:Weekly catch, described again\n");
  EXPECT_EQ(ExportedRows(QStringLiteral("tblExportableResults_local")), localBefore);
  EXPECT_EQ(EngineRows(QStringLiteral("SELECT Description FROM tblExportableResults WHERE OutputID = 1")),
            QStringList{QStringLiteral("Weekly catch, described again")});
}

}  // namespace
