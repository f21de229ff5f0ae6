#include "app/program_windows.h"

#include <QVector>
#include <memory>

#include "app/error_guard.h"
#include "app/export_assistant_hook.h"
#include "app/mglobals.h"
#include "assistant/cexport_assistant.h"
#include "assistant/export_assistant_opening.h"
#include "assistant/frm_export_assistant.h"
#include "editors/bas_edit_report_queries.h"
#include "editors/bas_output_report.h"
#include "editors/editor_context.h"
#include "editors/query_editors.h"
#include "platform/dao/dao.h"
#include "platform/ui/dialogs.h"
#include "reportdb/sql_catalogue.h"

namespace app {

namespace {

using assistant::gExportAssistant;

// The report's other queries are written back in the order they had, in
// one transaction, so the report loses only the one query.
bool RemoveQueryFromReport(std::int32_t outputId, std::int32_t queryId) {
  const int answer = platform::dialogs().MsgBox(
      QStringLiteral("Remove the selected query from the report?"),
      platform::vbYesNo | platform::vbQuestion | platform::vbDefaultButton2, QStringLiteral("Excel Export Assistant"));
  if (answer != platform::vbYes) return false;
  QVector<reportdb::Key> remaining;
  auto members = gExportAssistant->InitSelectedReportQueries(outputId);
  if (!members) return false;
  for (; !members->IsEOF(); members->MoveNext()) {
    if (members->Value(0).toInt() != queryId) remaining.append(members->Value(0).toInt());
  }
  return Guarded(
      [&] {
        reportdb::ReportStore::RaiseErrorsInstead raise(*gExportAssistant);
        gWorkspace->BeginTrans();
        try {
          gExportAssistant->DeleteReportUserQueries(outputId);
          if (!remaining.isEmpty()) gExportAssistant->AddReportUserQueries(outputId, remaining);
        } catch (...) {
          gWorkspace->Rollback();
          throw;
        }
        gWorkspace->CommitTrans();
      },
      ReportForOperation(QStringLiteral("basEditReportQueries::RemoveQueryFromReport"),
                         QStringLiteral("The query was not removed from the report.")));
}

assistant::ReportEditors ProgramEditors() {
  assistant::ReportEditors editors;
  editors.showReport = [](std::int32_t outputId) { basOutputReport::frmOutputReport_OnShow(outputId); };
  editors.showReportQueries = [](std::int32_t outputId) {
    basEditReportQueries::frmEditReportQueries_OnShow(outputId);
  };
  editors.showQueryDestination = [](std::int32_t queryId) { editors::ShowQueryDestinationEditor(queryId); };
  editors.showQueryParameters = [](std::int32_t queryId) { editors::ShowQueryParametersEditor(queryId); };
  editors.deleteReport = [](const QString& name, std::int32_t outputId) {
    return basOutputReport::frmOutputReport_OnDelete(name, outputId);
  };
  editors.removeQueryFromReport = &RemoveQueryFromReport;
  return editors;
}

// The editors work on the Assistant's store and show their changes in its
// report tree.
void HandEditorsTheWindow(assistant::frmExportAssistant& window) {
  editors::EditorContext context;
  context.store = gExportAssistant.get();
  context.programDatabase = [] { return gDatabase.get(); };
  context.refreshAfterSave = [&window] { window.RefreshReportTree(); };
  context.refreshAfterDelete = [&window] { window.RefreshReportTree(); };
  editors::SetEditorContext(context);
}

}  // namespace

void InstallProgramWindows() {
  SetExportAssistantOpener([](QWidget* parent) {
    assistant::OpenExportAssistant(ProgramEditors(), &HandEditorsTheWindow, parent);
    editors::SetEditorContext({});
  });
}

}  // namespace app
