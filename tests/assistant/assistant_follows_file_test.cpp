// The Export Assistant while another program changes the same file: on
// activation after a change, and on F5, every pane is read again and keeps
// what the user had expanded, chosen and sorted; a message a pane shows on
// a click is not shown again by reading it again; an activation with
// nothing changed reads nothing.
#include <QApplication>
#include <QTest>
#include <QTreeWidgetItem>
#include <algorithm>

#include "assistant/list_view.h"
#include "assistant/tree_view.h"
#include "assistant_fixture.h"
#include "other_program.h"

namespace {

using assistant::frmExportAssistant;
using assistant::TreeView;

// Set on the nodes a test has seen; nodes listed again come without it.
constexpr int kSeenRole = Qt::UserRole + 50;

class AssistantFollowsFileTest : public AssistantTest {
 protected:
  void SetUp() override {
    AssistantTest::SetUp();
    OpenCopyOf(QStringLiteral(TABULON_SAMPLE_DATABASE));
  }

  // The user goes to another program and comes back to the Assistant.
  static void LeaveAndComeBack(frmExportAssistant& w, const std::function<void()>& meanwhile = {}) {
    QApplication::setActiveWindow(nullptr);
    if (meanwhile) meanwhile();
    QApplication::setActiveWindow(&w);
  }

  // The report "Effort", its query qryAllCounts (which has no template yet)
  // and that query's destination; the reports table in the table browser,
  // sorted by name.
  void ChooseEverywhere(frmExportAssistant& w) {
    ExpandNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Output Report")));
    ClickNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Effort")));
    ClickRow(*w.lvReports, Column(*w.lvReports, 0).indexOf(QStringLiteral("qryAllCounts")));
    ClickNode(*w.tvUserQueries, w.tvUserQueries->FindNode(QStringLiteral("Destination")));
    ExpandNode(*w.tvTopLevelTables, w.tvTopLevelTables->FindNode(QStringLiteral("Top Level Tables")));
    ClickNode(*w.tvTopLevelTables, w.tvTopLevelTables->FindNode(QStringLiteral("tblExportableResults")));
    ClickHeader(*w.lvTopLevelTables, QStringLiteral("Abbreviation"));
  }

  // Everything ChooseEverywhere chose is still chosen, and shown.
  static void ExpectStillChosen(frmExportAssistant& w) {
    EXPECT_TRUE(w.tvReports->FindNode(QStringLiteral("Output Report"))->isExpanded());
    EXPECT_EQ(TreeView::Key(w.tvReports->SelectedItem()), QStringLiteral("Effort"));
    EXPECT_EQ(Column(*w.lvReports, 0),
              (QStringList{QStringLiteral("qryAllCounts"), QStringLiteral("qryEffortByTimeBlock")}));
    EXPECT_EQ(w.lvReports->Model().ItemText(w.lvReports->currentIndex().row(), 0), QStringLiteral("qryAllCounts"));
    ASSERT_NE(w.tvUserQueries->Root(), nullptr);
    EXPECT_EQ(w.tvUserQueries->Root()->text(0), QStringLiteral("qryAllCounts"));
    EXPECT_EQ(TreeView::Key(w.tvUserQueries->SelectedItem()), QStringLiteral("Destination"));
    EXPECT_EQ(Captions(*w.lvUserQueries).size(), 6);
    EXPECT_TRUE(w.tvTopLevelTables->FindNode(QStringLiteral("Top Level Tables"))->isExpanded());
    EXPECT_EQ(TreeView::Key(w.tvTopLevelTables->SelectedItem()), QStringLiteral("tblExportableResults"));
    const QStringList names = Column(*w.lvTopLevelTables, 1);
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end())) << names.join(QLatin1Char(',')).toStdString();
  }

  static void MarkReportsSeen(QTreeWidgetItem* folder) {
    for (int i = 0; i < folder->childCount(); ++i) folder->child(i)->setData(0, kSeenRole, true);
  }
  static bool ReportsSeen(QTreeWidgetItem* folder) {
    for (int i = 0; i < folder->childCount(); ++i) {
      if (!folder->child(i)->data(0, kSeenRole).toBool()) return false;
    }
    return true;
  }
};

TEST_F(AssistantFollowsFileTest, PanesShowWhatAnotherProgramChangedOnActivationAndOnF5) {
  WithAssistant([&](frmExportAssistant& w) {
    ChooseEverywhere(w);
    // Clicking the destination of a query without a template tells so, once.
    ASSERT_EQ(script.MessageBoxes().size(), 1);
    EXPECT_EQ(Column(*w.lvTopLevelTables, 1),
              (QStringList{QStringLiteral("Effort"), QStringLiteral("Estimates"), QStringLiteral("Site summary"),
                           QStringLiteral("Weekly catch")}));

    QTreeWidgetItem* reports = w.tvReports->FindNode(QStringLiteral("Output Report"));
    LetTheFileSettle(path);
    LeaveAndComeBack(w);
    MarkReportsSeen(reports);
    LeaveAndComeBack(w);
    EXPECT_TRUE(ReportsSeen(reports)) << "an activation with nothing changed read the tree again";

    LeaveAndComeBack(w, [&] {
      ChangeInAnotherProgram(
          path, {QStringLiteral("INSERT INTO tblExportableResults (Abbreviation, DateCreated, Author, Description) "
                                "VALUES ('Harbour seals', #2024-05-01#, 'clerk', 'Entered elsewhere')"),
                 QStringLiteral("UPDATE tblUserQueries SET ExcelTemplate = '/srv/templates/Counts.xls' "
                                "WHERE QueryName = 'qryAllCounts'")});
    });
    EXPECT_EQ(ChildTexts(w.tvReports->FindNode(QStringLiteral("Output Report"))),
              (QStringList{QStringLiteral("Effort"), QStringLiteral("Estimates"), QStringLiteral("Harbour seals"),
                           QStringLiteral("Site summary"), QStringLiteral("Weekly catch")}));
    EXPECT_EQ(Column(*w.lvUserQueries, 0), QStringList{QStringLiteral("/srv/templates/Counts.xls")});
    EXPECT_EQ(w.lvTopLevelTables->Model().ItemCount(), 5);
    ExpectStillChosen(w);

    ChangeInAnotherProgram(
        path, {QStringLiteral("DELETE FROM tblExportableResults WHERE Abbreviation = 'Weekly catch'"),
               QStringLiteral("UPDATE tblUserQueries SET ExcelTemplate = Null WHERE QueryName = 'qryAllCounts'")});
    QTest::keyClick(w.tvReports, Qt::Key_F5);
    EXPECT_EQ(ChildTexts(w.tvReports->FindNode(QStringLiteral("Output Report"))),
              (QStringList{QStringLiteral("Effort"), QStringLiteral("Estimates"), QStringLiteral("Harbour seals"),
                           QStringLiteral("Site summary")}));
    EXPECT_EQ(w.lvUserQueries->Model().ItemCount(), 0);
    EXPECT_EQ(w.lvTopLevelTables->Model().ItemCount(), 4);
    ExpectStillChosen(w);
    EXPECT_EQ(script.MessageBoxes().size(), 1) << "reading a pane again told the user something again";
  });
}

}  // namespace
