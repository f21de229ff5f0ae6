#include "editors/bas_edit_user_query_list.h"

#include <QListWidget>
#include <QStringList>

#include "app/error_guard.h"
#include "editors/editor_context.h"
#include "editors/frm_edit_user_query_list.h"
#include "platform/dao/dao.h"
#include "platform/ui/dialogs.h"
#include "reportdb/report_store.h"
#include "reportdb/sql_catalogue.h"

namespace basEditUserQueryList {
namespace {

const QString kCrLf = QStringLiteral("\r\n");
const QString kTitle = QStringLiteral("User Query Editor");

reportdb::ReportStore& Store() { return *editors::Context().store; }

dao::Database& ProgramDatabase() {
  dao::Database* database = editors::Context().programDatabase ? editors::Context().programDatabase() : nullptr;
  if (!database) throw platform::AppError(91, QStringLiteral("No database is open."));
  return *database;
}

bool IsUserQuery(const QString& name) {
  return !ProgramDatabase().OpenRecordset(reportdb::sql::UserQueryByName(name))->IsEOF();
}

bool IsListed(const QListWidget& list, const QString& name) {
  for (int i = 0; i < list.count(); ++i) {
    if (list.item(i)->text() == name) return true;
  }
  return false;
}

// "A, B": the reports that hold the query.
QString ReportsHolding(std::int32_t queryId) {
  const std::unique_ptr<dao::Recordset> reports =
      ProgramDatabase().OpenRecordset(reportdb::sql::ReportsUsingQuery(queryId));
  QStringList names;
  for (; !reports->IsEOF(); reports->MoveNext()) names << reports->Fields(QStringLiteral("Abbreviation")).Value().toString();
  return names.join(QStringLiteral(", "));
}

bool RemovalAgreed(std::int32_t queryId) {
  const QString reports = ReportsHolding(queryId);
  const int answer =
      reports.isEmpty()
          ? platform::dialogs().MsgBox(
                QStringLiteral("The selected query is not currently a member of any user reports") + kCrLf + kCrLf +
                    QStringLiteral("This operation will take place immediately.  Remove the user query?"),
                platform::vbYesNo | platform::vbQuestion | platform::vbDefaultButton2, QStringLiteral("Remove?"))
          : platform::dialogs().MsgBox(
                QStringLiteral("The selected query is currently a member of the following user report(s):") + kCrLf +
                    kCrLf + QStringLiteral("'") + reports + QStringLiteral("'") + kCrLf + kCrLf +
                    QStringLiteral("Are you sure you want to remove the query?"),
                platform::vbYesNo | platform::vbExclamation | platform::vbDefaultButton2, QStringLiteral("WARNING"));
  return answer == platform::vbYes;
}

// The key the store gave the name just added.
std::int32_t StoredKey(const QString& name) {
  const std::unique_ptr<dao::Recordset> row = ProgramDatabase().OpenRecordset(reportdb::sql::UserQueryByName(name.trimmed()));
  return row->IsEOF() ? kPendingQuery : row->Fields(QStringLiteral("QueryID")).Value().toInt();
}

// Access keeps the row sources of its forms and reports as saved queries
// named "~sq_..."; they are hidden in Access and no user report can use them.
void DropHiddenQueries(QListWidget& list) {
  for (int i = list.count() - 1; i >= 0; --i) {
    if (list.item(i)->text().startsWith(QLatin1Char('~'))) delete list.takeItem(i);
  }
}

}  // namespace

void frmEditUserQueryList_OnShow() {
  frmEditUserQueryList form;
  Store().InitDatabaseTableDefs(*form.lstQueryDefs);
  DropHiddenQueries(*form.lstQueryDefs);
  Store().InitUserQueryList(*form.lstAvailableUserQueries);
  form.exec();
}

void frmEditUserQueryList_cmdSelect_OnClick(frmEditUserQueryList& form) {
  app::Guarded(
      [&] {
        const QListWidgetItem* chosen = form.lstQueryDefs->currentItem();
        if (!chosen) return;
        const QString name = chosen->text();
        if (IsUserQuery(name) || IsListed(*form.lstAvailableUserQueries, name)) {
          platform::dialogs().MsgBox(QStringLiteral("A query with this name already exists.  Selection cancelled."),
                                     platform::vbExclamation, kTitle);
          return;
        }
        auto* pending = new QListWidgetItem(name);
        pending->setData(Qt::UserRole, kPendingQuery);
        form.lstAvailableUserQueries->addItem(pending);
        form.lstAvailableUserQueries->setCurrentItem(pending);
      },
      app::ReportForOperation(QStringLiteral("basEditUserQueryList::frmEditUserQueryList_cmdSelect_OnClick"),
                              QStringLiteral("Error adding available query to list of available user queries.")));
}

void frmEditUserQueryList_OnDelete(frmEditUserQueryList& form) {
  app::Guarded(
      [&] {
        QListWidgetItem* entry = form.lstAvailableUserQueries->currentItem();
        if (!entry) return;
        const std::int32_t queryId = entry->data(Qt::UserRole).toInt();
        if (queryId != kPendingQuery) {
          if (!RemovalAgreed(queryId)) return;
          const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
          Store().DeleteUserQuery(queryId);
        }
        delete entry;
      },
      app::ReportForOperation(QStringLiteral("basEditUserQueryList::frmEditUserQueryList_OnDelete"),
                              QStringLiteral("Selected User Query could not be deleted.")));
}

void frmEditUserQueryList_cmdOK_OnClick(frmEditUserQueryList& form) {
  const bool saved = app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        for (int i = 0; i < form.lstAvailableUserQueries->count(); ++i) {
          QListWidgetItem* entry = form.lstAvailableUserQueries->item(i);
          if (entry->data(Qt::UserRole).toInt() != kPendingQuery) continue;
          Store().AddUserQuery(entry->text());
          // Stored now: a second OK after a later failure must not add it again.
          entry->setData(Qt::UserRole, StoredKey(entry->text()));
        }
      },
      app::ReportForOperation(QStringLiteral("basEditUserQueryList::frmEditUserQueryList_cmdOK_OnClick"),
                              QStringLiteral("Error updating the list of available user queries.")));
  if (saved) form.accept();
}

}  // namespace basEditUserQueryList
