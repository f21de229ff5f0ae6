// The report layer: the input is a whole database file, opened as the
// program opens it. Its reports are listed and each one's queries,
// destinations and stored parameter and macro lists are read through the
// report store, and the Export Assistant's three trees are filled on the
// offscreen platform: reports and their queries, a query's destination and
// parameters, the top-level tables with their fields and first rows.
//
// A damaged file must come back as the program's own message in a box: the
// harness catches the program's errors (AppError) only, the way an event
// handler does, so anything else that escapes ends the run with its input.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QListWidget>
#include <QSet>
#include <QTreeWidgetItem>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include "app/fill_list_from_db.h"
#include "app/mglobals.h"
#include "assistant/cexport_assistant.h"
#include "assistant/export_assistant_opening.h"
#include "assistant/frm_export_assistant.h"
#include "assistant/list_view.h"
#include "assistant/tree_view.h"
#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/message_box_style.h"
#include "reportdb/stored_lists.h"
#include "scratch_file.h"

namespace {

using assistant::CExportAssistant;
using assistant::gExportAssistant;

// Enough of each kind to reach every path; a file with thousands of reports
// would otherwise make one input take seconds.
constexpr int kReportsRead = 4;
constexpr int kQueriesPerReport = 3;
constexpr int kTablesShown = 16;
constexpr int kRowsShown = 5;

const QString kAssistantTitle = QStringLiteral("Excel Export Assistant");

// Nobody sits at the boxes: each is answered with its most cautious button
// (No or Cancel where it has one), and a file dialog is cancelled. With
// REPORT_LAYER_SHOW_BOXES set, each box is printed, to see what an input
// made the program say.
class AnsweringDialogs : public platform::Dialogs {
 public:
  int MsgBox(const QString& prompt, int style, const QString& title) override {
    static const bool show = qEnvironmentVariableIsSet("REPORT_LAYER_SHOW_BOXES");
    if (show) fprintf(stderr, "[%s] %s\n", qPrintable(title), qPrintable(prompt));
    const QVector<platform::MsgBoxResult> buttons = platform::ButtonsOf(style);
    return buttons.isEmpty() ? platform::vbOK : buttons.last();
  }
  std::optional<QString> ShowOpen(const platform::FileDialogRequest& request) override {
    return platform::AnswerToCancel(request);
  }
  std::optional<QString> ShowSave(const platform::FileDialogRequest& request) override {
    return platform::AnswerToCancel(request);
  }
};

AnsweringDialogs gAnswering;

// As an event handler of the windows: the program's own error is shown and
// the step abandoned. Standard exceptions are not caught on purpose.
bool AsHandler(const std::function<void()>& work) {
  try {
    work();
    return true;
  } catch (const platform::AppError& error) {
    platform::dialogs().MsgBox(QStringLiteral("Error: ") + error.Description(), platform::vbExclamation,
                               kAssistantTitle);
  }
  return false;
}

reportdb::StoreServices ProgramServices() {
  reportdb::StoreServices services;
  services.programDatabase = [] { return gDatabase.get(); };
  services.reportError = [](const QString& message, const platform::AppError&) {
    platform::dialogs().MsgBox(message, platform::vbExclamation, kAssistantTitle);
  };
  return services;
}

QVector<reportdb::Key> KeysOf(std::unique_ptr<dao::Recordset> records, int field, int most) {
  QVector<reportdb::Key> keys;
  if (!records) return keys;
  for (; !records->IsEOF() && keys.size() < most; records->MoveNext()) keys.append(records->Value(field).toInt());
  return keys;
}

// A query's destination and lists as the destination and parameter editors
// read them from the store.
void ReadUserQuery(CExportAssistant& store, reportdb::Key queryId) {
  AsHandler([&] {
    if (std::unique_ptr<dao::Recordset> row = store.InitQueryDestination(queryId); row && !row->IsEOF()) {
      for (const char* field : {"Author", "ExcelTemplate", "ExcelSheetName", "ExcelTargetRow", "ExcelTargetColumn"}) {
        (void)row->Fields(QLatin1String(field)).Value().toString().trimmed();
      }
      (void)reportdb::ReadExcelMacros(row->Fields(QStringLiteral("ExcelMacros")).Value());
    }
    if (std::unique_ptr<dao::Recordset> row = store.InitQueryParameters(queryId); row && !row->IsEOF()) {
      (void)reportdb::ReadQueryParameters(row->Fields(QStringLiteral("DefaultQueryParameters")).Value());
    }
  });
}

// The report editor's and the query selection editor's reads of a report.
void ReadReport(CExportAssistant& store, reportdb::Key outputId, QSet<reportdb::Key>* queriesRead) {
  AsHandler([&] {
    if (std::unique_ptr<dao::Recordset> report = store.ShowOutputReport(outputId); report && !report->IsEOF()) {
      for (const char* field : {"DateCreated", "Author", "Description"}) {
        (void)report->Fields(QLatin1String(field)).Value();
      }
    }
  });
  const QVector<reportdb::Key> members = KeysOf(store.InitSelectedReportQueries(outputId), 0, kQueriesPerReport);
  QListWidget list;
  store.ShowReportQueriesByKey(list, members, 0, outputId);
  if (!members.isEmpty()) {
    store.ShowSelectedReportQueries(list, members);
    (void)store.AvailableReportQueries(members);
  }
  for (reportdb::Key queryId : members) {
    if (queriesRead->contains(queryId)) continue;
    queriesRead->insert(queryId);
    ReadUserQuery(store, queryId);
  }
}

// The top pane: the reports, each one's queries in the list, and for each
// query the middle pane's destination and parameters.
void ShowReports(CExportAssistant& store, assistant::frmExportAssistant& window) {
  store.SetNode(window.tvReports, window.lvReports);
  QTreeWidgetItem* folder = window.tvReports->FindNode(QStringLiteral("Output Report"));
  if (!folder) return;
  store.ExpandNode(folder);
  QSet<reportdb::Key> queriesRead;
  QSet<QString> queriesShown;
  for (int i = 0; i < folder->childCount() && i < kReportsRead; ++i) {
    QTreeWidgetItem* report = folder->child(i);
    store.SetNode(window.tvReports, window.lvReports);
    store.ListProperties(*window.tvReports, report);
    ReadReport(store, assistant::TreeView::Tag(report).toInt(), &queriesRead);

    const assistant::ListViewModel& members = window.lvReports->Model();
    for (int row = 0; row < members.ItemCount() && row < kQueriesPerReport; ++row) {
      const QString queryName = members.ItemText(row, 0);
      if (queryName.isEmpty() || queriesShown.contains(queryName)) continue;
      queriesShown.insert(queryName);
      store.SetNode(window.tvUserQueries, window.lvUserQueries);
      store.InitializeUserQueryNode(queryName, members.ItemText(row, 1).toInt());
      QTreeWidgetItem* root = window.tvUserQueries->Root();
      for (int child = 0; root && child < root->childCount(); ++child) {
        store.ListProperties(*window.tvUserQueries, root->child(child));
      }
    }
  }
}

// The bottom pane: the tables, a few of them opened to their fields, and
// their first rows as the list shows them.
void ShowTables(CExportAssistant& store, assistant::frmExportAssistant& window) {
  store.SetNode(window.tvTopLevelTables, window.lvTopLevelTables);
  QTreeWidgetItem* folder = window.tvTopLevelTables->FindNode(QStringLiteral("Top Level Tables"));
  if (!folder) return;
  store.ExpandNode(folder);
  for (int i = 0; i < folder->childCount() && i < kTablesShown; ++i) {
    QTreeWidgetItem* table = folder->child(i);
    store.ExpandNode(table);
    store.ListProperties(*window.tvTopLevelTables, table);
    const assistant::ListViewModel& rows = window.lvTopLevelTables->Model();
    for (int row = 0; row < rows.ItemCount() && row < kRowsShown; ++row) {
      for (int column = 0; column < rows.columnCount(); ++column) (void)rows.ItemText(row, column);
    }
  }
}

void ExerciseReportLayer(const QString& path) {
  const bool opened = AsHandler([&] {
    gWorkspace = &dao::DBEngine::Workspaces(0);
    gDatabase = gWorkspace->OpenDatabase(path, false, false);
  });
  if (opened) {
    // The main window's list, then the Assistant as its opening fills it.
    QListWidget lstAvailableQueries;
    basExportAssistantUtilities::FillListFromDB(*gDatabase, lstAvailableQueries, QStringLiteral("tblExportableResults"),
                                                QStringLiteral("OutputID"), QStringLiteral("Abbreviation"));
    gExportAssistant = std::make_unique<CExportAssistant>(ProgramServices());
    {
      assistant::frmExportAssistant window(*gExportAssistant, assistant::ReportEditors{});
      gExportAssistant->SetNode(window.tvReports, window.lvReports);
      gExportAssistant->InitializeReportNode(path);
      gExportAssistant->SetNode(window.tvTopLevelTables, window.lvTopLevelTables);
      gExportAssistant->InitializeTopLevelTableNode(path);

      QListWidget list;
      gExportAssistant->InitReportList(list);
      gExportAssistant->InitUserQueryList(list);

      ShowReports(*gExportAssistant, window);
      ShowTables(*gExportAssistant, window);
    }
    gExportAssistant.reset();
  }
  // The engine is shared per path while any handle holds it: the next input
  // must find none.
  gDatabase.reset();
  gWorkspace = nullptr;
  QCoreApplication::sendPostedEvents();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  // Settings and Qt's runtime folder private to this process, on the
  // offscreen platform: no display, no person, and the user's own settings
  // left alone.
  const QString scratch = QString::fromStdString(fuzz::ScratchFolder());
  QDir(scratch).mkpath(QStringLiteral("config"));
  QDir(scratch).mkpath(QStringLiteral("runtime"));
  QFile::setPermissions(scratch + QStringLiteral("/runtime"), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                                  QFileDevice::ExeOwner);
  qputenv("XDG_CONFIG_HOME", QFile::encodeName(scratch + QStringLiteral("/config")));
  qputenv("XDG_RUNTIME_DIR", QFile::encodeName(scratch + QStringLiteral("/runtime")));
  qputenv("QT_QPA_PLATFORM", "offscreen");
  // Held for the whole run; Qt wants the arguments to outlive it.
  static QApplication* application = new QApplication(*argc, *argv);
  QApplication::setQuitOnLastWindowClosed(false);
  platform::setDialogs(&gAnswering);
  (void)application;
  // Fonts, styles and icons are made the first time a window needs them and
  // kept for the process: made here, they are not counted against the
  // first input, nor taken for its leaks.
  {
    CExportAssistant store(ProgramServices());
    assistant::frmExportAssistant window(store, assistant::ReportEditors{});
    window.tvReports->AddNode(nullptr, QStringLiteral("warm"), QStringLiteral("warm"), QStringLiteral("access"));
  }
  QCoreApplication::sendPostedEvents();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteScratchFile("survey.mdb", data, size);
  if (path.empty()) return 0;
  ExerciseReportLayer(QString::fromStdString(path));
  return 0;
}

// Debian's fontconfig loses a few hundred bytes parsing its own
// configuration, once, when Qt first asks it for fonts: nothing of the
// program's, and nothing an input changes. Every other leak still ends the
// run.
extern "C" const char* __lsan_default_suppressions() { return "leak:libfontconfig.so\n"; }
