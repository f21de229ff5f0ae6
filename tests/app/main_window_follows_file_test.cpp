// The main window while another program changes the same file: the report
// list is read again when the window is activated after a change, and on
// F5, keeping the chosen report; an activation with nothing changed reads
// nothing. The wait for another program's change comes from the settings.
#include <QApplication>
#include <QListWidget>
#include <QTest>

#include "app/frm_tabulon.h"
#include "app/mglobals.h"
#include "app/mmain.h"
#include "other_program.h"
#include "platform/dao/dao.h"
#include "shell_fixture.h"

namespace {

// Set on the items a test has seen; items listed again come without it.
constexpr int kSeenRole = Qt::UserRole + 50;

class MainWindowFollowsFileTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    CRegistry family;
    family.SetRegMainKey(QString::fromLatin1(kFamilyMainKey));
    family.WriteRegistry(QStringLiteral("Tabulon"), QStringLiteral("LockWaitMilliseconds"), QStringLiteral("1500"));
    database_ = CopyOfReportsDatabase();
    RecordDatabasePath(database_);
    MMain::Main();
    ASSERT_NE(gMainWindow, nullptr);
    QCoreApplication::processEvents();
  }

  // The user goes to another program and comes back to this window.
  static void LeaveWindow() { QApplication::setActiveWindow(nullptr); }
  static void ComeBack() { QApplication::setActiveWindow(gMainWindow); }

  static QListWidget& List() { return *gMainWindow->lstAvailableQueries; }
  static void MarkAllSeen() {
    for (int i = 0; i < List().count(); ++i) List().item(i)->setData(kSeenRole, true);
  }
  static bool AllSeen() {
    for (int i = 0; i < List().count(); ++i) {
      if (!List().item(i)->data(kSeenRole).toBool()) return false;
    }
    return true;
  }
  static QString Chosen() { return List().currentItem() ? List().currentItem()->text() : QString(); }

  QString database_;
};

TEST_F(MainWindowFollowsFileTest, ReportsAnotherProgramAddsOrDeletesAreListedOnActivationAndOnF5) {
  EXPECT_EQ(dao::DBEngine::LockWait(), 1500);
  ASSERT_EQ(List().count(), 7);
  List().setCurrentItem(List().findItems(QStringLiteral("Quarterly"), Qt::MatchExactly).value(0));
  ASSERT_EQ(Chosen(), QStringLiteral("Quarterly"));

  LetTheFileSettle(database_);
  LeaveWindow();
  ComeBack();
  MarkAllSeen();
  LeaveWindow();
  ComeBack();
  EXPECT_TRUE(AllSeen()) << "an activation with nothing changed read the list again";

  LeaveWindow();
  ChangeInAnotherProgram(
      database_, {QStringLiteral("INSERT INTO tblExportableResults (Abbreviation, DateCreated, Author, "
                                 "Description) VALUES ('Harbour seals', #2024-05-01#, 'clerk', 'Entered elsewhere')")});
  EXPECT_EQ(List().count(), 7);
  ComeBack();
  EXPECT_EQ(ListedReports(), (QStringList{QStringLiteral("Broken Parameters=5"), QStringLiteral("Contacts=2"),
                                          QStringLiteral("Empty Report=4"), QStringLiteral("Harbour seals=8"),
                                          QStringLiteral("Missing Query=6"), QStringLiteral("O'Neil catch=3"),
                                          QStringLiteral("Quarterly=7"), QStringLiteral("Sales Review=1")}));
  EXPECT_EQ(Chosen(), QStringLiteral("Quarterly"));

  // F5 reads at once, without the window going anywhere.
  ChangeInAnotherProgram(database_,
                         {QStringLiteral("DELETE FROM tblExportableResults WHERE Abbreviation = 'Contacts'")});
  QTest::keyClick(&List(), Qt::Key_F5);
  EXPECT_FALSE(ListedReports().contains(QStringLiteral("Contacts=2")));
  EXPECT_EQ(List().count(), 7);
  EXPECT_EQ(Chosen(), QStringLiteral("Quarterly"));
  EXPECT_TRUE(script.MessageBoxes().isEmpty());
}

}  // namespace
