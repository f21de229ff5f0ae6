// The main window once started: changing the database, leaving, where the
// window's placement is kept, and the question before a run.
#include <QFile>
#include <QListWidget>

#include <QApplication>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidgetItem>
#include <functional>

#include "app/frm_tabulon.h"
#include "app/program_windows.h"
#include "assistant/frm_export_assistant.h"
#include "assistant/tree_view.h"
#include "assistant/list_view.h"
#include "editors/frm_output_report.h"
#include "editors/frm_query_destination.h"
#include <QTest>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QLabel>
#include "app/mglobals.h"
#include "app/mmain.h"
#include "platform/settings/application_settings.h"
#include "platform/ui/desktop_window.h"
#include "shell_fixture.h"

namespace {

const QString kCloseQuestion = QStringLiteral("Close Excel Export Assistant?");
const QString kDatabaseError = QStringLiteral(
    "Unexpected error accessing the database.  Contact system provider if you are unable to resolve this problem.  "
    "Operation cancelled.");
const platform::WindowPlacement kEarlierPlacement{111, 222, 3333, 4444};

QString TreeText(assistant::frmExportAssistant& window) { return window.tvReports->Root()->text(0); }

class MainWindowTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    app::InstallProgramWindows();
    database_ = CopyOfReportsDatabase();
    RecordDatabasePath(database_);
    MMain::Main();
    ASSERT_NE(gMainWindow, nullptr);
    ASSERT_EQ(gMainWindow->lstAvailableQueries->count(), 7);
  }

  static platform::WindowPlacement SavedPlacement() {
    return platform::ReadWindowPlacement(QStringLiteral("Tabulon"), QStringLiteral("Settings"), {});
  }

  QString database_;
};

TEST_F(MainWindowTest, FileOpenCancelAsksToCloseEveryTimeAndNoKeepsTheDatabase) {
  CRegistry family;
  family.SetRegMainKey(QString::fromLatin1(kFamilyMainKey));
  family.WriteRegistry(QStringLiteral("File"), QStringLiteral("LatestDatabasePath"), QStringLiteral("/srv/surveys"));
  script.AnswerFileDialog(std::nullopt);
  script.AnswerMessageBox(platform::vbNo);
  gMainWindow->mnuFileOpen_Click();
  script.AnswerFileDialog(std::nullopt);
  script.AnswerMessageBox(platform::vbYes);
  EXPECT_THROW(gMainWindow->mnuFileOpen_Click(), ProgramEnded);

  ASSERT_EQ(script.FileDialogsShown().size(), 2);
  const auto& request = script.FileDialogsShown()[0].request;
  EXPECT_EQ(request.title, QStringLiteral("Location of Database"));
  EXPECT_EQ(request.filter, QStringLiteral("Access Database (*.mdb)|*.mdb"));
  EXPECT_EQ(request.initialDir, QStringLiteral("/srv/surveys"));
  EXPECT_EQ(request.fileName, QString());
  ASSERT_EQ(script.MessageBoxes().size(), 2);
  for (const auto& box : script.MessageBoxes()) {
    EXPECT_EQ(box.prompt, kCloseQuestion);
    EXPECT_EQ(box.title, QStringLiteral("Close?"));
    EXPECT_EQ(box.style, 292);
  }
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + database_);
  EXPECT_EQ(gMainWindow->lstAvailableQueries->count(), 7);
}

TEST_F(MainWindowTest, FileOpenSwitchesToTheChosenDatabaseAndADamagedOneKeepsTheOld) {
  const QString second = CopyOfReportsDatabase(QStringLiteral("second.mdb"));
  script.AnswerFileDialog(second);
  gMainWindow->mnuFileOpen_Click();
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + second);
  EXPECT_EQ(gFile->CurrentFile(), second);
  EXPECT_EQ(gMainWindow->lstAvailableQueries->count(), 7);

  const QString damaged = TempFile(QStringLiteral("damaged.mdb"));
  QFile file(damaged);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("not a database");
  file.close();
  script.AnswerFileDialog(damaged);
  gMainWindow->mnuFileOpen_Click();

  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt, kDatabaseError);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Excel Export Assistant"));
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + second);
  EXPECT_EQ(gMainWindow->lstAvailableQueries->count(), 7);
}

TEST_F(MainWindowTest, ClosingSavesThePlacementInTwipsButNotWhenMinimised) {
  gMainWindow->setGeometry(40, 60, 500, 300);
  const platform::WindowPlacement shown = platform::PlacementInTwips(*gMainWindow);
  frmTabulon* first = gMainWindow;
  first->close();
  EXPECT_EQ(SavedPlacement(), shown);
  EXPECT_EQ(gMainWindow, nullptr);
  delete first;

  platform::SaveWindowPlacement(QStringLiteral("Tabulon"), QStringLiteral("Settings"), kEarlierPlacement);
  gMainWindow = new frmTabulon();
  gMainWindow->show();
  gMainWindow->showMinimized();
  frmTabulon* window = gMainWindow;
  window->close();
  delete window;
  EXPECT_EQ(SavedPlacement(), kEarlierPlacement);
}

TEST_F(MainWindowTest, FileExitEndsAtOnceWithoutSavingThePlacement) {
  platform::SaveWindowPlacement(QStringLiteral("Tabulon"), QStringLiteral("Settings"), kEarlierPlacement);
  EXPECT_THROW(gMainWindow->mnuFileExit_Click(), ProgramEnded);
  EXPECT_EQ(SavedPlacement(), kEarlierPlacement);
}

// The Assistant is shown modally: `body` runs while it is up, then File Exit
// closes it.
void WhenAssistantShown(const std::function<void(assistant::frmExportAssistant&)>& body) {
  QTimer::singleShot(0, [body] {
    auto* assistant = qobject_cast<assistant::frmExportAssistant*>(QApplication::activeModalWidget());
    ASSERT_NE(assistant, nullptr) << "the Export Assistant was not shown";
    body(*assistant);
    assistant->mnuFileExit_Click();
  });
}

TEST_F(MainWindowTest, RunQuestionNoOpensTheAssistantAndClosingItEndsTheProgram) {
  gMainWindow->lstAvailableQueries->setCurrentRow(5);
  script.AnswerMessageBox(platform::vbNo);
  QString shownOn;
  WhenAssistantShown([&](assistant::frmExportAssistant& w) { shownOn = TreeText(w); });
  gMainWindow->lstAvailableQueries_DblClick();

  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt,
            QStringLiteral("The selected report will be run with the currently defined parameters (if needed) and "
                           "destination settings.\r\n\r\n*Use the Tabulon Export Assistant to find and change report "
                           "parameters.\r\n\r\nRun the report now?"));
  EXPECT_EQ(script.MessageBoxes()[0].style, platform::vbYesNo | platform::vbQuestion);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Tabulon"));
  EXPECT_TRUE(script.FileDialogsShown().isEmpty());
  EXPECT_EQ(shownOn, database_);
  // The main window went with it, keeping its placement.
  EXPECT_EQ(gMainWindow, nullptr);
  EXPECT_NE(SavedPlacement(), platform::WindowPlacement{});
}

TEST_F(MainWindowTest, TheMenuAndTheToolbarOpenTheAssistantAndHelpIsOnF1) {
  EXPECT_TRUE(gMainWindow->mnuEditExcelTemplates->isVisible());
  QAction* xl = gMainWindow->tbToolBar->findChild<QAction*>(QStringLiteral("xl"));
  ASSERT_NE(xl, nullptr);
  EXPECT_TRUE(xl->isVisible());
  int opened = 0;
  WhenAssistantShown([&](assistant::frmExportAssistant&) { ++opened; });
  xl->trigger();
  EXPECT_EQ(opened, 1);
  EXPECT_EQ(gMainWindow, nullptr);

  MMain::Main();
  ASSERT_NE(gMainWindow, nullptr);
  WhenAssistantShown([&](assistant::frmExportAssistant&) { ++opened; });
  gMainWindow->mnuEditExcelTemplates->trigger();
  EXPECT_EQ(opened, 2);
  EXPECT_EQ(gMainWindow, nullptr);

  MMain::Main();
  EXPECT_EQ(gMainWindow->mnuHelpContents->shortcut(), QKeySequence(Qt::Key_F1));
  EXPECT_TRUE(QFile::exists(gApp->HelpFile())) << gApp->HelpFile().toStdString();
}

TEST_F(MainWindowTest, TheAssistantsEditCommandsMakeAndDeleteAReportAndTheTreeFollows) {
  WhenAssistantShown([&](assistant::frmExportAssistant& w) {
    QTreeWidgetItem* folder = w.tvReports->FindNode(QStringLiteral("Output Report"));
    folder->setExpanded(true);
    ASSERT_EQ(folder->childCount(), 7);
    ASSERT_TRUE(w.mnuEditNew->isEnabled());

    QTimer::singleShot(0, [] {
      auto* editor = qobject_cast<frmOutputReport*>(QApplication::activeModalWidget());
      ASSERT_NE(editor, nullptr) << "the report editor was not shown";
      QTest::keyClicks(editor->txtNewReportName, QStringLiteral("Net pens"));
      QTest::keyClicks(editor->txtDescription, QStringLiteral("Catch at the net pens"));
      QTest::mouseClick(editor->cmdOK, Qt::LeftButton);
      QTest::mouseClick(editor->cmdCancel, Qt::LeftButton);
    });
    w.mnuEditNew->trigger();
    ASSERT_EQ(folder->childCount(), 8);
    QTreeWidgetItem* added = w.tvReports->FindNode(QStringLiteral("Net pens"));
    ASSERT_NE(added, nullptr);

    w.tvReports->SelectNode(added);
    script.AnswerMessageBox(platform::vbYes);
    w.mnuEditDelete->trigger();
    EXPECT_EQ(w.tvReports->FindNode(QStringLiteral("Net pens")), nullptr);
    EXPECT_EQ(w.tvReports->FindNode(QStringLiteral("Output Report"))->childCount(), 7);
  });
  gMainWindow->mnuEditExcelTemplates->trigger();
  ASSERT_FALSE(script.MessageBoxes().isEmpty());
  EXPECT_EQ(script.MessageBoxes().last().title, QStringLiteral("Delete?"));
}

// A person's click on a tree node or a list row.
void Click(QTreeWidget& tree, QTreeWidgetItem* node) {
  ASSERT_NE(node, nullptr);
  tree.scrollToItem(node);
  QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, tree.visualItemRect(node).center());
}
void Click(assistant::ListView& list, int row) {
  list.scrollTo(list.model()->index(row, 0));
  QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(list.model()->index(row, 0)).center());
}

TEST_F(MainWindowTest, EditOnAQuerysDestinationOpensItsEditorAndTheListShowsWhatWasSaved) {
  WhenAssistantShown([&](assistant::frmExportAssistant& w) {
    w.tvReports->FindNode(QStringLiteral("Output Report"))->setExpanded(true);
    Click(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Sales Review")));
    const QAbstractItemModel& members = *w.lvReports->model();
    int row = 0;
    while (row < members.rowCount() && members.index(row, 0).data() != QStringLiteral("Employee Sales by Country")) ++row;
    ASSERT_LT(row, members.rowCount());
    Click(*w.lvReports, row);
    Click(*w.tvUserQueries, w.tvUserQueries->FindNode(QStringLiteral("Destination")));
    EXPECT_EQ(w.lvUserQueries->model()->index(0, 2).data().toString(), QStringLiteral("3"));

    QTimer::singleShot(0, [] {
      auto* editor = qobject_cast<frmQueryDestination*>(QApplication::activeModalWidget());
      ASSERT_NE(editor, nullptr) << "the query destination editor was not shown";
      EXPECT_EQ(editor->txtTemplate->text(), QStringLiteral("C:\\Reports\\Templates\\Sales.xls"));
      editor->txtTargetRow->setFocus();
      QTest::keyClick(editor->txtTargetRow, Qt::Key_A, Qt::ControlModifier);
      QTest::keyClicks(editor->txtTargetRow, QStringLiteral("9"));
      QTest::mouseClick(editor->cmdOK, Qt::LeftButton);
    });
    w.mnuEditEdit->trigger();
    EXPECT_EQ(QApplication::activeModalWidget(), &w);
    EXPECT_EQ(w.lvUserQueries->model()->index(0, 2).data().toString(), QStringLiteral("9"));
  });
  gMainWindow->mnuEditExcelTemplates->trigger();
}

}  // namespace
