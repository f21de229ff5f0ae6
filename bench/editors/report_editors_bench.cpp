// How long the report editors (the query destination and parameters
// editors among them) take to open on the sample database (from the
// call to the dialog shown with its lists filled), and how long the query
// selection's OK takes to rewrite 50 reports of 20 queries each in one
// transaction, on a copy of the sample with those reports added.
//   report_editors_bench SAMPLE_MDB [ROUNDS]
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include "editors/bas_edit_report_queries.h"
#include "editors/bas_edit_user_query_list.h"
#include "editors/bas_output_report.h"
#include "editors/editor_context.h"
#include "editors/frm_edit_report_queries.h"
#include "editors/frm_edit_user_query_list.h"
#include "editors/frm_output_report.h"
#include "editors/frm_query_destination.h"
#include "editors/frm_query_parameters.h"
#include "editors/query_editors.h"
#include "platform/dao/dao.h"
#include "platform/ui/scripted_dialogs.h"
#include "reportdb/report_store.h"

namespace {

constexpr int kReports = 50;
constexpr int kQueriesEach = 20;

double Ms(const QElapsedTimer& timer) { return timer.nsecsElapsed() / 1e6; }

struct Figures {
  std::vector<double> ms;
  void Print(const char* what) {
    std::sort(ms.begin(), ms.end());
    std::printf("%-44s min %8.1f ms   median %8.1f ms   max %8.1f ms   (%zu rounds)\n", what, ms.front(),
                ms[ms.size() / 2], ms.back(), ms.size());
  }
};

// An open database with the store and the editors' context on it.
struct OpenDatabase {
  explicit OpenDatabase(const QString& path) {
    database = dao::DBEngine::Workspaces(0).OpenDatabase(path);
    reportdb::StoreServices services;
    services.programDatabase = [this] { return database.get(); };
    services.reportError = [](const QString& message, const platform::AppError&) {
      std::fprintf(stderr, "store error: %s\n", qPrintable(message));
    };
    store = std::make_unique<reportdb::ReportStore>(services);
    store->OpenOwnDatabase(path);
    editors::EditorContext context;
    context.store = store.get();
    context.programDatabase = [this] { return database.get(); };
    editors::SetEditorContext(context);
  }
  ~OpenDatabase() { editors::SetEditorContext({}); }
  std::shared_ptr<dao::Database> database;
  std::unique_ptr<reportdb::ReportStore> store;
};

// Milliseconds from `open` being called to the dialog T on screen; then
// `whileOpen` runs on it (untimed unless it times itself) and it is closed.
template <class T>
double TimeToShown(const std::function<void()>& open, const std::function<void(T&)>& whileOpen = {}) {
  QElapsedTimer clock;
  double shown = 0;
  QTimer::singleShot(0, [&] {
    shown = Ms(clock);
    auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget());
    if (!dialog) {
      std::fprintf(stderr, "dialog not shown\n");
      return;
    }
    if (whileOpen) whileOpen(*dialog);
    if (dialog->isVisible()) dialog->reject();
  });
  clock.start();
  open();
  return shown;
}

void AddReportsWithQueries(OpenDatabase& open) {
  dao::Database& db = *open.database;
  for (int q = 0; q < kQueriesEach; ++q) open.store->AddUserQuery(QStringLiteral("Bench query %1").arg(q));
  QVector<int> queryIds;
  const auto rows = db.OpenRecordset(QStringLiteral(
      "SELECT QueryID FROM tblUserQueries WHERE QueryName Like 'Bench query *' ORDER BY QueryID"));
  for (; !rows->IsEOF(); rows->MoveNext()) queryIds << rows->Value(0).toInt();
  for (int r = 0; r < kReports; ++r) {
    const int outputId = open.store->AddNewReport(QStringLiteral("Bench report %1").arg(r, 2, 10, QLatin1Char('0')),
                                                  QDate::currentDate(), QStringLiteral("bench"), QString());
    open.store->AddReportUserQueries(outputId, queryIds);
  }
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc < 2) {
    std::fprintf(stderr, "usage: report_editors_bench SAMPLE_MDB [ROUNDS]\n");
    return 2;
  }
  const int rounds = argc > 2 ? std::max(1, atoi(argv[2])) : 5;
  platform::ScriptedDialogs script;
  platform::ScopedDialogs scripted(script);
  QTemporaryDir temp;
  const QString sample = temp.filePath(QStringLiteral("survey.mdb"));
  QFile::copy(QString::fromLocal8Bit(argv[1]), sample);
  QFile(sample).setPermissions(QFile::ReadOwner | QFile::WriteOwner);

  {
    OpenDatabase open(sample);
    Figures report, newReport, selection, userQueries, destination, parameters;
    for (int i = 0; i < rounds; ++i) {
      report.ms.push_back(TimeToShown<frmOutputReport>([] { basOutputReport::frmOutputReport_OnShow(1); }));
      newReport.ms.push_back(
          TimeToShown<frmOutputReport>([] { basOutputReport::frmOutputReport_OnShow(basOutputReport::kNewReport); }));
      selection.ms.push_back(
          TimeToShown<frmEditReportQueries>([] { basEditReportQueries::frmEditReportQueries_OnShow(1); }));
      userQueries.ms.push_back(
          TimeToShown<frmEditUserQueryList>([] { basEditUserQueryList::frmEditUserQueryList_OnShow(); }));
      // qryCatchByWeek: a template to list the sheets of, two macros, two parameters.
      destination.ms.push_back(TimeToShown<frmQueryDestination>([] { editors::ShowQueryDestinationEditor(1); }));
      parameters.ms.push_back(TimeToShown<frmQueryParameters>([] { editors::ShowQueryParametersEditor(1); }));
    }
    std::printf("Sample database: opening each editor\n");
    report.Print("report editor on a report");
    newReport.Print("report editor, new report");
    selection.Print("query selection");
    userQueries.Print("user query list editor");
    destination.Print("query destination editor");
    parameters.Print("query parameters editor");
  }

  const QString large = temp.filePath(QStringLiteral("fifty-reports.mdb"));
  QFile::copy(sample, large);
  OpenDatabase open(large);
  AddReportsWithQueries(open);
  Figures opening, ok;
  for (int i = 0; i < rounds; ++i) {
    double okMs = 0;
    opening.ms.push_back(TimeToShown<frmEditReportQueries>(
        [] { basEditReportQueries::frmEditReportQueries_OnShow(1); },
        [&okMs](frmEditReportQueries& form) {
          QElapsedTimer clock;
          clock.start();
          form.cmdOK->click();
          okMs = Ms(clock);
          if (form.isVisible()) std::fprintf(stderr, "OK did not close the dialog\n");
        }));
    ok.ms.push_back(okMs);
  }
  std::printf("Sample + %d reports x %d queries: the query selection\n", kReports, kQueriesEach);
  opening.Print("opening (all reports' records read)");
  ok.Print("OK (every report rewritten, one commit)");
  if (!script.MessageBoxes().isEmpty()) {
    std::fprintf(stderr, "unexpected message: %s\n", qPrintable(script.MessageBoxes().first().prompt));
    return 1;
  }
  return 0;
}
