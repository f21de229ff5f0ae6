// frmTabulon: the main window. One list of reports; a double-click runs the
// chosen one into a workbook. The status bar shows which database is open,
// who is working and how a run is going.
#pragma once

#include <QMainWindow>
#include <QMap>

class QAction;
class QLabel;
class QListWidget;
class QStatusBar;
class QToolBar;

namespace app {
class RereadOnChange;
}

class frmTabulon : public QMainWindow {
  Q_OBJECT

 public:
  explicit frmTabulon(QWidget* parent = nullptr);

  // Opens the family's recorded database, or asks for one, and lists its
  // reports. Errors reach the caller: start-up reports them.
  void Load();

  void lstAvailableQueries_DblClick();
  void mnuFileOpen_Click();
  // Opens the Export Assistant; when it closes the program ends.
  void mnuEditExcelTemplates_Click();
  void mnuFileExit_Click();
  void mnuHelpContents_Click();
  void mnuHelpAbout_Click();

  QString PanelText(const QString& key) const;
  void SetPanelText(const QString& key, const QString& text);

  QListWidget* lstAvailableQueries = nullptr;
  QStatusBar* sbExcelExporter = nullptr;
  QToolBar* tbToolBar = nullptr;
  QAction* mnuFileOpen = nullptr;
  QAction* mnuFileExit = nullptr;
  QAction* mnuEditExcelTemplates = nullptr;
  QAction* mnuHelpContents = nullptr;
  QAction* mnuHelpAbout = nullptr;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void BuildMenus();
  void BuildStatusBar();
  QString AskForDatabaseAtLoad(const QString& recordedPath);
  void OpenReportDatabase(const QString& fileName);
  // Fills the list from the open database; `select` is the key of the report
  // to choose, if any.
  void ListReports(const QVariant& select = QVariant());
  // Lists the reports again with the same one chosen and the same one at
  // the top, where they are still there.
  void ListReportsAgain();
  void ShowSourceAndUser();
  void SavePlacement();

  app::RereadOnChange* rereads_ = nullptr;
  QMap<QString, QLabel*> panels_;
  int fileOpenCancels_ = 0;
};
