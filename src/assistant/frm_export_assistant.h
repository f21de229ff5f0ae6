// frmExportAssistant: the window in which reports are seen and managed and
// the database's tables browsed. Three rows of a tree beside a list (the
// reports and a report's queries; a query's destination and parameters;
// the tables and a table's rows), one splitter for all three, menus and a
// toolbar whose "xl" runs the selected report. Closing it ends the program.
#pragma once

#include <QDialog>

#include "assistant/pane_layout.h"
#include "assistant/report_editors.h"
#include "platform/settings/application_settings.h"

class QAction;
class QLabel;
class QMenuBar;
class QStatusBar;
class QToolBar;
class QTreeWidgetItem;

namespace app {
class RereadOnChange;
}

namespace assistant {

class CExportAssistant;
class ListView;
class TreeView;
class SplitterHandle;

class frmExportAssistant : public QDialog {
  Q_OBJECT

 public:
  frmExportAssistant(CExportAssistant& assistant, ReportEditors editors, QWidget* parent = nullptr);

  // The settings' application name for the placement.
  static QString PlacementName();

  // Lays the panes out with the splitter at `x` twips.
  void SizeControls(float x);
  const PaneLayout& Layout() const { return layout_; }
  float TwipsPerPixel() const;

  // Shows the reports afresh after an editor changed them: the report
  // folder listed again and the node that was selected chosen again (its
  // folder when it is gone).
  void RefreshReportTree();

  // --- Handlers, as the menus, toolbar and panes call them ---
  void mnuFileNew_Click();
  void mnuFileExit_Click();
  void mnuEditNew_Click();
  void mnuEditEdit_Click();
  void mnuEditAdd_Click();
  void mnuEditDelete_Click();
  void mnuOptionsAutoFitExcelColumns_Click();
  void mnuHelpWhatsThis_Click();
  void tbToolBar_xl_Click();
  void lvTopLevelTables_ColumnClick(int index);

  // The splitter drag, in twips from the splitter's left.
  void imgSplitter_MouseDown();
  void imgSplitter_MouseMove(float x);
  void imgSplitter_MouseUp();

  TreeView* tvReports = nullptr;
  ListView* lvReports = nullptr;
  TreeView* tvUserQueries = nullptr;
  ListView* lvUserQueries = nullptr;
  TreeView* tvTopLevelTables = nullptr;
  ListView* lvTopLevelTables = nullptr;
  QLabel* lblTitleMain[2] = {};
  QLabel* lblTitleQueries[2] = {};
  QLabel* lblTitleTopTables[2] = {};
  SplitterHandle* imgSplitter = nullptr;
  QWidget* picSplitter = nullptr;
  QWidget* picTitles = nullptr;
  QWidget* Picture2 = nullptr;
  QToolBar* tbToolBar = nullptr;
  QStatusBar* sbStatusBar = nullptr;
  QMenuBar* menuBar = nullptr;
  QAction* mnuFileNew = nullptr;
  QAction* mnuFileExit = nullptr;
  QAction* mnuEditNew = nullptr;
  QAction* mnuEditAdd = nullptr;
  QAction* mnuEditEdit = nullptr;
  QAction* mnuEditDelete = nullptr;
  QAction* mnuOptionsAutoFitExcelColumns = nullptr;
  QAction* mnuHelpWhatsThis = nullptr;
  QAction* xl = nullptr;

 protected:
  void showEvent(QShowEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void reject() override;

 private:
  enum class Tree { kReports, kUserQueries, kTables };

  void BuildPanes();
  void BuildTitles();
  void BuildMenus();
  void BuildToolBar();
  void ConnectPanes();
  void LoadPlacement();
  void SavePlacement();
  PaneFrame Frame() const;
  void Place(QWidget* widget, const TwipsRect& rect) const;

  void NodeClick(TreeView* tree, ListView* list, QTreeWidgetItem* node);
  void NodeExpand(TreeView* tree, ListView* list, QTreeWidgetItem* node);
  void lvReports_ItemClick(int row);
  void RefreshReportNode(QTreeWidgetItem* node);
  void RunGuarded(const std::function<void()>& work);

  // The panes read again from the file, each keeping what was expanded,
  // chosen and scrolled to where it is still there (pane_reread.cpp).
  void ReadPanesAgain();
  void ReadTreeAgain(TreeView* tree, ListView* list);
  void ReadQueryPaneAgain();
  // Chooses the node of `key` again and lists it beside; with the node gone
  // the list is emptied.
  void ChooseAgain(TreeView* tree, ListView* list, const QString& key);

  CExportAssistant& assistant_;
  ReportEditors editors_;
  app::RereadOnChange* rereads_ = nullptr;
  PaneLayout layout_;
  platform::WindowPlacement placement_;
  bool placed_ = false;
  Tree usedLast_ = Tree::kReports;
  bool moving_ = false;
  float dragBarLeft_ = 0;
  Qt::SortOrder tableSortOrder_ = Qt::AscendingOrder;
};

}  // namespace assistant
