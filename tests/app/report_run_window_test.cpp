// A report run as the person starts it: a double-click in the main window's
// list, the run question, the save dialog, and the office writing the
// workbook. What the window shows meanwhile is taken from what it paints.
#include <QDir>
#include <QEvent>
#include <QLabel>
#include <QListWidget>
#include <QProgressDialog>
#include <QPushButton>
#include <QTimer>
#include <QTest>

#include "app/export_assistant_hook.h"
#include "app/frm_tabulon.h"
#include "app/mglobals.h"
#include "app/mmain.h"
#include "export/excel_slots.h"
#include "platform/dao/dao.h"
#include "platform/ui/mouse_pointer.h"
#include "shell_fixture.h"
#include "xls_reader.h"

namespace {

const QString kQuarterly = QStringLiteral("Quarterly");
// Quarterly's first query: a crosstab placed at row 5, column 3 of Sheet1.
const QString kQuarterlyFirstQuery = QStringLiteral("Quarterly Orders by Product");
constexpr int kFirstBlockRow = 5;
constexpr int kFirstBlockColumn = 3;

// Each text the "Status" panel was painted with, and the pointer at that
// moment; a repaint of an unchanged text is not a new entry.
class PaintedStatus : public QObject {
 public:
  explicit PaintedStatus(QLabel* panel) : panel_(panel) { panel->installEventFilter(this); }

  QStringList texts;
  QList<int> pointers;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (watched == panel_ && event->type() == QEvent::Paint && !panel_->text().isEmpty() &&
        (texts.isEmpty() || texts.last() != panel_->text())) {
      texts << panel_->text();
      pointers << platform::MousePointer();
    }
    return false;
  }

 private:
  QLabel* panel_;
};

class ReportRunWindowTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    ASSERT_TRUE(out_.isValid());
    excel::Application::SetDesktopOpener([this](const QString& file) { handedOver_ << file; });
    database_ = CopyOfReportsDatabase();
    RecordDatabasePath(database_);
    MMain::Main();
    ASSERT_NE(gMainWindow, nullptr);
    ASSERT_TRUE(gMainWindow->isVisible());
    status_ = std::make_unique<PaintedStatus>(gMainWindow->findChild<QLabel*>(QStringLiteral("Status")));
  }

  void TearDown() override {
    status_.reset();
    // The office stays up for the next test; this run's workbook does not.
    ReleaseExcelSlots();
    excel::Application::SetDesktopOpener([](const QString&) {});
    ShellTest::TearDown();
  }

  // A real double-click on the report's row, as the person gives it.
  void DoubleClickReport(const QString& name) {
    QListWidget* list = gMainWindow->lstAvailableQueries;
    const QList<QListWidgetItem*> found = list->findItems(name, Qt::MatchExactly);
    ASSERT_EQ(found.size(), 1) << name.toStdString();
    // The rows are laid out when the window is first shown on screen.
    ASSERT_TRUE(QTest::qWaitForWindowExposed(gMainWindow));
    const QRect row = list->visualItemRect(found.first());
    ASSERT_TRUE(list->viewport()->rect().contains(row)) << row.y();
    const QPoint centre = row.center();
    // A person's double-click: a click, then the second press that the
    // system turns into a double-click.
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, centre);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, centre);
  }

  // The header the query's records get: captions where fields have them.
  QStringList HeaderOf(const QString& query) const {
    auto db = dao::DBEngine::Workspaces(0).OpenDatabase(database_);
    const std::unique_ptr<dao::Recordset> records = db->QueryDefs(query).OpenRecordset();
    QStringList header;
    for (const dao::FieldInfo& field : records->Fields()) header << (field.caption.isEmpty() ? field.name : field.caption);
    return header;
  }

  QString database_;
  QTemporaryDir out_;
  QStringList handedOver_;
  std::unique_ptr<PaintedStatus> status_;
};

TEST_F(ReportRunWindowTest, YesRunsTheReportIntoTheChosenWorkbookWhileTheStatusPanelFollowsTheRun) {
  const QString file = out_.filePath(QStringLiteral("Quarterly.xls"));
  script.AnswerMessageBox(platform::vbYes);
  script.AnswerFileDialog(file);

  DoubleClickReport(kQuarterly);

  ASSERT_EQ(script.MessageBoxes().size(), 1) << BoxPrompts().join('|').toStdString();
  EXPECT_TRUE(script.MessageBoxes()[0].prompt.endsWith(QStringLiteral("Run the report now?")));
  ASSERT_EQ(script.FileDialogsShown().size(), 1);
  EXPECT_EQ(script.FileDialogsShown()[0].request.fileName, kQuarterly);
  EXPECT_EQ(status_->texts, (QStringList{QStringLiteral("Status"), QStringLiteral("Status: Working.  Please wait..."),
                                         QStringLiteral("Status: Complete!")}));
  EXPECT_EQ(status_->pointers.value(1), platform::vbHourglass);
  EXPECT_EQ(platform::MousePointer(), platform::vbDefault);
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Status")), QStringLiteral("Status: Complete!"));
  EXPECT_EQ(handedOver_, QStringList{file});

  const XlsBook book = ReadXls(file);
  const XlsSheet& data = book.Sheet(QStringLiteral("Sheet1"));
  const QStringList header = HeaderOf(kQuarterlyFirstQuery);
  ASSERT_FALSE(header.isEmpty());
  for (int f = 0; f < header.size(); ++f) {
    EXPECT_EQ(data.Text(kFirstBlockRow, kFirstBlockColumn + f), header[f]) << "header " << f;
  }
  EXPECT_TRUE(book.SheetNames().contains(QStringLiteral("Information")));
  EXPECT_TRUE(gMainWindow->isVisible());
}

// The progress window follows the run; its Cancel, pressed by the person,
// stops the run with nothing saved and the status panel saying so.
TEST_F(ReportRunWindowTest, TheProgressWindowNamesTheQueryAndItsCancelStopsTheRunWithNothingSaved) {
  const QString file = out_.filePath(QStringLiteral("Quarterly.xls"));
  script.AnswerMessageBox(platform::vbYes);
  script.AnswerFileDialog(file);
  QString shownText;
  // Pressed while the second query runs, once the first block is in place.
  QTimer watcher;
  QObject::connect(&watcher, &QTimer::timeout, [&] {
    auto* progress = gMainWindow ? gMainWindow->findChild<QProgressDialog*>() : nullptr;
    if (!progress || !progress->isVisible() || !progress->labelText().startsWith(QStringLiteral("Query 2 of 2"))) return;
    shownText = progress->labelText();
    watcher.stop();
    auto* cancel = progress->findChild<QPushButton*>();
    ASSERT_NE(cancel, nullptr);
    QTest::mouseClick(cancel, Qt::LeftButton);
  });
  watcher.start(0);

  DoubleClickReport(kQuarterly);

  EXPECT_EQ(shownText, QStringLiteral("Query 2 of 2: Invoices Filter\nRows placed: 0"));
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Status")), QStringLiteral("Status: Cancelled.  Nothing was saved."));
  EXPECT_FALSE(QFile::exists(file));
  EXPECT_TRUE(handedOver_.isEmpty());
  EXPECT_EQ(platform::MousePointer(), platform::vbDefault);
  EXPECT_EQ(gMainWindow->findChild<QProgressDialog*>(), nullptr);
}

TEST_F(ReportRunWindowTest, NoGoesToTheAssistantAndWritesNothing) {
  script.AnswerMessageBox(platform::vbNo);
  // The Assistant itself is shown by the window tests; here only its opening counts.
  int assistantOpened = 0;
  app::SetExportAssistantOpener([&](QWidget*) { ++assistantOpened; });

  DoubleClickReport(kQuarterly);
  app::SetExportAssistantOpener(nullptr);

  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].style, platform::vbYesNo | platform::vbQuestion);
  EXPECT_TRUE(script.FileDialogsShown().isEmpty());
  EXPECT_TRUE(status_->texts.isEmpty()) << status_->texts.join('|').toStdString();
  EXPECT_EQ(platform::MousePointer(), platform::vbDefault);
  EXPECT_TRUE(handedOver_.isEmpty());
  EXPECT_TRUE(QDir(out_.path()).isEmpty());
  EXPECT_FALSE(gExcelWorkbook.has_value());
  EXPECT_EQ(assistantOpened, 1);
  EXPECT_EQ(gMainWindow, nullptr);  // closing the Assistant ended the program
}

}  // namespace
