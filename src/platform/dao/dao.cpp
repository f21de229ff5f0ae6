#include "platform/dao/dao.h"

#include <algorithm>

#include "jet/text_form.h"
#include "platform/dao/dao_errors.h"

namespace dao {
namespace {

QString Q(const std::string& s) { return QString::fromStdString(s); }

int gLockWaitMs = jet::OpenOptions{}.lock_wait_ms;
std::vector<jet::OdbcMapping> gOdbcMappings;

jet::OpenOptions OpenOptionsForThisProgram() {
  jet::OpenOptions options;
  options.lock_wait_ms = gLockWaitMs;
  options.odbc_mappings = gOdbcMappings;
  return options;
}

std::unique_ptr<Recordset> ToRecordset(const jet::QueryResult& result) {
  QVector<FieldInfo> fields;
  for (const auto& c : result.columns) fields.push_back({Q(c.name), c.type, Q(c.caption)});
  QVector<QVector<QVariant>> rows;
  rows.reserve(static_cast<int>(result.rows.size()));
  for (const auto& row : result.rows) {
    QVector<QVariant> values;
    values.reserve(static_cast<int>(row.size()));
    for (const auto& v : row) values.push_back(ToVariant(v));
    rows.push_back(std::move(values));
  }
  return std::make_unique<Recordset>(std::move(fields), std::move(rows));
}

QString PropertyText(const jet::PropertyMap& map, const char* name) {
  const jet::Value* v = map.Find(name);
  return v && !v->is_null() ? Q(jet::CanonicalText(*v)) : QString();
}

bool LooksLikeStatement(const QString& source) {
  const QString s = source.trimmed();
  for (const char* word : {"SELECT", "TRANSFORM", "PARAMETERS", "("}) {
    if (s.startsWith(QLatin1String(word), Qt::CaseInsensitive)) return true;
  }
  return false;
}

long AttributesOf(const jet::CatalogEntry& e) {
  long a = 0;
  if (e.system) a |= dbSystemObject;
  if (e.hidden) a |= dbHiddenObject;
  if (e.kind == jet::ObjectKind::kLinkedTable) a |= dbAttachedTable;
  if (e.kind == jet::ObjectKind::kLinkedOdbc) a |= dbAttachedODBC;
  return a;
}

void FillColumnsAndIndexes(const jet::TableDef& def, TableDef* out) {
  for (const auto& c : def.columns) {
    out->Fields.push_back({Q(c.name), c.type, static_cast<long>(c.size), !c.nullable,
                           PropertyText(c.properties, "Caption"), PropertyText(c.properties, "Description")});
  }
  for (const auto& idx : def.indexes) {
    Index index{Q(idx.name), {}, idx.primary, idx.unique, idx.required, idx.ignore_nulls, idx.foreign_key,
                static_cast<long>(idx.distinct_count)};
    for (const auto& c : idx.columns) index.Fields << (c.ascending ? "" : "-") + Q(def.columns[c.column].name);
    out->Indexes.push_back(std::move(index));
  }
}

// The engine of `path` reopened for writing; ForFile upgrades the one engine
// every handle on the file shares.
void OpenForWriting(jet::QueryEngine& engine, const QString& path, bool read_only) {
  if (read_only) {
    throw platform::AppError(3027, QStringLiteral("Cannot update. Database or object is read-only."),
                             QStringLiteral("DAO.Database"));
  }
  if (engine.database().writable()) return;
  jet::OpenOptions options = OpenOptionsForThisProgram();
  options.writable = true;
  std::shared_ptr<jet::QueryEngine> writing;
  ThrowIfError(jet::QueryEngine::ForFile(path.toStdString(), options, &writing), "DAO.Database");
}

}  // namespace

Parameter& ParameterList::Item(int index) {
  if (index < 0 || index >= items_.size()) ThrowItemNotFound("DAO.Parameters");
  return items_[index];
}

Parameter& ParameterList::Item(const QString& name) {
  // A parameter may be named with or without its brackets.
  auto bare = [](QString s) {
    s = s.trimmed();
    if (s.startsWith('[') && s.endsWith(']')) s = s.mid(1, s.size() - 2);
    return s;
  };
  for (auto& p : items_) {
    if (bare(p.Name).compare(bare(name), Qt::CaseInsensitive) == 0) return p;
  }
  ThrowItemNotFound("DAO.Parameters");
}

std::unique_ptr<Recordset> QueryDef::OpenRecordset() {
  std::vector<jet::Value> values;
  int missing = 0;
  for (const auto& p : parameters_.items()) {
    if (!p.Value.isValid()) ++missing;
    values.push_back(ToParameterValue(p.Value, p.Type));
  }
  if (missing > 0) {
    throw platform::AppError(3061, QStringLiteral("Too few parameters. Expected %1.").arg(missing),
                             QStringLiteral("DAO.QueryDef"));
  }
  jet::QueryResult result;
  ThrowIfError(engine_->RunQuery(name_.toStdString(), values, &result), "DAO.QueryDef");
  return ToRecordset(result);
}

Database::Database(std::shared_ptr<jet::QueryEngine> engine, QString name, bool read_only)
    : engine_(std::move(engine)), name_(std::move(name)), read_only_(read_only) {}

void Database::PrepareWrite() { OpenForWriting(*engine_, name_, read_only_); }

void Database::Execute(const QString& sql, int) {
  const std::string text = sql.toStdString();
  records_affected_ = 0;
  const bool saved = !jet::QueryEngine::ChangesData(text) &&
                     engine_->database().FindObject(text, jet::ObjectKind::kQuery) != nullptr;
  if (saved || jet::QueryEngine::ChangesData(text)) PrepareWrite();
  int64_t affected = 0;
  jet::Status s = saved ? engine_->ExecuteQuery(text, {}, &affected) : engine_->Execute(text, {}, &affected);
  ThrowIfError(s, "DAO.Database");
  records_affected_ = static_cast<long>(affected);
}

std::unique_ptr<Recordset> Database::OpenRecordset(const QString& source, int type) {
  if (type != dbOpenTable) return OpenRecordset(source);
  // A table on a database server opens as the server's rows, changed by
  // their keys, where Jet itself would refuse: the report tables may be
  // such links.
  const jet::CatalogEntry* entry = engine_->database().FindTable(source.toStdString());
  if (!entry || (entry->kind != jet::ObjectKind::kTable && entry->kind != jet::ObjectKind::kLinkedOdbc)) {
    throw platform::AppError(3219, QStringLiteral("Invalid operation."), QStringLiteral("DAO.Database"));
  }
  return OpenTable(source);
}

std::unique_ptr<Recordset> Database::OpenRecordset(const QString& source) {
  if (!LooksLikeStatement(source)) {
    if (engine_->database().FindTable(source.toStdString())) return OpenTable(source);
    if (engine_->database().FindObject(source.toStdString(), jet::ObjectKind::kQuery)) {
      return QueryDefs(source).OpenRecordset();
    }
  }
  jet::QueryResult result;
  ThrowIfError(engine_->RunSql(source.toStdString(), {}, &result), "DAO.Database");
  return ToRecordset(result);
}

std::unique_ptr<Recordset> Database::OpenTable(const QString& name) {
  jet::Database& db = engine_->database();
  const jet::CatalogEntry* entry = db.FindTable(name.toStdString());
  std::shared_ptr<const jet::TableDef> def;
  ThrowIfError(db.GetTableDef(name.toStdString(), &def), "DAO.Database");
  jet::QueryResult result;
  for (const auto& c : def->columns) {
    result.columns.push_back({c.name, c.type, PropertyText(c.properties, "Caption").toStdString()});
  }
  QVector<qint64> places;
  const auto keep = [&](const jet::Row& row, jet::RowId id) {
    result.rows.push_back(row);
    places.push_back(static_cast<qint64>(id.page) << 16 | id.row);
  };
  if (entry && entry->kind == jet::ObjectKind::kLinkedOdbc) {
    // A server's rows are listed once; their places are positions in that list.
    std::vector<jet::RowId> ids;
    ThrowIfError(db.ListRowIds(entry->name, &ids), "DAO.Database");
    jet::Row row;
    for (jet::RowId id : ids) {
      ThrowIfError(db.ReadRowAt(entry->name, id, &row), "DAO.Database");
      keep(row, id);
    }
  } else {
    std::unique_ptr<jet::TableCursor> cursor;
    ThrowIfError(db.OpenTable(name.toStdString(), &cursor), "DAO.Database");
    while (cursor->Next()) keep(cursor->row(), cursor->row_id());
    ThrowIfError(cursor->status(), "DAO.Database");
  }
  auto records = ToRecordset(result);
  if (entry && (entry->kind == jet::ObjectKind::kTable || entry->kind == jet::ObjectKind::kLinkedOdbc)) {
    auto target = std::make_shared<TableTarget>();
    target->engine = engine_;
    target->table = entry->name;
    target->prepare_write = [engine = engine_.get(), path = name_, read_only = read_only_] {
      OpenForWriting(*engine, path, read_only);
    };
    records->SetTable(std::move(target), std::move(places));
  }
  return records;
}

QueryDef Database::QueryDefs(const QString& name) {
  jet::SavedQuery saved;
  ThrowIfError(engine_->GetQuery(name.toStdString(), &saved), "DAO.QueryDefs");
  std::vector<jet::QueryParameterInfo> params;
  ThrowIfError(engine_->QueryParameters(saved.name, &params), "DAO.QueryDef");
  QueryDef q;
  q.engine_ = engine_;
  q.name_ = Q(saved.name);
  q.sql_ = Q(saved.sql);
  q.type_ = saved.type;
  for (const auto& p : params) q.parameters_.items().push_back({Q(p.name), p.type, QVariant()});
  return q;
}

QStringList Database::QueryDefNames() {
  std::vector<jet::SavedQuery> queries;
  ThrowIfError(engine_->ListQueries(&queries), "DAO.QueryDefs");
  QStringList names;
  for (const auto& q : queries) names << Q(q.name);
  return names;
}

bool Database::Refresh() {
  const quint64 before = Generation();
  ThrowIfError(engine_->database().Refresh(), "DAO.Database");
  return Generation() != before;
}

quint64 Database::Generation() const { return engine_->database().generation(); }

QVector<TableDef> Database::TableDefs() {
  QVector<TableDef> defs;
  for (const auto& e : engine_->database().catalog()) {
    if (e.kind != jet::ObjectKind::kTable && e.kind != jet::ObjectKind::kLinkedTable &&
        e.kind != jet::ObjectKind::kLinkedOdbc) {
      continue;
    }
    TableDef def;
    def.Name = Q(e.name);
    def.Attributes = AttributesOf(e);
    if (e.kind != jet::ObjectKind::kTable) {
      def.SourceTableName = Q(e.foreign_name);
      def.Connect = e.kind == jet::ObjectKind::kLinkedTable ? ";DATABASE=" + Q(e.database) : Q(e.connect);
    }
    // A link whose file is missing still lists; its fields stay empty.
    std::shared_ptr<const jet::TableDef> table;
    if (engine_->database().GetTableDef(e.name, &table).ok()) FillColumnsAndIndexes(*table, &def);
    defs.push_back(std::move(def));
  }
  return defs;
}

TableDef Database::TableDefs(const QString& name) {
  for (auto& def : TableDefs()) {
    if (def.Name.compare(name, Qt::CaseInsensitive) != 0) continue;
    if (def.Fields.isEmpty()) {  // say why, e.g. the linked file is missing
      std::shared_ptr<const jet::TableDef> table;
      ThrowIfError(engine_->database().GetTableDef(name.toStdString(), &table), "DAO.TableDefs");
    }
    return def;
  }
  ThrowItemNotFound("DAO.TableDefs");
}

std::shared_ptr<Database> Workspace::OpenDatabase(const QString& name, bool, bool readOnly) {
  std::shared_ptr<jet::QueryEngine> engine;
  jet::Status s = jet::QueryEngine::ForFile(name.toStdString(), OpenOptionsForThisProgram(), &engine);
  if (!s.ok() && s.code() == jet::Status::Code::kNotFound) {
    throw platform::AppError(kErrFileNotFound, QStringLiteral("Could not find file '%1'.").arg(name),
                             QStringLiteral("DAO.Workspace"));
  }
  if (!s.ok() && (s.code() == jet::Status::Code::kCorruption || s.code() == jet::Status::Code::kUnsupported)) {
    throw platform::AppError(kErrUnrecognizedFormat, QStringLiteral("Unrecognized database format '%1'.").arg(name),
                             QStringLiteral("DAO.Workspace"));
  }
  ThrowIfError(s, "DAO.Workspace");
  auto db = std::make_shared<Database>(engine, name, readOnly);
  databases_.erase(std::remove_if(databases_.begin(), databases_.end(), [](const auto& d) { return d.expired(); }),
                   databases_.end());
  databases_.push_back(db);
  return db;
}

void Workspace::BeginTrans() {
  if (transaction_open_) {
    throw platform::AppError(3003, QStringLiteral("Could not start transaction; too many transactions already nested."),
                             QStringLiteral("DAO.Workspace"));
  }
  std::vector<std::shared_ptr<jet::QueryEngine>> begun;
  for (const auto& weak : databases_) {
    auto db = weak.lock();
    if (!db) continue;
    // A database that cannot be written stays out: its changes fail anyway.
    try {
      db->PrepareWrite();
    } catch (const platform::AppError&) {
      continue;
    }
    jet::QueryEngine* engine = &db->engine();
    if (std::any_of(begun.begin(), begun.end(), [&](const auto& e) { return e.get() == engine; })) continue;
    jet::Status s = engine->BeginTransaction();
    if (!s.ok()) {
      for (auto& e : begun) e->Rollback();
      ThrowIfError(s, "DAO.Workspace");
    }
    begun.push_back(std::shared_ptr<jet::QueryEngine>(db, engine));
  }
  in_transaction_ = std::move(begun);
  transaction_open_ = true;
}

std::vector<std::shared_ptr<jet::QueryEngine>> Workspace::EndTransaction() {
  if (!transaction_open_) {
    throw platform::AppError(3034, QStringLiteral("You tried to commit or rollback without first beginning a transaction."),
                             QStringLiteral("DAO.Workspace"));
  }
  transaction_open_ = false;
  auto engines = std::move(in_transaction_);
  in_transaction_.clear();
  return engines;
}

void Workspace::CommitTrans() {
  auto engines = EndTransaction();
  jet::Status first;
  for (auto& e : engines) {
    jet::Status s = e->Commit();
    if (first.ok() && !s.ok()) first = s;
  }
  ThrowIfError(first, "DAO.Workspace");
}

void Workspace::Rollback() {
  auto engines = EndTransaction();
  for (auto& e : engines) e->Rollback();
}

Workspace& DBEngine::Workspaces(int index) {
  static Workspace workspace;
  if (index != 0) ThrowItemNotFound("DAO.Workspaces");
  return workspace;
}

void DBEngine::SetLockWait(int milliseconds) { gLockWaitMs = milliseconds; }

int DBEngine::LockWait() { return gLockWaitMs; }

void DBEngine::SetOdbcMappings(std::vector<jet::OdbcMapping> mappings) { gOdbcMappings = std::move(mappings); }

}  // namespace dao
