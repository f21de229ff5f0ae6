#include "assistant/frm_export_assistant.h"

#include <QAction>
#include <QCloseEvent>
#include <QLabel>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>
#include <cmath>

#include "app/error_guard.h"
#include "app/mglobals.h"
#include "app/reread_on_change.h"
#include "assistant/cexport_assistant.h"
#include "assistant/list_view.h"
#include "assistant/mlistview_extensions.h"
#include "assistant/splitter_handle.h"
#include "assistant/tree_images.h"
#include "assistant/tree_view.h"
#include "export/bas_exporter.h"
#include "export/excel_slots.h"
#include "platform/ui/desktop_window.h"
#include "platform/ui/dialogs.h"

namespace assistant {

namespace {

const QString kTitle = QStringLiteral("Excel Export Assistant");
const QString kCrLf = QStringLiteral("\r\n");
const QString kSection = QStringLiteral("Settings");
const platform::WindowPlacement kDefaultPlacement{1000, 1000, 6500, 6500};
constexpr float kSplitterShare = 0.4f;

QString ApplicationTitle() { return gApp ? gApp->Title() : QStringLiteral("Tabulon"); }

QString QuickTutorial() {
  return QStringLiteral("Quick Tutorial: ''How to use Tabulon Export Assistant's multi-pane interface''") + kCrLf +
         kCrLf +
         QStringLiteral("Top-Left: Displays current list of Tabulon reports.  Use this pane to select, and edit "
                        "reports.") +
         kCrLf +
         QStringLiteral("Top-Right: Displays the list of Access queries associated with the selected Tabulon report.  "
                        "Use this pane to select component queries, and view their parameter and destination "
                        "settings.") +
         kCrLf + kCrLf +
         QStringLiteral("Middle-Left (static): Indicates whether the selected Access query contains parameters "
                        "together with its required destination settings.  Click to show parameters or destination "
                        "settings for the selected query.") +
         kCrLf + QStringLiteral("Middle-Right: Shows currently defined parameters and destination settings.") + kCrLf +
         kCrLf + QStringLiteral("Bottom-Left: Lists all underlying database tables.") + kCrLf + QStringLiteral("\t") +
         QStringLiteral(">>> Use this pane to look up the tables containing specific numeric IDs/parameters needed "
                        "by a particular query") +
         kCrLf +
         QStringLiteral("Bottom-Right: Shows the underlying contents of the selected database table.  Use this to "
                        "find the meaning of a numeric ID for a specific parameter. (Read only).");
}

// The table browser's columns that hold numbers, and those that hold dates
// or times; "Time Block" has a sort of its own; every other column sorts
// as text.
const QStringList kNumberColumns = {
    QStringLiteral("Record Num"),      QStringLiteral("ManagementUnitID"), QStringLiteral("EstimateID"),
    QStringLiteral("UserID"),          QStringLiteral("GearTypeID"),       QStringLiteral("Week"),
    QStringLiteral("Catch"),           QStringLiteral("UnitsOfGear"),      QStringLiteral("FishReleased"),
    QStringLiteral("TimeBlockID"),     QStringLiteral("NumberMarked"),     QStringLiteral("PrimaryObserverID"),
    QStringLiteral("Soak Time (hrs)"), QStringLiteral("Gear Count"),       QStringLiteral("Total Count"),
    QStringLiteral("Year"),            QStringLiteral("NumberDaysOpen"),   QStringLiteral("ObserverGearCount"),
    QStringLiteral("AccessSiteID"),    QStringLiteral("NumberWithClips")};
const QStringList kDateColumns = {QStringLiteral("InterviewDate"), QStringLiteral("FishingStartTime"),
                                  QStringLiteral("FishingEndTime"), QStringLiteral("Time In MU"),
                                  QStringLiteral("StartOpening"),  QStringLiteral("EndOpening"),
                                  QStringLiteral("SurveyStartDate")};

void ReportPaneError(const platform::AppError& error) {
  platform::dialogs().MsgBox(QStringLiteral("Error: ") + error.Description(), platform::vbExclamation, kTitle);
}

}  // namespace

frmExportAssistant::frmExportAssistant(CExportAssistant& assistant, ReportEditors editors, QWidget* parent)
    : QDialog(parent), assistant_(assistant), editors_(std::move(editors)) {
  setObjectName(QStringLiteral("frmExportAssistant"));
  setWindowTitle(ApplicationTitle() + QStringLiteral(" - Export Assistant"));
  setWindowIcon(AssistantIcon(QStringLiteral("assistant")));
  setWindowFlags(Qt::Window | Qt::WindowMinMaxButtonsHint | Qt::WindowCloseButtonHint);
  setSizeGripEnabled(false);
  BuildMenus();
  BuildPanes();
  BuildTitles();
  BuildToolBar();
  ConnectPanes();
  rereads_ = new app::RereadOnChange(
      *this, {[this] { return assistant_.OwnDatabase(); }, [this] { ReadPanesAgain(); }, &ReportPaneError});
  LoadPlacement();
}

QString frmExportAssistant::PlacementName() { return ApplicationTitle() + QStringLiteral("ExportAssistant"); }

float frmExportAssistant::TwipsPerPixel() const { return static_cast<float>(platform::TwipsPerPixel(*this)); }

void frmExportAssistant::BuildMenus() {
  menuBar = new QMenuBar(this);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setMenuBar(menuBar);

  QMenu* file = menuBar->addMenu(tr("&File"));
  mnuFileNew = file->addAction(AssistantIcon(QStringLiteral("new")), tr("&New Report..."), this,
                               [this] { mnuFileNew_Click(); });
  mnuFileNew->setShortcut(QKeySequence::New);
  file->addSeparator();
  mnuFileExit = file->addAction(tr("E&xit"), this, [this] { mnuFileExit_Click(); });

  QMenu* edit = menuBar->addMenu(tr("&Edit"));
  mnuEditNew = edit->addAction(AssistantIcon(QStringLiteral("new")), tr("&New Report..."), this,
                               [this] { mnuEditNew_Click(); });
  mnuEditEdit = edit->addAction(AssistantIcon(QStringLiteral("edit")), tr("&Edit..."), this,
                                [this] { mnuEditEdit_Click(); });
  mnuEditAdd = edit->addAction(AssistantIcon(QStringLiteral("add")), tr("&Add Queries..."), this,
                               [this] { mnuEditAdd_Click(); });
  mnuEditDelete = edit->addAction(AssistantIcon(QStringLiteral("delete")), tr("&Delete"), this,
                                  [this] { mnuEditDelete_Click(); });
  mnuEditDelete->setShortcut(QKeySequence::Delete);
  mnuEditDelete->setShortcutContext(Qt::WidgetWithChildrenShortcut);

  QMenu* options = menuBar->addMenu(tr("&Options"));
  mnuOptionsAutoFitExcelColumns = options->addAction(tr("&AutoFit Excel Columns"));
  mnuOptionsAutoFitExcelColumns->setCheckable(true);
  mnuOptionsAutoFitExcelColumns->setChecked(gAutoFitExcelColumns);
  // The run reads one process-wide choice: the check mark shows it.
  connect(mnuOptionsAutoFitExcelColumns, &QAction::triggered, this, [this] { mnuOptionsAutoFitExcelColumns_Click(); });

  QMenu* help = menuBar->addMenu(tr("&Help"));
  mnuHelpWhatsThis = help->addAction(AssistantIcon(QStringLiteral("help")), tr("&Quick Tutorial"), this,
                                     [this] { mnuHelpWhatsThis_Click(); });
  mnuHelpWhatsThis->setShortcut(QKeySequence::WhatsThis);

  // A command whose editor the program did not hand in stays disabled.
  mnuFileNew->setEnabled(bool(editors_.showReport));
  mnuEditNew->setEnabled(bool(editors_.showReport));
  mnuEditEdit->setEnabled(bool(editors_.showReport));
  mnuEditAdd->setEnabled(bool(editors_.showReportQueries));
  mnuEditDelete->setEnabled(bool(editors_.deleteReport));
}

void frmExportAssistant::BuildToolBar() {
  tbToolBar = new QToolBar(picTitles->parentWidget());
  tbToolBar->setObjectName(QStringLiteral("tbToolBar"));
  tbToolBar->setIconSize(QSize(16, 16));
  tbToolBar->addAction(mnuFileNew);
  tbToolBar->addAction(mnuEditEdit);
  tbToolBar->addAction(mnuEditAdd);
  tbToolBar->addAction(mnuEditDelete);
  tbToolBar->addSeparator();
  xl = tbToolBar->addAction(AssistantIcon(QStringLiteral("xl")), tr("Run the selected report into a workbook"), this,
                            [this] { tbToolBar_xl_Click(); });
  xl->setObjectName(QStringLiteral("xl"));
  tbToolBar->addSeparator();
  tbToolBar->addAction(mnuHelpWhatsThis);
}

void frmExportAssistant::BuildPanes() {
  auto* client = new QWidget(this);
  layout()->addWidget(client);
  picTitles = new QWidget(client);
  picTitles->setObjectName(QStringLiteral("picTitles"));
  Picture2 = new QWidget(client);
  Picture2->setObjectName(QStringLiteral("Picture2"));
  auto makePane = [client](TreeView*& tree, ListView*& list, const char* treeName, const char* listName) {
    tree = new TreeView(client);
    tree->setObjectName(QString::fromLatin1(treeName));
    list = new ListView(client);
    list->setObjectName(QString::fromLatin1(listName));
  };
  makePane(tvReports, lvReports, "tvReports", "lvReports");
  makePane(tvUserQueries, lvUserQueries, "tvUserQueries", "lvUserQueries");
  makePane(tvTopLevelTables, lvTopLevelTables, "tvTopLevelTables", "lvTopLevelTables");
  setTabOrder(tvReports, lvReports);
  setTabOrder(lvReports, tvUserQueries);
  setTabOrder(tvUserQueries, lvUserQueries);
  setTabOrder(lvUserQueries, tvTopLevelTables);
  setTabOrder(tvTopLevelTables, lvTopLevelTables);

  imgSplitter = new SplitterHandle(
      client,
      {[this] { imgSplitter_MouseDown(); }, [this](float x) { imgSplitter_MouseMove(x); },
       [this] { imgSplitter_MouseUp(); }},
      [this] { return TwipsPerPixel(); });
  imgSplitter->setObjectName(QStringLiteral("imgSplitter"));
  picSplitter = new QWidget(client);
  picSplitter->setObjectName(QStringLiteral("picSplitter"));
  picSplitter->setAutoFillBackground(true);
  picSplitter->setBackgroundRole(QPalette::Dark);
  picSplitter->hide();

  sbStatusBar = new QStatusBar(client);
  sbStatusBar->setObjectName(QStringLiteral("sbStatusBar"));
  sbStatusBar->setSizeGripEnabled(false);
}

void frmExportAssistant::BuildTitles() {
  QWidget* client = picTitles->parentWidget();
  const char* const texts[3][2] = {{"Reports", "Queries of the selected report"},
                                   {"Selected query", "Parameters and destination"},
                                   {"Tables", "Contents of the selected table (read only)"}};
  QLabel** pairs[3] = {lblTitleMain, lblTitleQueries, lblTitleTopTables};
  const char* names[3] = {"lblTitleMain", "lblTitleQueries", "lblTitleTopTables"};
  for (int row = 0; row < 3; ++row) {
    for (int index = 0; index < 2; ++index) {
      auto* label = new QLabel(tr(texts[row][index]), client);
      label->setObjectName(QString::fromLatin1(names[row]) + QString::number(index));
      label->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
      label->setStyleSheet(QStringLiteral("font-weight: bold;"));
      pairs[row][index] = label;
    }
  }
  lblTitleMain[0]->setBuddy(tvReports);
  lblTitleMain[1]->setBuddy(lvReports);
}

void frmExportAssistant::ConnectPanes() {
  const struct {
    TreeView* tree;
    ListView* list;
    Tree which;
  } panes[] = {{tvReports, lvReports, Tree::kReports},
               {tvUserQueries, lvUserQueries, Tree::kUserQueries},
               {tvTopLevelTables, lvTopLevelTables, Tree::kTables}};
  for (const auto& pane : panes) {
    connect(pane.tree, &TreeView::NodeClick, this, [this, pane](QTreeWidgetItem* node) {
      usedLast_ = pane.which;
      NodeClick(pane.tree, pane.list, node);
    });
    connect(pane.tree, &TreeView::Expand, this,
            [this, pane](QTreeWidgetItem* node) { NodeExpand(pane.tree, pane.list, node); });
  }
  connect(lvReports, &ListView::ItemClick, this, [this](int row) { lvReports_ItemClick(row); });
  connect(lvReports, &ListView::ColumnClick, this, [this](int index) {
    RunGuarded([&] { assistant_.SortColumn(*lvReports, index); });
  });
  connect(lvUserQueries, &ListView::ColumnClick, this, [this](int index) {
    RunGuarded([&] { assistant_.SortColumn(*lvUserQueries, index); });
  });
  connect(lvTopLevelTables, &ListView::ColumnClick, this,
          [this](int index) { lvTopLevelTables_ColumnClick(index); });
}

void frmExportAssistant::RunGuarded(const std::function<void()>& work) { app::Guarded(work, &ReportPaneError); }

void frmExportAssistant::NodeClick(TreeView* tree, ListView* list, QTreeWidgetItem* node) {
  RunGuarded([&] {
    assistant_.SetNode(tree, list);
    assistant_.ListProperties(*tree, node);
  });
}

void frmExportAssistant::NodeExpand(TreeView* tree, ListView* list, QTreeWidgetItem* node) {
  RunGuarded([&] {
    setCursor(Qt::WaitCursor);
    assistant_.SetNode(tree, list);
    assistant_.ExpandNode(node);
    unsetCursor();
  });
}

void frmExportAssistant::lvReports_ItemClick(int row) {
  RunGuarded([&] {
    const QString queryName = lvReports->Model().ItemText(row, 0);
    const int queryId = lvReports->Model().ItemText(row, 1).toInt();
    if (queryName.isEmpty()) return;
    assistant_.SetNode(tvUserQueries, lvUserQueries);
    lvUserQueries->Model().ClearColumnHeaders();
    lvUserQueries->Model().ClearItems();
    assistant_.InitializeUserQueryNode(queryName, queryId);
  });
}

// --- Placement and layout ---------------------------------------------------

void frmExportAssistant::LoadPlacement() {
  placement_ = kDefaultPlacement;
  try {
    placement_ = platform::ReadWindowPlacement(PlacementName(), kSection, kDefaultPlacement);
  } catch (const platform::AppError&) {
    // A damaged stored placement is no reason not to open: the defaults do.
  }
  platform::ApplyPlacementInTwips(*this, placement_);
  layout_.splitter = kSplitterShare * std::round(static_cast<float>(width()) * TwipsPerPixel());
  SizeControls(layout_.splitter);
}

void frmExportAssistant::SavePlacement() {
  if (isMinimized()) return;
  platform::SaveWindowPlacement(PlacementName(), kSection, platform::PlacementInTwips(*this));
}

PaneFrame frmExportAssistant::Frame() const {
  const float scale = TwipsPerPixel();
  const QWidget* client = picTitles->parentWidget();
  PaneFrame frame;
  frame.windowWidth = std::round(static_cast<float>(width()) * scale);
  frame.innerHeight = std::round(static_cast<float>(client->height()) * scale);
  frame.titlesHeight = kTitleStripHeight;
  frame.toolbarHeight = std::round(static_cast<float>(tbToolBar->sizeHint().height()) * scale);
  frame.toolbarVisible = tbToolBar->isVisibleTo(this);
  frame.statusHeight = std::round(static_cast<float>(sbStatusBar->sizeHint().height()) * scale);
  frame.statusVisible = sbStatusBar->isVisibleTo(this);
  return frame;
}

void frmExportAssistant::Place(QWidget* widget, const TwipsRect& rect) const {
  const float scale = TwipsPerPixel();
  auto px = [scale](float twips) { return static_cast<int>(std::lround(twips / scale)); };
  widget->setGeometry(px(rect.left), px(rect.top), px(rect.width), px(rect.height));
}

void frmExportAssistant::SizeControls(float x) {
  const PaneFrame frame = Frame();
  layout_ = assistant::SizeControls(frame, x);
  TreeView* trees[3] = {tvReports, tvUserQueries, tvTopLevelTables};
  ListView* lists[3] = {lvReports, lvUserQueries, lvTopLevelTables};
  QLabel** titles[3] = {lblTitleMain, lblTitleQueries, lblTitleTopTables};
  const float toolbarHeight = frame.toolbarVisible ? frame.toolbarHeight : 0;
  Place(tbToolBar, {0, 0, frame.windowWidth, toolbarHeight});
  Place(picTitles, {0, toolbarHeight, frame.windowWidth, frame.titlesHeight});
  Place(Picture2, layout_.picture2);
  for (int row = 0; row < 3; ++row) {
    Place(trees[row], layout_.trees[row]);
    Place(lists[row], layout_.lists[row]);
    Place(titles[row][0], layout_.treeTitles[row]);
    Place(titles[row][1], layout_.listTitles[row]);
    titles[row][0]->raise();
    titles[row][1]->raise();
  }
  Place(imgSplitter, layout_.splitterBar);
  Place(sbStatusBar, {0, frame.innerHeight - frame.statusHeight, frame.windowWidth, frame.statusHeight});
}

void frmExportAssistant::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  // The stored size includes the frame, which is known once the window is.
  if (!placed_) {
    platform::ApplyPlacementInTwips(*this, placement_);
    // The trees were just made from the file as it is.
    rereads_->MarkRead();
  }
  placed_ = true;
}

void frmExportAssistant::resizeEvent(QResizeEvent* event) {
  QDialog::resizeEvent(event);
  const float scale = TwipsPerPixel();
  if (static_cast<float>(width()) * scale < kMinimumWindowWidth - scale / 2) {
    resize(static_cast<int>(std::lround(kMinimumWindowWidth / scale)), height());
    return;
  }
  imgSplitter->raise();
  SizeControls(layout_.splitter);
}

void frmExportAssistant::imgSplitter_MouseDown() {
  picSplitter->raise();
  const TwipsRect& bar = layout_.splitterBar;
  dragBarLeft_ = bar.left;
  Place(picSplitter, {bar.left, bar.top, static_cast<float>(static_cast<int>(bar.width) / 2), bar.height - 20});
  picSplitter->show();
  moving_ = true;
}

void frmExportAssistant::imgSplitter_MouseMove(float x) {
  if (!moving_) return;
  dragBarLeft_ = DragBarLeft(Frame().windowWidth, layout_.splitterBar.left + x);
  const TwipsRect& bar = layout_.splitterBar;
  Place(picSplitter, {dragBarLeft_, bar.top, static_cast<float>(static_cast<int>(bar.width) / 2), bar.height - 20});
}

void frmExportAssistant::imgSplitter_MouseUp() {
  if (!moving_) return;
  SizeControls(dragBarLeft_);
  picSplitter->hide();
  moving_ = false;
}

// --- Closing ----------------------------------------------------------------

void frmExportAssistant::closeEvent(QCloseEvent* event) {
  SavePlacement();
  event->accept();
  QDialog::closeEvent(event);
}

void frmExportAssistant::reject() {
  // Esc and the close box both end here; both keep the placement.
  SavePlacement();
  QDialog::reject();
}

void frmExportAssistant::mnuFileExit_Click() { reject(); }

// --- Commands ---------------------------------------------------------------

void frmExportAssistant::mnuFileNew_Click() { mnuEditNew_Click(); }

void frmExportAssistant::mnuEditNew_Click() {
  if (editors_.showReport) editors_.showReport(kNewReportMarker);
}

void frmExportAssistant::mnuEditEdit_Click() {
  RunGuarded([&] {
    QTreeWidgetItem* query = tvUserQueries->SelectedItem();
    if (usedLast_ == Tree::kUserQueries && query) {
      const int queryId = TreeView::Tag(query).toInt();
      const auto& editor = query->text(0) == QStringLiteral("Destination")  ? editors_.showQueryDestination
                           : query->text(0) == QStringLiteral("Parameters") ? editors_.showQueryParameters
                                                                            : nullptr;
      if (editor) {
        const QString key = TreeView::Key(query);
        editor(queryId);
        // Saving may have built the tree again, so the node is found anew
        // rather than used from before; the list shows what was saved.
        if (QTreeWidgetItem* again = tvUserQueries->FindNode(key)) NodeClick(tvUserQueries, lvUserQueries, again);
        return;
      }
    }
    QTreeWidgetItem* report = tvReports->SelectedItem();
    if (editors_.showReport && report) editors_.showReport(TreeView::Tag(report).toInt());
  });
}

void frmExportAssistant::RefreshReportNode(QTreeWidgetItem* node) {
  if (!node) return;
  tvReports->SelectNode(node);
  NodeClick(tvReports, lvReports, node);
}

void frmExportAssistant::RefreshReportTree() {
  RunGuarded([&] {
    const QString selectedKey = TreeView::Key(tvReports->SelectedItem());
    QTreeWidgetItem* folder = tvReports->FindNode(QStringLiteral("Output Report"));
    if (!folder) return;
    if (folder->isExpanded()) {
      NodeExpand(tvReports, lvReports, folder);
    } else {
      folder->setExpanded(true);  // the expansion fills it
    }
    QTreeWidgetItem* again = tvReports->FindNode(selectedKey);
    RefreshReportNode(again ? again : folder);
  });
}

void frmExportAssistant::mnuEditAdd_Click() {
  RunGuarded([&] {
    QTreeWidgetItem* report = tvReports->SelectedItem();
    if (usedLast_ != Tree::kReports || !report || !editors_.showReportQueries) return;
    editors_.showReportQueries(TreeView::Tag(report).toInt());
    RefreshReportNode(tvReports->FindNode(TreeView::Key(report)));
  });
}

void frmExportAssistant::mnuEditDelete_Click() {
  RunGuarded([&] {
    QTreeWidgetItem* report = tvReports->SelectedItem();
    if (!report) return;
    if (usedLast_ == Tree::kReports) {
      if (!editors_.deleteReport) return;
      // The tree is listed again so the report is gone from it; its folder is then the one selected.
      if (editors_.deleteReport(report->text(0), TreeView::Tag(report).toInt())) RefreshReportTree();
      return;
    }
    const int row = lvReports->currentIndex().row();
    if (!editors_.removeQueryFromReport || row < 0) return;
    const int queryId = lvReports->Model().ItemText(row, 1).toInt();
    if (editors_.removeQueryFromReport(TreeView::Tag(report).toInt(), queryId)) RefreshReportNode(report);
  });
}

void frmExportAssistant::mnuOptionsAutoFitExcelColumns_Click() {
  gAutoFitExcelColumns = !gAutoFitExcelColumns;
  mnuOptionsAutoFitExcelColumns->setChecked(gAutoFitExcelColumns);
}

void frmExportAssistant::mnuHelpWhatsThis_Click() {
  platform::dialogs().MsgBox(QuickTutorial(), platform::vbInformation,
                             ApplicationTitle() + QStringLiteral(" - Export Assistant"));
}

void frmExportAssistant::tbToolBar_xl_Click() {
  QTreeWidgetItem* node = tvReports->SelectedItem();
  bool isNumber = false;
  const int outputId = TreeView::Tag(node).toString().toInt(&isNumber);
  if (!node || !isNumber) {
    platform::dialogs().MsgBox(QStringLiteral("You must select a valid user report to export to Excel.  Please try "
                                              "again after selecting a valid report."),
                               platform::vbInformation, kTitle);
    return;
  }
  app::Guarded(
      [&] {
        basExporter::RunContext context{*gDatabase, gFile ? gFile->CurrentFile() : QString(),
                                        [this](const QString& text) {
                                          sbStatusBar->showMessage(text);
                                          sbStatusBar->repaint();
                                        }};
        setCursor(Qt::WaitCursor);
        basExporter::ExportReport(node->text(0), outputId, context);
        unsetCursor();
      },
      app::ReportForHandler());
  unsetCursor();
}

void frmExportAssistant::lvTopLevelTables_ColumnClick(int index) {
  app::Guarded(
      [&] {
        ListView& list = *lvTopLevelTables;
        const int column = index - 1;
        const QString caption = list.Model().ColumnCaption(column);
        // One order for the whole browser, turned over by every click.
        const Qt::SortOrder order = tableSortOrder_;
        tableSortOrder_ = order == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder;
        if (kNumberColumns.contains(caption)) {
          SortByNumber(list, column, order);
        } else if (kDateColumns.contains(caption)) {
          SortByDate(list, column, order);
        } else if (caption == QStringLiteral("Time Block")) {
          SortByTimeBlock(list, column, order);
        } else {
          list.SetSortKey(column);
          list.SetSortOrder(order);
          list.SetSorted(true);
        }
      },
      app::ReportForHandlerDuring(QStringLiteral(" frmExportAssistant::lvTopLevelTables::ColumnClick")));
}

}  // namespace assistant
