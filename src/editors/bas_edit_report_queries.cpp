#include "editors/bas_edit_report_queries.h"

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSignalBlocker>

#include "app/error_guard.h"
#include "editors/bas_edit_user_query_list.h"
#include "editors/bas_output_report.h"
#include "editors/editor_context.h"
#include "editors/frm_edit_report_queries.h"
#include "platform/dao/dao.h"
#include "reportdb/report_store.h"

namespace basEditReportQueries {
namespace {

constexpr Key kEmptySlot = 0;
const QString kSelectContext = QStringLiteral("basEditReportQueries::frmEditReportQueries_cmdSelect_OnClick");

QVector<ReportQuerySelection> gSelections;

reportdb::ReportStore& Store() { return *editors::Context().store; }

// The QueryIDs of a recordset, in its order; the empty slot when none.
QVector<Key> KeysOf(const std::unique_ptr<dao::Recordset>& records) {
  QVector<Key> keys;
  if (records) {
    for (; !records->IsEOF(); records->MoveNext()) keys << records->Fields(QStringLiteral("QueryID")).Value().toInt();
  }
  if (keys.isEmpty()) keys << kEmptySlot;
  return keys;
}

// A key joins the end of an array; the empty slot gives way to it.
void Append(QVector<Key>& keys, Key key) {
  keys.removeAll(kEmptySlot);
  keys << key;
}

void ShowRecordLists(frmEditReportQueries& form, const ReportQuerySelection& record) {
  Store().ShowReportQueriesByKey(*form.lstSelectedQueries, record.selectedQueries, 1, record.outputId);
  Store().ShowSelectedReportQueries(*form.lstAvailableUserQueries, record.availableQueries);
}

void ShowReportProperties(frmEditReportQueries& form, Key outputId) {
  form.lblOutputID->setText(QString::number(outputId));
  form.lblCreateDate->clear();
  form.txtDescription->clear();
  const std::unique_ptr<dao::Recordset> report = Store().ShowOutputReport(outputId);
  if (!report || report->IsEOF()) return;
  const QVariant created = report->Fields(QStringLiteral("DateCreated")).Value();
  if (!created.isNull()) form.lblCreateDate->setText(basOutputReport::CreationDateText(created.toDate()));
  QString description = report->Fields(QStringLiteral("Description")).Value().toString();
  form.txtDescription->setPlainText(description.replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
}

// One record per report of the combo, as the database holds them now.
void ReadSelections(const frmEditReportQueries& form) {
  gSelections.clear();
  for (int i = 0; i < form.cboScenName->count(); ++i) {
    ReportQuerySelection record;
    record.outputId = form.cboScenName->itemData(i).toInt();
    record.selectedQueries = KeysOf(Store().InitSelectedReportQueries(record.outputId));
    gSelections << record;
  }
  for (ReportQuerySelection& record : gSelections) {
    record.availableQueries = KeysOf(Store().AvailableReportQueries(record.selectedQueries));
  }
}

std::optional<Key> HighlightedKey(const QListWidget& list) {
  const QListWidgetItem* item = list.currentItem();
  if (!item) return std::nullopt;
  return item->data(Qt::UserRole).toInt();
}

// Every report's links replaced, all or none.
void WriteAllSelections() {
  dao::Workspace& workspace = dao::DBEngine::Workspaces(0);
  const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
  workspace.BeginTrans();
  try {
    for (const ReportQuerySelection& record : gSelections) {
      Store().DeleteReportUserQueries(record.outputId);
      const QVector<Key> chosen = QueriesIn(record.selectedQueries);
      if (!chosen.isEmpty()) Store().AddReportUserQueries(record.outputId, chosen);
    }
    workspace.CommitTrans();
  } catch (...) {
    try {
      workspace.Rollback();
    } catch (const platform::AppError&) {
      // The failure itself closed the transaction; nothing is left to undo.
    }
    throw;
  }
}

// Cleared when the dialog closes, however it closes.
class SelectionsScope {
 public:
  SelectionsScope() = default;
  ~SelectionsScope() { gSelections.clear(); }
  SelectionsScope(const SelectionsScope&) = delete;
  SelectionsScope& operator=(const SelectionsScope&) = delete;
};

// The result code by which "List..." closes the dialog.
constexpr int kOpenUserQueryList = 2;

}  // namespace

const QVector<ReportQuerySelection>& Selections() { return gSelections; }

QVector<Key> QueriesIn(const QVector<Key>& keys) {
  QVector<Key> queries;
  for (Key key : keys) {
    if (key != kEmptySlot) queries << key;
  }
  return queries;
}

void frmEditReportQueries_OnShow(Key outputId) {
  int result = QDialog::Rejected;
  {
    frmEditReportQueries form;
    const SelectionsScope records;
    {
      const QSignalBlocker quiet(form.cboScenName);
      Store().InitReportList(*form.cboScenName, QVariant(outputId));
    }
    const bool filled = app::Guarded([&] { ReadSelections(form); }, app::ReportForHandler());
    if (!filled) return;
    frmEditReportQueries_cboScenName_OnClick(form);
    result = form.exec();
  }
  if (result == kOpenUserQueryList) basEditUserQueryList::frmEditUserQueryList_OnShow();
}

void frmEditReportQueries_cboScenName_OnClick(frmEditReportQueries& form) {
  app::Guarded(
      [&] {
        const int index = form.cboScenName->currentIndex();
        if (index < 0 || index >= gSelections.size()) return;
        ShowReportProperties(form, gSelections[index].outputId);
        ShowRecordLists(form, gSelections[index]);
      },
      app::ReportForHandler());
}

void frmEditReportQueries_cmdSelect_OnClick(frmEditReportQueries& form, int comboIndex, Key queryId) {
  app::Guarded(
      [&] {
        // The record changes only when the database could be asked.
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        ReportQuerySelection record = gSelections.at(comboIndex);
        Append(record.selectedQueries, queryId);
        record.availableQueries = KeysOf(Store().AvailableReportQueries(record.selectedQueries));
        gSelections[comboIndex] = record;
        ShowRecordLists(form, record);
      },
      app::ReportForOperation(kSelectContext,
                              QStringLiteral("Error adding available query to list of selected queries for this "
                                             "user report.")));
}

void frmEditReportQueries_cmdUnselect_OnClick(frmEditReportQueries& form, int comboIndex, Key queryId) {
  app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        ReportQuerySelection record = gSelections.at(comboIndex);
        Append(record.availableQueries, queryId);
        record.selectedQueries = KeysOf(Store().SelectedReportQueries(record.availableQueries));
        gSelections[comboIndex] = record;
        ShowRecordLists(form, record);
      },
      app::ReportForOperation(kSelectContext,
                              QStringLiteral("Error adding selected query back to list of available queries for "
                                             "this user report.")));
}

void frmEditReportQueries_SelectHighlighted(frmEditReportQueries& form) {
  const int index = form.cboScenName->currentIndex();
  const auto queryId = HighlightedKey(*form.lstAvailableUserQueries);
  if (index >= 0 && index < gSelections.size() && queryId) frmEditReportQueries_cmdSelect_OnClick(form, index, *queryId);
}

void frmEditReportQueries_UnselectHighlighted(frmEditReportQueries& form) {
  const int index = form.cboScenName->currentIndex();
  const auto queryId = HighlightedKey(*form.lstSelectedQueries);
  if (index >= 0 && index < gSelections.size() && queryId) {
    frmEditReportQueries_cmdUnselect_OnClick(form, index, *queryId);
  }
}

void frmEditReportQueries_cmdOK_OnClick(frmEditReportQueries& form) {
  app::Guarded(
      [&] {
        WriteAllSelections();
        basOutputReport::frmOutputReport_RefreshShownReport();
        form.accept();
      },
      app::ReportForOperation(QStringLiteral("basEditReportQueries::frmEditReportQueries_cmdOK_OnClick"),
                              QStringLiteral("Error editing user query information.  Update aborted.")));
}

void frmEditReportQueries_cmdAdd_OnClick(frmEditReportQueries& form) { form.done(kOpenUserQueryList); }

}  // namespace basEditReportQueries
