#include "reportdb/report_store.h"

#include <QComboBox>
#include <QListWidget>

#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/login_name.h"
#include "reportdb/sql_catalogue.h"
#include "reportdb/sql_text.h"
#include "reportdb/stored_lists.h"

namespace reportdb {

ListControl::ListControl(QListWidget& list) : list_(&list) {}
ListControl::ListControl(QComboBox& combo) : combo_(&combo) {}
void ListControl::Clear() { list_ ? list_->clear() : combo_->clear(); }
void ListControl::AddItem(const QString& text, const QVariant& key) {
  if (list_) {
    auto* item = new QListWidgetItem(text);
    item->setData(Qt::UserRole, key);
    list_->addItem(item);
  } else {
    combo_->addItem(text, key);
  }
}
int ListControl::Count() const { return list_ ? list_->count() : combo_->count(); }
QString ListControl::Text(int i) const { return list_ ? list_->item(i)->text() : combo_->itemText(i); }
QVariant ListControl::ItemData(int i) const { return list_ ? list_->item(i)->data(Qt::UserRole) : combo_->itemData(i); }
void ListControl::SetListIndex(int i) { list_ ? list_->setCurrentRow(i) : combo_->setCurrentIndex(i); }

int FindListItem(const ListControl& list, const QVariant& wanted) {
  const bool number = wanted.typeId() == QMetaType::Int || wanted.typeId() == QMetaType::LongLong;
  for (int i = 0; i < list.Count(); ++i) {
    if (number ? list.ItemData(i).toInt() == wanted.toInt()
               : list.Text(i).trimmed().compare(wanted.toString().trimmed(), Qt::CaseInsensitive) == 0)
      return i;
  }
  return -1;
}

QString StoreFailureMessage(const QString& d) {
  return d + QStringLiteral("\r\n\r\nContact the system provider if this problem persists.");
}

ReportStore::ReportStore(StoreServices s) : services_(std::move(s)) {}
ReportStore::~ReportStore() = default;

bool ReportStore::OpenOwnDatabase(const QString& path) {
  return Reporting([&] { own_ = dao::DBEngine::Workspaces(0).OpenDatabase(path); });
}

bool ReportStore::Reporting(const std::function<void()>& work) {
  try {
    work();
    return true;
  } catch (const platform::AppError& e) {
    ReportFailure(e);
  }
  return false;
}
void ReportStore::ReportFailure(const platform::AppError& e) {
  if (raiseDepth_ > 0) throw e;
  services_.reportError(StoreFailureMessage(e.Description()), e);
}
dao::Database& ReportStore::Own() { return *own_; }
dao::Database& ReportStore::Program() { return *services_.programDatabase(); }

Key ReportStore::AddNewReport(const QString& name, const QDate& created, const QString& author, const QString& d) {
  Key result = 0;
  Reporting([&] {
    if (!Program().OpenRecordset(sql::ReportByName(name))->IsEOF()) {
      platform::dialogs().MsgBox(QStringLiteral("A report named: '") + name +
                                     QStringLiteral("' already exists.  Report not added.\r\nPlease try again using a "
                                                    "different name."),
                                 platform::vbExclamation, QStringLiteral("Duplication error"));
      result = kReportNameTaken;
      return;
    }
    auto rs = Own().OpenRecordset(QStringLiteral("tblExportableResults"), dao::dbOpenTable);
    rs->AddNew();
    rs->Fields(QStringLiteral("Abbreviation")) = name;
    rs->Fields(QStringLiteral("DateCreated")) = QDateTime(created, QTime(0, 0));
    rs->Fields(QStringLiteral("Author")) = author;
    rs->Fields(QStringLiteral("Description")) = d;
    rs->Update();
    rs->SetBookmark(rs->LastModified());
    result = rs->Fields(QStringLiteral("OutputID")).Value().toInt();
  });
  return result;
}
bool ReportStore::DeleteReport(Key id) { return Reporting([&] { Own().Execute(sql::DeleteReport(id)); }); }
bool ReportStore::UpdateReportDescription(Key id, const QString& d) {
  return Reporting([&] { Own().Execute(sql::UpdateReportDescription(id, d)); });
}
bool ReportStore::AddUserQuery(const QString& n) {
  return Reporting([&] {
    auto rs = Own().OpenRecordset(QStringLiteral("tblUserQueries"), dao::dbOpenTable);
    rs->AddNew();
    rs->Fields(QStringLiteral("QueryName")) = TrimBlanks(n);
    rs->Update();
  });
}
bool ReportStore::DeleteReportUserQueries(Key id) { return Reporting([&] { Own().Execute(sql::DeleteReportLinks(id)); }); }
bool ReportStore::AddReportUserQueries(Key id, const QVector<Key>& q) {
  return Reporting([&] {
    auto rs = Own().OpenRecordset(QStringLiteral("tblExportableResults_UserQueries"), dao::dbOpenTable);
    for (Key k : q) {
      rs->AddNew();
      rs->Fields(QStringLiteral("OutputID")) = id;
      rs->Fields(QStringLiteral("QueryID")) = k;
      rs->Update();
    }
  });
}
bool ReportStore::UpdateQueryDestination(Key q, const QString& t, const QString& s, std::int16_t r, std::int16_t c, const QString& m) {
  return Reporting([&] { Own().Execute(sql::UpdateQueryDestination(q, t, s, r, c, m, platform::LoginName().trimmed())); });
}
bool ReportStore::UpdateQueryParameters(Key q, const QString& p) {
  return Reporting([&] { Own().Execute(sql::UpdateQueryParameters(q, p, platform::LoginName().trimmed())); });
}
bool ReportStore::DeleteUserQuery(Key id) {
  return Reporting([&] {
    dao::Workspace& ws = dao::DBEngine::Workspaces(0);
    ws.BeginTrans();
    try {
      Own().Execute(sql::DeleteUserQuery(id));
      Own().Execute(sql::DeleteQueryLinks(id));
      ws.CommitTrans();
    } catch (...) {
      ws.Rollback();
      throw;
    }
  });
}

std::unique_ptr<dao::Recordset> ReportStore::InitQueryDestination(Key id) {
  std::unique_ptr<dao::Recordset> r;
  Reporting([&] { r = Own().OpenRecordset(sql::QueryDestination(id)); });
  return r;
}
std::unique_ptr<dao::Recordset> ReportStore::InitQueryParameters(Key id) {
  std::unique_ptr<dao::Recordset> r;
  Reporting([&] { r = Own().OpenRecordset(sql::QueryParameters(id)); });
  return r;
}
std::unique_ptr<dao::Recordset> ReportStore::ShowOutputReport(Key id) {
  std::unique_ptr<dao::Recordset> r;
  Reporting([&] { r = Own().OpenRecordset(sql::ReportDetails(id)); });
  return r;
}
std::unique_ptr<dao::Recordset> ReportStore::InitSelectedReportQueries(Key id) {
  std::unique_ptr<dao::Recordset> r;
  Reporting([&] { r = Own().OpenRecordset(sql::ReportMembersByName(id)); });
  return r;
}
std::unique_ptr<dao::Recordset> ReportStore::AvailableReportQueries(const QVector<Key>& k) {
  std::unique_ptr<dao::Recordset> r;
  Reporting([&] { r = Own().OpenRecordset(sql::UserQueriesNotInKeys(k)); });
  return r;
}
std::unique_ptr<dao::Recordset> ReportStore::SelectedReportQueries(const QVector<Key>& k) { return AvailableReportQueries(k); }

namespace {
void Fill(dao::Database& db, ListControl list, const QString& sql) {
  list.Clear();
  auto rs = db.OpenRecordset(sql);
  for (; !rs->IsEOF(); rs->MoveNext()) list.AddItem(rs->Value(1).toString().trimmed(), rs->Value(0));
}
}  // namespace

void ReportStore::InitUserQueryList(ListControl l) { Reporting([&] { Fill(Program(), l, sql::UserQueriesByName()); }); }
void ReportStore::ShowUserQueryDestination(ListControl l) { InitUserQueryList(l); }
void ReportStore::ShowUserQueryParameters(ListControl l) { InitUserQueryList(l); }
void ReportStore::ShowSelectedReportQueries(ListControl l, const QVector<Key>& k) {
  Reporting([&] { Fill(Program(), l, sql::UserQueriesInKeys(k, sql::KeyOrder::kByName)); });
}
void ReportStore::ShowReportQueriesByKey(ListControl l, const QVector<Key>& k, int mode, Key id) {
  Reporting([&] {
    if (mode == 1) Fill(Program(), l, sql::UserQueriesInKeys(k, sql::KeyOrder::kByKey));
    if (mode == 0) Fill(Program(), l, sql::ReportMembersByKey(id));
  });
}
void ReportStore::InitReportList(ListControl l, const QVariant& select) {
  Reporting([&] {
    Fill(Program(), l, sql::ReportList());
    if (select.isValid()) {
      const int i = FindListItem(l, select);
      if (i >= 0) l.SetListIndex(i);
    }
  });
}
void ReportStore::InitDatabaseTableDefs(QListWidget& list) {
  Reporting([&] {
    for (const QString& n : Own().QueryDefNames()) list.addItem(n);
  });
}
QString ReportStore::fnMakeString(const QStringList& items) { return reportdb::fnMakeString(items); }

}  // namespace reportdb
