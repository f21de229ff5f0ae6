// The table browser over tables moved to a PostgreSQL server: the links
// are listed by the same rule as the file's tables and browse and sort as
// they did, rows coming from the server.
#include <QFile>
#include <QProcess>
#include <QTreeWidgetItem>
#include <algorithm>

#include "app/mglobals.h"
#include "assistant/list_view.h"
#include "assistant/tree_view.h"
#include "assistant_fixture.h"
#include "platform/dao/dao.h"
#include "postgres_server.h"

namespace {

using assistant::frmExportAssistant;

class ServerTablesWindowTest : public AssistantTest {
 protected:
  void SetUp() override {
    AssistantTest::SetUp();
    ASSERT_TRUE(server_.Start()) << server_.error();
    OpenCopyOf(QStringLiteral(TABULON_SAMPLE_DATABASE));
    gDatabase.reset();  // the file is changed by another program first
    QProcess upsize;
    upsize.start(QStringLiteral(TABULON_JETDUMP), {path, QStringLiteral("--upsize"),
                                                   QString::fromStdString(server_.odbc_connect()),
                                                   QStringLiteral("tblInterview"), QStringLiteral("tblTimeBlock")});
    ASSERT_TRUE(upsize.waitForFinished(120000));
    ASSERT_EQ(upsize.exitCode(), 0) << upsize.readAllStandardError().toStdString();
    dao::DBEngine::SetOdbcMappings(
        {*jet::ParseOdbcMapping("{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=" + server_.password())});
    gDatabase = gWorkspace->OpenDatabase(path);
  }
  void TearDown() override {
    AssistantTest::TearDown();
    dao::DBEngine::SetOdbcMappings({});
  }

  testing_support::PostgresServer server_;
};

TEST_F(ServerTablesWindowTest, LinksAreListedBrowsedAndSortedAsTheFilesTablesWere) {
  WithAssistant([&](frmExportAssistant& w) {
    QTreeWidgetItem* folder = w.tvTopLevelTables->FindNode(QStringLiteral("Top Level Tables"));
    ExpandNode(*w.tvTopLevelTables, folder);
    const QStringList tables = ChildTexts(folder);
    for (const char* shown : {"tblInterview", "tblInterview_local", "tblTimeBlock", "tblTimeBlock_local"}) {
      EXPECT_TRUE(tables.contains(QString::fromLatin1(shown))) << shown;
    }
    QTreeWidgetItem* interviews = w.tvTopLevelTables->FindNode(QStringLiteral("tblInterview"));
    ExpandNode(*w.tvTopLevelTables, interviews);
    EXPECT_EQ(ChildTexts(interviews).size(), 18);
    ClickNode(*w.tvTopLevelTables, interviews);
    assistant::ListView& list = *w.lvTopLevelTables;
    EXPECT_EQ(list.Model().ItemCount(), 3000);
    EXPECT_EQ(list.Model().ItemText(0, 1), QStringLiteral("2019-08-07"));
    EXPECT_EQ(list.Model().ItemText(0, 12), QStringLiteral("06:00:00"));
    EXPECT_TRUE(Captions(list).contains(QStringLiteral("Soak Time (hrs)")));
    ClickHeader(list, QStringLiteral("InterviewDate"));
    const QStringList dates = Column(list, 1);
    EXPECT_TRUE(std::is_sorted(dates.begin(), dates.end()));
    EXPECT_NE(dates.front(), dates.back());
    w.grab().save(QStringLiteral("/tmp/assistant-server-tables.png"));
  });
}

}  // namespace
