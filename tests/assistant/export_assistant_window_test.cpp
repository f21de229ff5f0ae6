// The Export Assistant as a person uses it on the sample survey database:
// the trees and what a click on their nodes lists, the table browser and
// its sorts, the toolbar's run without a report, the tutorial, and the
// window's placement and splitter.
#include <QHeaderView>
#include <QLabel>
#include <QStatusBar>
#include <QTest>
#include <QToolBar>
#include <QTreeWidgetItem>
#include <algorithm>
#include <cmath>

#include "app/mglobals.h"
#include "assistant/cexport_assistant.h"
#include "assistant/export_assistant_opening.h"
#include "assistant/list_view.h"
#include "assistant/splitter_handle.h"
#include "assistant/tree_view.h"
#include "assistant_fixture.h"
#include "export/excel_slots.h"
#include "platform/settings/application_settings.h"
#include "platform/ui/desktop_window.h"

namespace {

using assistant::frmExportAssistant;
using assistant::TreeView;

const QString kAssistantTitle = QStringLiteral("Excel Export Assistant");

class ExportAssistantTest : public AssistantTest {
 protected:
  void SetUp() override {
    AssistantTest::SetUp();
    OpenCopyOf(QStringLiteral(TABULON_SAMPLE_DATABASE));
  }

  // Expands "Output Report" and clicks a report, then one of its queries.
  static void ShowQuery(frmExportAssistant& w, const QString& report, const QString& query) {
    ExpandNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Output Report")));
    ClickNode(*w.tvReports, w.tvReports->FindNode(report));
    ClickRow(*w.lvReports, Column(*w.lvReports, 0).indexOf(query));
  }

  static platform::WindowPlacement Saved() {
    return platform::ReadWindowPlacement(frmExportAssistant::PlacementName(), QStringLiteral("Settings"), {});
  }
};

TEST_F(ExportAssistantTest, OpensWithBothTreesReadyToExpand) {
  WithAssistant([&](frmExportAssistant& w) {
    for (TreeView* tree : {w.tvReports, w.tvTopLevelTables}) {
      ASSERT_EQ(tree->topLevelItemCount(), 1);
      QTreeWidgetItem* root = tree->Root();
      EXPECT_EQ(TreeView::Key(root), path);
      EXPECT_EQ(root->text(0), path);
      EXPECT_TRUE(root->isExpanded());
      ASSERT_EQ(root->childCount(), 1);
      // The folder holds one empty placeholder until it is expanded.
      ASSERT_EQ(root->child(0)->childCount(), 1);
      EXPECT_EQ(root->child(0)->child(0)->text(0), QString());
      EXPECT_EQ(TreeView::Key(root->child(0)->child(0)), QString());
    }
    EXPECT_EQ(w.tvReports->Root()->child(0)->text(0), QStringLiteral("Output Report"));
    EXPECT_EQ(w.tvTopLevelTables->Root()->child(0)->text(0), QStringLiteral("Top Level Tables"));
    EXPECT_EQ(w.tvUserQueries->topLevelItemCount(), 0);
    EXPECT_NE(assistant::gExportAssistant, nullptr);
    EXPECT_FALSE(w.tvReports->Root()->icon(0).isNull());
    w.grab().save(QStringLiteral("/tmp/assistant-opened.png"));
  });
}

TEST_F(ExportAssistantTest, ReportsAreListedOnceByNameAndAClickListsTheirQueries) {
  WithAssistant([&](frmExportAssistant& w) {
    QTreeWidgetItem* folder = w.tvReports->FindNode(QStringLiteral("Output Report"));
    ExpandNode(*w.tvReports, folder);
    folder->setExpanded(false);
    ExpandNode(*w.tvReports, folder);
    EXPECT_EQ(ChildTexts(folder), (QStringList{QStringLiteral("Effort"), QStringLiteral("Estimates"),
                                               QStringLiteral("Site summary"), QStringLiteral("Weekly catch")}));
    EXPECT_EQ(TreeView::Tag(folder->child(3)).toInt(), 1);
    EXPECT_EQ(TreeView::Key(folder->child(2)), QStringLiteral("Site summary"));

    ClickNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Weekly catch")));
    EXPECT_EQ(Captions(*w.lvReports), (QStringList{QStringLiteral("QueryName"), QStringLiteral("QueryID")}));
    EXPECT_EQ(Column(*w.lvReports, 0), (QStringList{QStringLiteral("qryBusyWeeks"), QStringLiteral("qryCatchByWeek")}));
    EXPECT_EQ(Column(*w.lvReports, 1), (QStringList{QStringLiteral("2"), QStringLiteral("1")}));
    ClickNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Estimates")));
    EXPECT_EQ(Column(*w.lvReports, 0).size(), 4);
  });
  EXPECT_TRUE(script.MessageBoxes().isEmpty());
}

TEST_F(ExportAssistantTest, AQueryShowsItsDestinationAndItsStoredParameters) {
  WithAssistant([&](frmExportAssistant& w) {
    ShowQuery(w, QStringLiteral("Weekly catch"), QStringLiteral("qryCatchByWeek"));
    QTreeWidgetItem* root = w.tvUserQueries->Root();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->text(0), QStringLiteral("qryCatchByWeek"));
    EXPECT_EQ(TreeView::Tag(root).toInt(), 1);
    EXPECT_EQ(ChildTexts(root), (QStringList{QStringLiteral("Destination"), QStringLiteral("Parameters")}));

    ClickNode(*w.tvUserQueries, w.tvUserQueries->FindNode(QStringLiteral("Destination")));
    EXPECT_EQ(Captions(*w.lvUserQueries),
              (QStringList{QStringLiteral("ExcelTemplate"), QStringLiteral("ExcelSheetName"),
                           QStringLiteral("ExcelTargetRow"), QStringLiteral("ExcelTargetColumn"),
                           QStringLiteral("ExcelMacros"), QStringLiteral("Author")}));
    ASSERT_EQ(w.lvUserQueries->Model().ItemCount(), 1);
    EXPECT_TRUE(w.lvUserQueries->Model().ItemText(0, 0).endsWith(QStringLiteral("CatchSummary.xls")));
    EXPECT_EQ(w.lvUserQueries->Model().ItemText(0, 1), QStringLiteral("Catch"));
    EXPECT_EQ(w.lvUserQueries->Model().ItemText(0, 4), QStringLiteral("Formatting.FormatCatchBlock/Totals.AddTotals"));

    ClickNode(*w.tvUserQueries, w.tvUserQueries->FindNode(QStringLiteral("Parameters")));
    ASSERT_EQ(w.lvUserQueries->Model().columnCount(), 2);
    ASSERT_EQ(w.lvUserQueries->Model().ItemCount(), 1);
    EXPECT_EQ(w.lvUserQueries->Model().ItemText(0, 0), QStringLiteral("01-May-2021"));
    EXPECT_EQ(w.lvUserQueries->Model().ItemText(0, 1), QStringLiteral("30-Sep-2021"));

    // A query without a template says so and lists only the headers; one
    // without parameters has no "Parameters" node.
    ShowQuery(w, QStringLiteral("Weekly catch"), QStringLiteral("qryBusyWeeks"));
    script.AnswerMessageBox(platform::vbOK);
    ClickNode(*w.tvUserQueries, w.tvUserQueries->FindNode(QStringLiteral("Destination")));
    EXPECT_EQ(Captions(*w.lvUserQueries).size(), 6);
    EXPECT_EQ(w.lvUserQueries->Model().ItemCount(), 0);
    ShowQuery(w, QStringLiteral("Site summary"), QStringLiteral("qryOpenings"));
    EXPECT_EQ(ChildTexts(w.tvUserQueries->Root()), QStringList{QStringLiteral("Destination")});
  });
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt,
            QStringLiteral("Destination settings have not been entered or a template is not required for this report."));
  EXPECT_EQ(script.MessageBoxes()[0].style, platform::vbInformation);
  EXPECT_EQ(script.MessageBoxes()[0].title, kAssistantTitle);
}

TEST_F(ExportAssistantTest, TheTableBrowserListsTopLevelTablesTheirFieldsAndEveryRow) {
  WithAssistant([&](frmExportAssistant& w) {
    QTreeWidgetItem* folder = w.tvTopLevelTables->FindNode(QStringLiteral("Top Level Tables"));
    ExpandNode(*w.tvTopLevelTables, folder);
    const QStringList tables = ChildTexts(folder);
    for (const char* shown : {"tblInterview", "tblTimeBlock", "tblOUT_WeeklyCatch", "tblESTIMATE_DEFINITION"}) {
      EXPECT_TRUE(tables.contains(QString::fromLatin1(shown))) << shown;
    }
    EXPECT_FALSE(std::any_of(tables.begin(), tables.end(),
                             [](const QString& t) { return t.startsWith(QStringLiteral("MSys")); }));

    QTreeWidgetItem* timeBlocks = w.tvTopLevelTables->FindNode(QStringLiteral("tblTimeBlock"));
    EXPECT_EQ(TreeView::Tag(timeBlocks).toString(), QStringLiteral("Table"));
    ExpandNode(*w.tvTopLevelTables, timeBlocks);
    EXPECT_EQ(ChildTexts(timeBlocks), (QStringList{QStringLiteral("TimeBlockID"), QStringLiteral("Time Block"),
                                                   QStringLiteral("StartHour"), QStringLiteral("EndHour")}));
    EXPECT_NE(w.tvTopLevelTables->FindNode(QStringLiteral("tblTimeBlock_Time Block")), nullptr);
    // A field lists nothing: the table's rows stay; another table lists its own.
    ClickNode(*w.tvTopLevelTables, timeBlocks->child(0));
    EXPECT_EQ(w.lvTopLevelTables->Model().ItemCount(), 4);
    EXPECT_EQ(Column(*w.lvTopLevelTables, 1).first(), QStringLiteral("Dawn"));

    ClickNode(*w.tvTopLevelTables, w.tvTopLevelTables->FindNode(QStringLiteral("tblInterview")));
    EXPECT_EQ(w.lvTopLevelTables->Model().ItemCount(), 3000);
    EXPECT_EQ(Captions(*w.lvTopLevelTables).size(), 18);
    EXPECT_EQ(w.lvTopLevelTables->Model().ItemText(0, 0), QStringLiteral("1"));
    EXPECT_EQ(w.lvTopLevelTables->Model().ItemText(0, 1), QStringLiteral("2019-08-07"));
    EXPECT_EQ(w.lvTopLevelTables->Model().ItemText(0, 12), QStringLiteral("06:00:00"));
    w.grab().save(QStringLiteral("/tmp/assistant-tables.png"));
  });
}

TEST_F(ExportAssistantTest, ColumnClicksSortTheTableByNumberDateOrTextInTurn) {
  WithAssistant([&](frmExportAssistant& w) {
    ExpandNode(*w.tvTopLevelTables, w.tvTopLevelTables->FindNode(QStringLiteral("Top Level Tables")));
    ClickNode(*w.tvTopLevelTables, w.tvTopLevelTables->FindNode(QStringLiteral("tblInterview")));
    assistant::ListView& list = *w.lvTopLevelTables;
    auto numbers = [&](const QString& caption) {
      QVector<int> values;
      for (const QString& text : Column(list, Captions(list).indexOf(caption))) values << text.toInt();
      return values;
    };
    ClickHeader(list, QStringLiteral("Catch"));
    QVector<int> catches = numbers(QStringLiteral("Catch"));
    EXPECT_TRUE(std::is_sorted(catches.begin(), catches.end()));
    EXPECT_NE(catches.front(), catches.back());
    ClickHeader(list, QStringLiteral("Catch"));
    catches = numbers(QStringLiteral("Catch"));
    EXPECT_TRUE(std::is_sorted(catches.rbegin(), catches.rend()));

    // A number column sorts by value, not as text ("10" after "9").
    ClickHeader(list, QStringLiteral("Record Num"));
    const QVector<int> records = numbers(QStringLiteral("Record Num"));
    EXPECT_EQ(records.front(), 1);
    EXPECT_EQ(records.back(), 3000);

    ClickHeader(list, QStringLiteral("InterviewDate"));
    const QStringList dates = Column(list, 1);
    EXPECT_TRUE(std::is_sorted(dates.rbegin(), dates.rend()));  // the order went on turning

    ExpandNode(*w.tvTopLevelTables, w.tvTopLevelTables->FindNode(QStringLiteral("tblTimeBlock")));
    ClickNode(*w.tvTopLevelTables, w.tvTopLevelTables->FindNode(QStringLiteral("tblTimeBlock")));
    ClickHeader(list, QStringLiteral("Time Block"));
    EXPECT_EQ(Column(list, 1), (QStringList{QStringLiteral("Afternoon"), QStringLiteral("Dawn"),
                                            QStringLiteral("Evening"), QStringLiteral("Morning")}));
    // Any other column: the list's own text sort, by that column.
    ClickHeader(list, QStringLiteral("StartHour"));
    EXPECT_TRUE(list.Sorted());
    EXPECT_EQ(list.SortKey(), 2);
    EXPECT_EQ(list.SortOrder(), Qt::DescendingOrder);
    EXPECT_EQ(Column(list, 2), (QStringList{QStringLiteral("8"), QStringLiteral("5"), QStringLiteral("17"),
                                            QStringLiteral("12")}));
  });
}

TEST_F(ExportAssistantTest, TheReportListsHeaderClicksTurnTheOrderOverEvenForANewColumn) {
  WithAssistant([&](frmExportAssistant& w) {
    ExpandNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Output Report")));
    ClickNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Estimates")));
    ClickHeader(*w.lvReports, QStringLiteral("QueryName"));
    EXPECT_EQ(w.lvReports->SortOrder(), Qt::DescendingOrder);
    EXPECT_EQ(Column(*w.lvReports, 0).front(), QStringLiteral("qryWeeklyEstimates"));
    ClickHeader(*w.lvReports, QStringLiteral("QueryID"));
    EXPECT_EQ(w.lvReports->SortOrder(), Qt::AscendingOrder);
    EXPECT_EQ(w.lvReports->SortKey(), 1);
    EXPECT_EQ(Column(*w.lvReports, 1),
              (QStringList{QStringLiteral("1"), QStringLiteral("7"), QStringLiteral("8"), QStringLiteral("9")}));
  });
}

TEST_F(ExportAssistantTest, TheXlButtonWithoutAReportSelectedAsksForOne) {
  script.AnswerMessageBox(platform::vbOK);
  script.AnswerMessageBox(platform::vbOK);
  WithAssistant([&](frmExportAssistant& w) {
    QWidget* button = w.tbToolBar->widgetForAction(w.xl);
    ASSERT_NE(button, nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
    ClickNode(*w.tvReports, w.tvReports->FindNode(QStringLiteral("Output Report")));
    QTest::mouseClick(button, Qt::LeftButton);
  });
  ASSERT_EQ(script.MessageBoxes().size(), 2);
  for (const auto& box : script.MessageBoxes()) {
    EXPECT_EQ(box.prompt, QStringLiteral("You must select a valid user report to export to Excel.  Please try again "
                                         "after selecting a valid report."));
    EXPECT_EQ(box.title, kAssistantTitle);
  }
}

TEST_F(ExportAssistantTest, TheTutorialAndTheAutoFitChoice) {
  script.AnswerMessageBox(platform::vbOK);
  const bool autoFitBefore = gAutoFitExcelColumns;
  WithAssistant([&](frmExportAssistant& w) {
    w.mnuHelpWhatsThis->trigger();
    EXPECT_EQ(w.mnuOptionsAutoFitExcelColumns->isChecked(), autoFitBefore);
    w.mnuOptionsAutoFitExcelColumns->trigger();
    EXPECT_EQ(gAutoFitExcelColumns, !autoFitBefore);
    EXPECT_EQ(w.mnuOptionsAutoFitExcelColumns->isChecked(), !autoFitBefore);
  });
  gAutoFitExcelColumns = autoFitBefore;
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  const auto& box = script.MessageBoxes()[0];
  EXPECT_EQ(box.title, QStringLiteral("Tabulon - Export Assistant"));
  EXPECT_EQ(box.style, platform::vbInformation);
  EXPECT_TRUE(box.prompt.startsWith(
      QStringLiteral("Quick Tutorial: ''How to use Tabulon Export Assistant's multi-pane interface''\r\n\r\nTop-Left: "
                     "Displays current list of Tabulon reports.  Use this pane to select, and edit reports.\r\n")));
  EXPECT_TRUE(box.prompt.contains(QStringLiteral("tables.\r\n\t>>> Use this pane to look up the tables")));
  EXPECT_TRUE(box.prompt.endsWith(QStringLiteral("for a specific parameter. (Read only).")));
}

TEST_F(ExportAssistantTest, ThePlacementIsKeptAndTheWindowStaysAtLeast3000Wide) {
  platform::WindowPlacement closing;
  WithAssistant([&](frmExportAssistant& w) {
    const platform::WindowPlacement opened = platform::PlacementInTwips(w);
    const float pixel = w.TwipsPerPixel();
    EXPECT_NEAR(opened.width, 6500, pixel);
    EXPECT_NEAR(opened.height, 6500, pixel);
    EXPECT_NEAR(w.Layout().splitter, 2600, pixel);
    w.resize(static_cast<int>(2000 / pixel), w.height());
    QApplication::processEvents();
    EXPECT_NEAR(static_cast<float>(w.width()) * pixel, 3000, pixel);
    w.resize(static_cast<int>(7200 / pixel), static_cast<int>(6000 / pixel));
    QApplication::processEvents();
    closing = platform::PlacementInTwips(w);
  });
  EXPECT_EQ(Saved(), closing);

  // Closed while minimised: the placement saved before stays.
  const platform::WindowPlacement before = Saved();
  WithAssistant([&](frmExportAssistant& w) {
    EXPECT_EQ(platform::PlacementInTwips(w), closing);
    w.showMinimized();
    QApplication::processEvents();
    EXPECT_TRUE(w.isMinimized());
  });
  EXPECT_EQ(Saved(), before);
}

TEST_F(ExportAssistantTest, DraggingTheSplitterMovesABarAndDropsThePanesWithinTheirLimits) {
  WithAssistant([&](frmExportAssistant& w) {
    const float pixel = w.TwipsPerPixel();
    QWidget* splitter = w.imgSplitter;
    const int y = splitter->height() / 2;
    QTest::mousePress(splitter, Qt::LeftButton, {}, QPoint(1, y));
    EXPECT_TRUE(w.picSplitter->isVisible());
    // 2400 twips to the left of the splitter: the bar stops at 500.
    QMouseEvent move(QEvent::MouseMove, QPointF(-2400 / pixel, y), splitter->mapToGlobal(QPointF(-2400 / pixel, y)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(splitter, &move);
    EXPECT_NEAR(static_cast<float>(w.picSplitter->x()) * pixel, 500, pixel);
    EXPECT_NEAR(w.Layout().splitter, 2600, pixel);  // the panes wait for the drop
    QTest::mouseRelease(splitter, Qt::LeftButton, {}, QPoint(static_cast<int>(-2400 / pixel), y));
    EXPECT_FALSE(w.picSplitter->isVisible());
    EXPECT_EQ(w.Layout().splitter, 1500);
    EXPECT_NEAR(static_cast<float>(w.tvReports->width()) * pixel, 1500, pixel);
    EXPECT_NEAR(static_cast<float>(w.lvTopLevelTables->x()) * pixel, 1540, pixel);
  });
}

}  // namespace
