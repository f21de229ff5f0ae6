#include "app/frm_tabulon.h"

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>

#include "app/end_program.h"
#include "app/error_guard.h"
#include "app/export_assistant_hook.h"
#include "app/fill_list_from_db.h"
#include "app/frm_about_qor.h"
#include "app/instance_channel.h"
#include "app/lock_wait_setting.h"
#include "app/odbc_mapping_setting.h"
#include "app/mglobals.h"
#include "app/reread_on_change.h"
#include "app/run_progress_dialog.h"
#include "export/bas_exporter.h"
#include "export/excel_slots.h"
#include "platform/ui/desktop_window.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/login_name.h"
#include "platform/ui/mouse_pointer.h"
#include "reportdb/report_store.h"

// The resources of a static library are registered by hand, outside any namespace.
static void LoadAppResources() { Q_INIT_RESOURCE(app); }

namespace {

const QString kCrLf = QStringLiteral("\r\n");
const QString kDatabaseFilter = QStringLiteral("Access Database (*.mdb)|*.mdb");
// Names of one or two characters cannot be a database file.
constexpr int kShortestFileName = 3;
constexpr int kYesNoQuestionNoDefault = platform::vbYesNo | platform::vbQuestion | platform::vbDefaultButton2;

QString RunQuestion() {
  return QStringLiteral(
             "The selected report will be run with the currently defined parameters (if needed) and destination "
             "settings.") +
         kCrLf + kCrLf + QStringLiteral("*Use the Tabulon Export Assistant to find and change report parameters.") +
         kCrLf + kCrLf + QStringLiteral("Run the report now?");
}

QIcon ExportAssistantIcon() {
  LoadAppResources();
  return QIcon(QStringLiteral(":/app/export_assistant.svg"));
}

}  // namespace

frmTabulon::frmTabulon(QWidget* parent) : QMainWindow(parent) {
  setObjectName(QStringLiteral("frmTabulon"));
  setWindowTitle(gApp ? gApp->ProductName() : QStringLiteral("Tabulon"));
  resize(480, 360);
  lstAvailableQueries = new QListWidget(this);
  lstAvailableQueries->setObjectName(QStringLiteral("lstAvailableQueries"));
  setCentralWidget(lstAvailableQueries);
  connect(lstAvailableQueries, &QListWidget::itemDoubleClicked, this, [this] { lstAvailableQueries_DblClick(); });
  BuildMenus();
  BuildStatusBar();
  rereads_ = new app::RereadOnChange(*this, {[] { return gDatabase.get(); }, [this] { ListReportsAgain(); },
                                             app::ReportForHandler()});
  app::ListenForActivation(this, windowTitle(), [this] {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
  });
}

void frmTabulon::BuildMenus() {
  QMenu* file = menuBar()->addMenu(tr("&File"));
  mnuFileOpen = file->addAction(tr("&Open..."), this, [this] { mnuFileOpen_Click(); });
  file->addSeparator();
  mnuFileExit = file->addAction(tr("E&xit"), this, [this] { mnuFileExit_Click(); });
  QMenu* edit = menuBar()->addMenu(tr("&Edit"));
  mnuEditExcelTemplates = edit->addAction(ExportAssistantIcon(), tr("Excel Export &Assistant..."), this,
                                          [this] { mnuEditExcelTemplates_Click(); });
  QMenu* help = menuBar()->addMenu(tr("&Help"));
  mnuHelpContents = help->addAction(tr("&Contents"), this, [this] { mnuHelpContents_Click(); });
  mnuHelpContents->setShortcut(QKeySequence::HelpContents);
  mnuHelpAbout = help->addAction(tr("&About Tabulon..."), this, [this] { mnuHelpAbout_Click(); });

  tbToolBar = addToolBar(tr("Tools"));
  tbToolBar->setObjectName(QStringLiteral("tbToolBar"));
  tbToolBar->addAction(mnuFileOpen);
  QAction* xl = tbToolBar->addAction(ExportAssistantIcon(), tr("Export Assistant"), this, [this] {
    app::Guarded([this] { mnuEditExcelTemplates_Click(); }, app::ReportForHandler());
  });
  xl->setObjectName(QStringLiteral("xl"));
  tbToolBar->addAction(mnuHelpContents);
}

void frmTabulon::BuildStatusBar() {
  sbExcelExporter = statusBar();
  sbExcelExporter->setObjectName(QStringLiteral("sbExcelExporter"));
  for (const QString& key : {QStringLiteral("Source"), QStringLiteral("User"), QStringLiteral("Status")}) {
    auto* panel = new QLabel(this);
    panel->setObjectName(key);
    sbExcelExporter->addWidget(panel, key == QStringLiteral("Source") ? 2 : 1);
    panels_.insert(key, panel);
  }
}

QString frmTabulon::PanelText(const QString& key) const {
  const QLabel* panel = panels_.value(key);
  return panel ? panel->text() : QString();
}

void frmTabulon::SetPanelText(const QString& key, const QString& text) {
  if (QLabel* panel = panels_.value(key)) panel->setText(text);
}

void frmTabulon::Load() {
  gRegistry = std::make_unique<CRegistry>();
  gRegistry->SetRegMainKey(QString::fromLatin1(kFamilyMainKey));
  app::ApplyLockWaitSetting(*gRegistry);
  app::ApplyOdbcMappingSetting(*gRegistry);
  // Only the family's other programs record this path; a choice made here
  // is asked for again at the next start.
  const QString path = !gCommandLineDatabase.isEmpty()
                           ? gCommandLineDatabase
                           : gRegistry->ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), QString());
  gFile->SetCurrentFile(path);
  gFile->SetCurrentPath(CFile::FilePath(path));
  if (gFile->CurrentFile().size() < kShortestFileName) {
    gFile->SetCurrentFile(AskForDatabaseAtLoad(path));
    if (gFile->CurrentFile().size() < kShortestFileName) {
      platform::dialogs().MsgBox(QStringLiteral("Please locate a valid Access database"), platform::vbExclamation,
                                 QStringLiteral("Tabulon"));
      return;
    }
  }
  OpenReportDatabase(gFile->CurrentFile());
  gDatabaseLoaded = true;
}

QString frmTabulon::AskForDatabaseAtLoad(const QString& recordedPath) {
  return gFile->FileOpen(QStringLiteral("Location of database"), kDatabaseFilter, recordedPath,
                         QStringLiteral("Exit?"), QString());
}

void frmTabulon::OpenReportDatabase(const QString& fileName) {
  gWorkspace = &dao::DBEngine::Workspaces(0);
  gDatabase = gWorkspace->OpenDatabase(fileName, false, false);
  // Templates named by the report tables are looked for beside the database.
  gTemplateSearch.database_folder = CFile::FilePath(fileName);
  ListReports();
  ShowSourceAndUser();
}

void frmTabulon::ListReports(const QVariant& select) {
  rereads_->MarkRead();
  basExportAssistantUtilities::FillListFromDB(*gDatabase, *lstAvailableQueries, QStringLiteral("tblExportableResults"),
                                              QStringLiteral("OutputID"), QStringLiteral("Abbreviation"), select);
}

void frmTabulon::ListReportsAgain() {
  auto keyOf = [](const QListWidgetItem* item) { return item ? item->data(Qt::UserRole) : QVariant(); };
  const QVariant chosen = keyOf(lstAvailableQueries->currentItem());
  const QVariant top = keyOf(lstAvailableQueries->itemAt(0, 0));
  ListReports(chosen);
  if (!top.isValid()) return;
  const int row = reportdb::FindListItem(*lstAvailableQueries, top);
  if (row >= 0) lstAvailableQueries->scrollToItem(lstAvailableQueries->item(row), QAbstractItemView::PositionAtTop);
}

void frmTabulon::ShowSourceAndUser() {
  SetPanelText(QStringLiteral("Source"), QStringLiteral("Source: ") + gFile->CurrentFile().trimmed());
  SetPanelText(QStringLiteral("User"), QStringLiteral("User: ") + platform::LoginName().trimmed());
  sbExcelExporter->repaint();
}

void frmTabulon::lstAvailableQueries_DblClick() {
  QListWidgetItem* item = lstAvailableQueries->currentItem();
  if (!item || !gDatabase) return;
  const int answer = platform::dialogs().MsgBox(RunQuestion(), platform::vbYesNo | platform::vbQuestion,
                                                gApp->Title());
  // No leads the user to the Export Assistant, where reports are changed.
  if (answer != platform::vbYes) {
    mnuEditExcelTemplates_Click();
    return;
  }
  platform::SetMousePointer(platform::vbHourglass);
  const QString reportName = item->text();
  const qint32 outputId = item->data(Qt::UserRole).toInt();
  app::RunProgressDialog progress(reportName, this);
  basExporter::RunContext context{*gDatabase, gFile->CurrentFile(),
                                  [this](const QString& text) {
                                    SetPanelText(QStringLiteral("Status"), text);
                                    repaint();
                                  },
                                  &progress};
  progress.show();
  basExporter::ExportReport(reportName, outputId, context);
  progress.close();
  platform::SetMousePointer(platform::vbDefault);
}

void frmTabulon::mnuFileOpen_Click() {
  try {
    platform::FileDialogRequest request;
    request.title = QStringLiteral("Location of Database");
    request.filter = kDatabaseFilter;
    request.initialDir = gRegistry ? gRegistry->ReadRegistry(QStringLiteral("File"),
                                                             QStringLiteral("LatestDatabasePath"), QString())
                                   : QString();
    const QString chosen = platform::dialogs().ShowOpen(request).value_or(QString());
    if (chosen.isEmpty()) {
      ++fileOpenCancels_;
      if (fileOpenCancels_ >= 1 &&
          platform::dialogs().MsgBox(QStringLiteral("Close Excel Export Assistant?"), kYesNoQuestionNoDefault,
                                     QStringLiteral("Close?")) == platform::vbYes) {
        app::EndProgramNow();
      }
      return;
    }
    if (chosen.size() < kShortestFileName) return;
    gFile->SetCurrentFile(chosen);
    OpenReportDatabase(chosen);
  } catch (const platform::AppError&) {
    platform::dialogs().MsgBox(
        QStringLiteral("Unexpected error accessing the database.  Contact system provider if you are unable to "
                       "resolve this problem.  Operation cancelled."),
        platform::vbCritical, QStringLiteral("Excel Export Assistant"));
  }
}

void frmTabulon::mnuEditExcelTemplates_Click() {
  if (!gDatabase) return;
  app::OpenExportAssistant(this);
  // Closing the Assistant ends the program, through the main window's own
  // closing so that its placement is kept.
  close();
}

void frmTabulon::mnuFileExit_Click() { app::EndProgramNow(); }

void frmTabulon::mnuHelpContents_Click() {
  if (!platform::DisplayHelp(this, gApp->HelpFile())) {
    platform::dialogs().MsgBox(QStringLiteral("The help file ") + gApp->HelpFile() +
                                   QStringLiteral(" could not be shown."),
                               platform::vbExclamation, gApp->Title());
  }
}

void frmTabulon::mnuHelpAbout_Click() {
  frmAboutQor about(this);
  about.exec();
}

void frmTabulon::SavePlacement() {
  // A minimised window's size says nothing about where the user wants it.
  if (isMinimized()) return;
  platform::SaveWindowPlacement(gApp->Title(), QStringLiteral("Settings"), platform::PlacementInTwips(*this));
}

void frmTabulon::closeEvent(QCloseEvent* event) {
  SavePlacement();
  gMainWindow = nullptr;
  event->accept();
  QCoreApplication::quit();
}
