// QueryEngine: one per open file. A statement runs in an in-memory SQLite
// database where each Jet table it reads is either a copy (small tables,
// made on first use) or a virtual table over the file; saved queries are
// expanded into the statement that uses them.
#include <sqlite3.h>

#include <cctype>
#include <chrono>
#include <climits>
#include <cmath>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>

#include "jet/query.h"
#include "sql/action_plan.h"
#include "sql/decimal_math.h"
#include "sql/external_files.h"
#include "sql/function_support.h"
#include "sql/parser.h"
#include "sql/query_text.h"
#include "sql/server_row_changes.h"
#include "sql/server_table_module.h"
#include "sql/table_module.h"
#include "sql/translator.h"
#include "storage/system_fields.h"

namespace jet {

using sql::SqlType;

std::string_view QueryTypeName(QueryType type) { return sql::QueryKindName(static_cast<sql::QueryKind>(type)); }

namespace {

struct CachedTable {
  std::string sqlite_name;
  bool from_server = false;  // an ODBC link's rows: read afresh by every statement
  std::vector<sql::SourceColumn> columns;
  std::vector<ColumnType> types;
};

// Binds a value the way SQLite holds its Jet type.
void Bind(sqlite3_stmt* stmt, int index, const Value& v) {
  const sql::LiteForm f = sql::ToLiteForm(v);
  switch (f.storage) {
    case SQLITE_INTEGER: sqlite3_bind_int64(stmt, index, f.integer); break;
    case SQLITE_FLOAT: sqlite3_bind_double(stmt, index, f.real); break;
    case SQLITE_TEXT: sqlite3_bind_text(stmt, index, static_cast<const char*>(f.data()), f.size, SQLITE_TRANSIENT); break;
    case SQLITE_BLOB: sqlite3_bind_blob(stmt, index, f.data(), f.size, SQLITE_TRANSIENT); break;
    default: sqlite3_bind_null(stmt, index);
  }
}

Value ReadVariant(sqlite3_stmt* stmt, int i) {
  switch (sqlite3_column_type(stmt, i)) {
    case SQLITE_INTEGER: {
      int64_t v = sqlite3_column_int64(stmt, i);
      if (v >= INT32_MIN && v <= INT32_MAX) return Value(ColumnType::kLong, v);
      return Value(ColumnType::kDouble, static_cast<double>(v));
    }
    case SQLITE_FLOAT: return Value(ColumnType::kDouble, sqlite3_column_double(stmt, i));
    case SQLITE_TEXT:
      return Value(ColumnType::kText, std::string(reinterpret_cast<const char*>(sqlite3_column_text(stmt, i)),
                                                  sqlite3_column_bytes(stmt, i)));
    case SQLITE_BLOB: {
      auto* p = static_cast<const uint8_t*>(sqlite3_column_blob(stmt, i));
      return Value(ColumnType::kBinary, Bytes(p, p + sqlite3_column_bytes(stmt, i)));
    }
    default: return Value::Null(ColumnType::kText);
  }
}

// Reads column i as the Jet type the translator worked out.
Value ReadTyped(sqlite3_stmt* stmt, int i, SqlType type, int scale) {
  if (sqlite3_column_type(stmt, i) == SQLITE_NULL) return Value::Null(sql::ToColumnType(type));
  switch (type) {
    case SqlType::kBoolean: return Value(ColumnType::kBoolean, sqlite3_column_double(stmt, i) != 0);
    case SqlType::kByte:
    case SqlType::kInteger:
    case SqlType::kLong:
    case SqlType::kBigInt: {
      if (sqlite3_column_type(stmt, i) != SQLITE_INTEGER) return ReadVariant(stmt, i);
      return Value(sql::ToColumnType(type), sqlite3_column_int64(stmt, i));
    }
    case SqlType::kCurrency:
      if (sqlite3_column_type(stmt, i) == SQLITE_INTEGER)
        return Value(ColumnType::kCurrency, Currency{sqlite3_column_int64(stmt, i)});
      return Value(ColumnType::kCurrency, Currency{sql::RoundHalfEvenToInt(sqlite3_column_double(stmt, i))});
    case SqlType::kSingle:
      return Value(ColumnType::kSingle, static_cast<float>(sqlite3_column_double(stmt, i)));
    case SqlType::kDouble:
      if (sqlite3_column_type(stmt, i) == SQLITE_TEXT) return ReadVariant(stmt, i);
      return Value(ColumnType::kDouble, sqlite3_column_double(stmt, i));
    case SqlType::kDate:
      if (sqlite3_column_type(stmt, i) == SQLITE_TEXT) return ReadVariant(stmt, i);
      return Value(ColumnType::kDateTime, DateTime{sqlite3_column_double(stmt, i)});
    case SqlType::kDecimal: {
      // Decimal arrives as its exact text; a Double from a mixed expression
      // is taken as CDec takes it.
      std::optional<Decimal> d;
      if (sqlite3_column_type(stmt, i) == SQLITE_TEXT) {
        d = sql::ParseDecimal(reinterpret_cast<const char*>(sqlite3_column_text(stmt, i)));
        if (!d) return ReadVariant(stmt, i);
      } else if (sqlite3_column_type(stmt, i) == SQLITE_INTEGER) {
        d = sql::DecimalFromInteger(sqlite3_column_int64(stmt, i));
      } else {
        d = sql::DecimalFromDouble(sqlite3_column_double(stmt, i));
        if (!d) return ReadVariant(stmt, i);
        d = sql::RoundDecimal(*d, scale);
      }
      // Shown at the places of the column it came from, where they hold it.
      if (d->scale < scale) d = sql::WithScale(*d, scale).value_or(*d);
      return Value(ColumnType::kDecimal, *d);
    }
    case SqlType::kText:
    case SqlType::kMemo: {
      if (sqlite3_column_type(stmt, i) == SQLITE_TEXT) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, i));
        return Value(sql::ToColumnType(type), std::string(text, sqlite3_column_bytes(stmt, i)));
      }
      Value v = ReadVariant(stmt, i);
      if (const std::string* text = v.get_if<std::string>()) return Value(sql::ToColumnType(type), *text);
      if (!v.is_null()) {
        return Value(ColumnType::kText, sql::TypedText(sqlite3_column_value(stmt, i), SqlType::kVariant));
      }
      return v;
    }
    case SqlType::kGuid: {
      Value v = ReadVariant(stmt, i);
      if (const Bytes* bytes = v.get_if<Bytes>(); bytes && bytes->size() == 16) {
        Guid g;
        std::copy(bytes->begin(), bytes->end(), g.begin());
        return Value(ColumnType::kGuid, g);
      }
      return v;
    }
    case SqlType::kBinary:
    case SqlType::kOle: {
      Value v = ReadVariant(stmt, i);
      if (const Bytes* bytes = v.get_if<Bytes>()) return Value(sql::ToColumnType(type), *bytes);
      return v;
    }
    default: return ReadVariant(stmt, i);
  }
}

// A statement past one of SQLite's own limits (its parser's stack, an
// expression's depth, a union's parts, a join's tables) is what Jet calls
// too complex.
bool PastSqliteLimit(const std::string& msg) {
  return msg == "parser stack overflow" || msg.starts_with("Expression tree is too large") ||
         msg == "too many terms in compound SELECT" || (msg.starts_with("at most ") && msg.ends_with(" tables in a join"));
}

Status SqliteError(sqlite3* db, const std::string& context) {
  std::string msg = sqlite3_errmsg(db);
  if (PastSqliteLimit(msg)) return Status::InvalidArgument("Query is too complex.", 3360);
  int jet = 3075;
  if (msg == "Division by zero") jet = 11;
  else if (msg == "Overflow") jet = 6;
  else if (msg == "Type mismatch") jet = 13;
  else if (msg == "Invalid procedure call or argument") jet = 5;
  else if (msg == "Out of string space") jet = 14;
  return Status::InvalidArgument(msg + (context.empty() ? "" : " (" + context + ")"), jet);
}

std::string Folded(const std::string& s) { return sql::FoldCase(s); }

int64_t RowPlace(RowId id) { return static_cast<int64_t>(id.page) << 16 | id.row; }
RowId FromRowPlace(int64_t place) {
  return RowId{static_cast<uint32_t>(place >> 16), static_cast<uint16_t>(place & 0xFFFF)};
}

std::string ColumnList(size_t n) {
  std::string s;
  for (size_t i = 0; i < n; ++i) s += ", c" + std::to_string(i);
  return s;
}

int FindColumn(const TableDef& def, const std::string& name) {
  for (size_t i = 0; i < def.columns.size(); ++i)
    if (Folded(def.columns[i].name) == Folded(name)) return static_cast<int>(i);
  return -1;
}

}  // namespace

struct QueryEngine::Impl : public sql::TranslationCatalog {
  std::unique_ptr<Database> db;
  std::unique_ptr<sql::ExternalFiles> external_files;  // files named by IN
  sqlite3* lite = nullptr;
  std::map<std::string, CachedTable> tables;          // by folded Jet name
  std::map<std::string, sql::InPlaceSource> in_place;  // by SQLite name
  std::map<std::string, sql::ServerSource> servers;     // by SQLite name
  uint64_t copy_row_limit = kDefaultCopyRowLimit;
  uint64_t rows_read_in_place = 0;
  std::map<std::string, std::string> query_text;      // by folded query name
  uint64_t cached_at = 0;
  int table_counter = 0;
  double copy_seconds = 0;
  // Values of the statement being translated, for crosstab headings.
  const std::vector<Value>* values = nullptr;
  const sql::ParameterList* parameters = nullptr;
  bool load_tables = true;

  ~Impl() override {
    if (lite) sqlite3_close(lite);
  }

  Status Init(const OpenOptions& options) {
    const std::string beside = std::filesystem::path(db->path()).parent_path().string();
    external_files = std::make_unique<sql::ExternalFiles>(beside, options.folder_mappings);
    // The engine is used by one thread at a time, so SQLite's own locking
    // would only cost time on every value read.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(":memory:", &lite, flags, nullptr) != SQLITE_OK)
      return Status::IOError("Cannot open the SQLite engine.");
    sql::RegisterTableModule(lite, &in_place);
    sql::RegisterServerTableModule(lite, &servers);
    sql::RegisterJetFunctions(lite, db->format() == FileFormat::kJet3 ? SortOrderVersion::kGeneral97
                                                                       : SortOrderVersion::kGeneral);
    // A long statement lets a waiting commit through now and then.
    sqlite3_progress_handler(lite, kStepsBetweenLooks, &Impl::LetCommitThrough, this);
    return Status::OK();
  }

  static constexpr int kStepsBetweenLooks = 20000;
  static int LetCommitThrough(void* self) {
    return static_cast<Impl*>(self)->db->AllowPendingCommit().ok() ? 0 : 1;
  }

  void DropCache() {
    for (auto& [name, t] : tables) sqlite3_exec(lite, ("DROP TABLE IF EXISTS " + t.sqlite_name).c_str(), nullptr, nullptr, nullptr);
    tables.clear();
    in_place.clear();
    servers.clear();
    query_text.clear();
    if (external_files) external_files->Clear();
  }

  // The Jet table's indexes, recreated over the copy so that joins and
  // lookups on keys are searches rather than scans.
  Status IndexCopiedTable(const TableDef& def, const CachedTable& t) {
    std::set<std::string> made;
    for (const IndexDef& index : def.indexes) {
      std::string columns;
      for (const IndexColumn& c : index.columns) {
        if (c.column < 0 || static_cast<size_t>(c.column) >= t.types.size()) continue;
        columns += (columns.empty() ? "c" : ", c") + std::to_string(c.column);
      }
      if (columns.empty() || !made.insert(columns).second) continue;
      std::string create = "CREATE INDEX " + t.sqlite_name + "_i" + std::to_string(made.size()) + " ON " +
                           t.sqlite_name + " (" + columns + ")";
      if (sqlite3_exec(lite, create.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) return SqliteError(lite, def.name);
    }
    return Status::OK();
  }

  Status CopyTable(Database& source, const std::string& name, const TableDef& def, CachedTable* t) {
    auto start = std::chrono::steady_clock::now();
    std::unique_ptr<TableCursor> cursor;
    JET_RETURN_IF_ERROR(source.OpenTable(name, &cursor));
    std::string create = "CREATE TABLE " + t->sqlite_name + " (";
    // The rowid is the row's place in the file, so a statement that changes
    // rows can name them to the writer.
    std::string insert = "INSERT INTO " + t->sqlite_name + " (rowid" + ColumnList(t->types.size()) + ") VALUES (?";
    for (size_t i = 0; i < t->types.size(); ++i) {
      create += (i ? ", c" : "c") + std::to_string(i) + " " + sql::DeclaredType(t->types[i]);
      insert += ", ?";
    }
    if (t->types.empty()) create += "c0";
    create += ")";
    insert += ")";
    if (sqlite3_exec(lite, create.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) return SqliteError(lite, name);
    if (t->types.empty()) return Status::OK();
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(lite, insert.c_str(), -1, &stmt, nullptr) != SQLITE_OK) return SqliteError(lite, name);
    sqlite3_exec(lite, "BEGIN", nullptr, nullptr, nullptr);
    while (cursor->Next()) {
      const Row& row = cursor->row();
      sqlite3_bind_int64(stmt, 1, RowPlace(cursor->row_id()));
      for (size_t i = 0; i < t->types.size() && i < row.size(); ++i) Bind(stmt, static_cast<int>(i + 2), row[i]);
      sqlite3_step(stmt);
      sqlite3_reset(stmt);
    }
    sqlite3_exec(lite, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_finalize(stmt);
    JET_RETURN_IF_ERROR(cursor->status());
    JET_RETURN_IF_ERROR(IndexCopiedTable(def, *t));
    copy_seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return Status::OK();
  }

  Status ReadInPlace(Database& source, const std::string& name, std::shared_ptr<const TableDef> def,
                     const CachedTable& t) {
    in_place[t.sqlite_name] = {&source, name, std::move(def), &rows_read_in_place};
    const std::string create =
        "CREATE VIRTUAL TABLE " + t.sqlite_name + " USING " + sql::kTableModule + "(" + t.sqlite_name + ")";
    if (sqlite3_exec(lite, create.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) return SqliteError(lite, name);
    return Status::OK();
  }

  // An ODBC link: a small table is copied for the statement, so that SQLite
  // can index it for joins; a large one is asked of the server, with the
  // conditions the server can answer.
  Status ReadFromServer(Database& source, const std::string& name, std::shared_ptr<const TableDef> def,
                        CachedTable* t) {
    t->from_server = true;
    const uint64_t rows = def->stored_row_count;  // counted when the link was described
    if (rows <= copy_row_limit) return CopyTable(source, name, *def, t);
    servers[t->sqlite_name] = {&source, name, std::move(def), static_cast<double>(rows)};
    const std::string create = "CREATE VIRTUAL TABLE " + t->sqlite_name + " USING " + sql::kServerTableModule + "(" +
                               t->sqlite_name + ")";
    if (sqlite3_exec(lite, create.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) return SqliteError(lite, name);
    return Status::OK();
  }

  // The file a source is read from: this one, or another named by IN; `key`
  // tells its tables apart in the cache.
  Status SourceFile(const std::string& database, const std::string& name, Database** source, std::string* key) {
    *source = db.get();
    *key = Folded(name);
    if (database.empty()) return Status::OK();
    std::string found_path;
    JET_RETURN_IF_ERROR(external_files->Open(database, source, &found_path));
    *key = found_path + '\x01' + *key;
    return Status::OK();
  }

  Status ResolveTable(const std::string& database, const std::string& name, bool* found, std::string* sqlite_name,
                      std::vector<sql::SourceColumn>* columns) override {
    *found = false;
    Database* source;
    std::string key;
    JET_RETURN_IF_ERROR(SourceFile(database, name, &source, &key));
    auto it = tables.find(key);
    if (it == tables.end()) {
      if (!source->FindTable(name)) return Status::OK();
      std::shared_ptr<const TableDef> def;
      JET_RETURN_IF_ERROR(source->GetTableDef(name, &def));
      CachedTable t;
      t.sqlite_name = "t" + std::to_string(++table_counter);
      for (const ColumnDef& c : def->columns) {
        sql::SourceColumn sc;
        sc.name = c.name;
        sc.type = sql::FromColumnType(c.type);
        sc.decimal_scale = c.scale;
        if (const Value* cap = c.properties.Find("Caption"); cap && cap->get_if<std::string>())
          sc.caption = *cap->get_if<std::string>();
        t.columns.push_back(sc);
        t.types.push_back(c.type);
      }
      if (!load_tables) {
        *found = true;
        *sqlite_name = t.sqlite_name;
        *columns = t.columns;
        --table_counter;
        return Status::OK();
      }
      if (source->FindTable(name)->kind == ObjectKind::kLinkedOdbc) JET_RETURN_IF_ERROR(ReadFromServer(*source, name, def, &t));
      else if (def->stored_row_count > copy_row_limit) JET_RETURN_IF_ERROR(ReadInPlace(*source, name, def, t));
      else JET_RETURN_IF_ERROR(CopyTable(*source, name, *def, &t));
      it = tables.emplace(key, std::move(t)).first;
    }
    *found = true;
    *sqlite_name = it->second.sqlite_name;
    *columns = it->second.columns;
    return Status::OK();
  }

  bool FindSavedQuery(const std::string& name, std::string* text) override {
    auto it = query_text.find(Folded(name));
    if (it != query_text.end()) {
      *text = it->second;
      return true;
    }
    SavedQuery q;
    if (!LoadQuery(name, &q).ok()) return false;
    *text = q.sql;
    return true;
  }

  std::string SavedQueryCaption(const std::string& query, const std::string& field) override {
    const PropertyMap* props = db->QueryFieldProperties(query, field);
    const Value* caption = props ? props->Find("Caption") : nullptr;
    const std::string* text = caption ? caption->get_if<std::string>() : nullptr;
    return text ? *text : std::string();
  }

  // A saved query's own captions come before those of the fields it shows.
  void ApplyOwnCaptions(const std::string& query, QueryResult* result) {
    for (QueryColumn& c : result->columns) {
      std::string own = SavedQueryCaption(query, c.name);
      if (!own.empty()) c.caption = std::move(own);
    }
  }

  Status BindAll(sqlite3_stmt* stmt, const sql::ParameterList& list, const std::vector<Value>& given) {
    int count = sqlite3_bind_parameter_count(stmt);
    for (int i = 1; i <= count; ++i) {
      size_t k = static_cast<size_t>(i - 1);
      if (k >= given.size() || k >= list.items().size()) {
        sqlite3_bind_null(stmt, i);
        continue;
      }
      const sql::QueryParameter& p = list.items()[k];
      const Value& v = given[k];
      if (const std::string* text = v.get_if<std::string>(); p.typed && text) {
        Value converted;
        JET_RETURN_IF_ERROR(ConvertParameterText(*text, p.type, &converted));
        Bind(stmt, i, converted);
      } else {
        Bind(stmt, i, v);
      }
    }
    return Status::OK();
  }

  Status PivotValues(const std::string& sqlite_sql, SqlType type, std::vector<sql::PivotValue>* out) override {
    if (!load_tables) return Status::OK();
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(lite, sqlite_sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
      return SqliteError(lite, "crosstab headings");
    static const std::vector<Value> kNone;
    Status st = BindAll(stmt, *parameters, values ? *values : kNone);
    while (st.ok() && sqlite3_step(stmt) == SQLITE_ROW) {
      sqlite3_value* v = sqlite3_column_value(stmt, 0);
      sql::PivotValue pv;
      switch (sqlite3_value_type(v)) {
        case SQLITE_NULL: pv.literal_sql = "NULL"; pv.heading = "<>"; break;
        case SQLITE_INTEGER: pv.literal_sql = std::to_string(sqlite3_value_int64(v)); break;
        case SQLITE_FLOAT: {
          pv.literal_sql = sql::GeneralDigits(sqlite3_value_double(v), 17);
          break;
        }
        default: {
          std::string text = sql::ArgText(v);
          std::string quoted = "'";
          for (char c : text) quoted += c == '\'' ? std::string("''") : std::string(1, c);
          pv.literal_sql = quoted + "'";
        }
      }
      if (pv.heading.empty()) pv.heading = sql::TypedText(v, type);
      out->push_back(std::move(pv));
    }
    sqlite3_finalize(stmt);
    return st;
  }

  Status ReadQueryRows(int32_t object_id, std::vector<sql::QueryRow>* rows) {
    std::unique_ptr<TableCursor> cursor;
    JET_RETURN_IF_ERROR(db->OpenTable("MSysQueries", &cursor));
    const SystemFields fields(cursor->def(), "MSysQueries");
    const int c_attr = fields.Column("Attribute"), c_expr = fields.Column("Expression"),
              c_flag = fields.Column("Flag"), c_extra = fields.Column("LvExtra"), c_name1 = fields.Column("Name1"),
              c_name2 = fields.Column("Name2"), c_obj = fields.Column("ObjectId"), c_order = fields.Column("Order");
    if (c_attr < 0 || c_obj < 0) return Status::Corruption("MSysQueries lacks its Attribute or ObjectId column.");
    auto small = [](const std::optional<int64_t>& n) -> std::optional<int> {
      return n ? std::optional<int>(static_cast<int>(*n)) : std::nullopt;
    };
    while (cursor->Next()) {
      const Row& r = cursor->row();
      std::optional<int64_t> obj, attribute, flag, extra;
      JET_RETURN_IF_ERROR(fields.Integer(r, c_obj, &obj));
      if (!obj || *obj != object_id) continue;
      sql::QueryRow q;
      const Bytes* order = nullptr;
      JET_RETURN_IF_ERROR(fields.Integer(r, c_attr, &attribute));
      JET_RETURN_IF_ERROR(fields.Integer(r, c_flag, &flag));
      JET_RETURN_IF_ERROR(fields.Integer(r, c_extra, &extra));
      JET_RETURN_IF_ERROR(fields.Text(r, c_expr, &q.expression));
      JET_RETURN_IF_ERROR(fields.Text(r, c_name1, &q.name1));
      JET_RETURN_IF_ERROR(fields.Text(r, c_name2, &q.name2));
      JET_RETURN_IF_ERROR(fields.Binary(r, c_order, &order));
      q.attribute = small(attribute).value_or(0);
      q.flag = small(flag);
      q.extra = small(extra);
      if (order) q.order = *order;
      rows->push_back(std::move(q));
    }
    return cursor->status();
  }

  Status LoadQuery(const std::string& name, SavedQuery* q) {
    const CatalogEntry* entry = db->FindObject(name, ObjectKind::kQuery);
    if (!entry) return Status::NotFound("Item not found in this collection: query '" + name + "'.", 3265);
    return BuildQuery(*entry, q);
  }

  Status BuildQuery(const CatalogEntry& entry, SavedQuery* q) {
    std::vector<sql::QueryRow> rows;
    JET_RETURN_IF_ERROR(ReadQueryRows(entry.id, &rows));
    sql::QueryKind kind = sql::KindOfQuery(entry.flags, rows);
    q->name = entry.name;
    q->type = static_cast<QueryType>(kind);
    q->hidden = entry.hidden;
    q->sql = sql::BuildQueryText(kind, std::move(rows));
    query_text[Folded(entry.name)] = q->sql;
    return Status::OK();
  }

  // Runs `read` as one read operation of the file, with the table cache
  // checked against it; again when another program's commit, let through
  // during a long read, changed the file under it.
  template <typename Read>
  Status AsOneRead(uint64_t noted, Read read) {
    for (int attempt = 1;; ++attempt) {
      ReadOperation op(*db);
      Status s = op.status();
      if (s.ok()) {
        CheckCommits(noted);
        s = read();
        if (!s.ok() && db->changed_under_read()) {
          s = Status::Stale("the database " + db->path() + " was changed by another program while it was read");
        }
      }
      if (s.code() != Status::Code::kStale || attempt == 3) return s;
    }
  }

  // A server's tables change without the file knowing: what a statement
  // read of them is never kept for the next.
  void DropServerTables() {
    for (auto it = tables.begin(); it != tables.end();) {
      if (!it->second.from_server) {
        ++it;
        continue;
      }
      sqlite3_exec(lite, ("DROP TABLE IF EXISTS " + it->second.sqlite_name).c_str(), nullptr, nullptr, nullptr);
      servers.erase(it->second.sqlite_name);
      it = tables.erase(it);
    }
  }

  void CheckCommits(uint64_t noted) {
    DropServerTables();
    const uint64_t now = noted + db->generation();  // both only grow
    if (now != cached_at) {
      DropCache();
      cached_at = now;
    }
  }

  Status Prepare(const std::string& sql_text, sql::Statement* st, sql::Translation* tr, const std::vector<Value>* given) {
    JET_RETURN_IF_ERROR(sql::ParseStatement(sql_text, st));
    if (st->kind != sql::StatementKind::kSelect && st->kind != sql::StatementKind::kCrosstab) {
      return Status::Unsupported("Only SELECT, UNION and TRANSFORM statements return records; action statements "
                                 "are run by Execute.");
    }
    return PrepareParsed(sql_text, *st, tr, given);
  }

  Status PrepareParsed(const std::string& sql_text, const sql::Statement& st, sql::Translation* tr,
                       const std::vector<Value>* given) {
    values = given;
    parameters = &tr->parameters;
    Status s = sql::Translate(st, sql_text, this, tr);
    values = nullptr;
    parameters = nullptr;
    return s;
  }

  Status Run(const std::string& sql_text, const std::vector<Value>& given, QueryResult* result) {
    sql::Statement st;
    sql::Translation tr;
    load_tables = true;
    JET_RETURN_IF_ERROR(Prepare(sql_text, &st, &tr, &given));
    return RunTranslated(tr, given, result);
  }

  Status RunTranslated(const sql::Translation& tr, const std::vector<Value>& given, QueryResult* result) {
    size_t needed = tr.parameters.items().size();
    if (given.size() < needed) {
      return Status::InvalidArgument("Too few parameters. Expected " + std::to_string(needed - given.size()) + ".",
                                     3061);
    }
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(lite, tr.sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
      return SqliteError(lite, "translated statement");
    }
    Status bound = BindAll(stmt, tr.parameters, given);
    if (!bound.ok()) {
      sqlite3_finalize(stmt);
      return bound;
    }
    *result = QueryResult();
    for (const auto& c : tr.columns) result->columns.push_back({c.name, sql::ToColumnType(c.type), c.caption});
    int rc;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
      Row row;
      row.reserve(tr.columns.size());
      for (size_t i = 0; i < tr.columns.size(); ++i)
        row.push_back(ReadTyped(stmt, static_cast<int>(i), tr.columns[i].type, tr.columns[i].decimal_scale));
      result->rows.push_back(std::move(row));
    }
    Status status = rc == SQLITE_DONE ? Status::OK() : SqliteError(lite, "");
    sqlite3_finalize(stmt);
    JET_RETURN_IF_ERROR(status);
    // Columns whose type shows only in the data (untyped parameters, mixed unions).
    for (size_t i = 0; i < tr.columns.size(); ++i) {
      if (tr.columns[i].type != SqlType::kVariant && tr.columns[i].type != SqlType::kNull) continue;
      for (const Row& row : result->rows)
        if (!row[i].is_null()) {
          result->columns[i].type = row[i].type();
          break;
        }
    }
    return Status::OK();
  }

  // --- Statements that change rows ---

  // How to take back one row change of a statement that failed part way
  // inside the caller's transaction: Jet undoes the whole statement.
  struct UndoStep {
    enum class Kind { kRemove, kRestore, kReinsert } kind;
    RowId id;
    Row old_row;
  };

  Status Execute(const std::string& sql_text, const std::vector<Value>& given, int64_t* affected) {
    *affected = 0;
    sql::Statement st;
    JET_RETURN_IF_ERROR(sql::ParseStatement(sql_text, &st));
    sql::ActionPlan plan;
    JET_RETURN_IF_ERROR(sql::PlanAction(std::move(st), &plan));
    const bool own_transaction = !db->in_transaction();
    if (own_transaction) JET_RETURN_IF_ERROR(db->BeginTransaction());
    // The writers' turn first: what the statement finds is then what it changes.
    const uint64_t generation = db->generation();
    Status s = db->StartChanging();
    if (db->generation() != generation) DropCache();
    // Inside the caller's transaction a statement on a server table is
    // taken back by the server, to a mark made before it.
    const CatalogEntry* target = db->FindTable(plan.table);
    const bool marked = !own_transaction && s.ok() && target && target->kind == ObjectKind::kLinkedOdbc;
    if (marked) s = db->MarkServerStatement(plan.table);
    std::vector<UndoStep> undo;
    if (s.ok()) s = FindAndApply(sql_text, plan, given, affected, &undo);
    if (own_transaction) s = s.ok() ? db->Commit() : (db->Rollback(), s);
    else if (marked) s = s.ok() ? db->EndServerStatement(plan.table, true) : (db->EndServerStatement(plan.table, false), s);
    else if (!s.ok()) s = Undo(plan.table, undo, s);
    DropCache();  // what the cache holds no longer matches the file
    if (!s.ok()) *affected = 0;
    return s;
  }

  Status FindAndApply(const std::string& sql_text, sql::ActionPlan& plan, const std::vector<Value>& given,
                      int64_t* affected, std::vector<UndoStep>* undo) {
    if (!db->FindTable(plan.table)) {
      return Status::NotFound("The Microsoft Jet database engine cannot find the input table or query '" +
                                  plan.table + "'.  Make sure it exists and that its name is spelled correctly.",
                              3078);
    }
    std::shared_ptr<const TableDef> def;
    JET_RETURN_IF_ERROR(db->GetTableDef(plan.table, &def));
    const bool on_server = db->FindTable(plan.table)->kind == ObjectKind::kLinkedOdbc;
    if (on_server) JET_RETURN_IF_ERROR(sql::SelectKeysInsteadOfPlaces(plan.table, *def, &plan));
    // Every row the statement touches is found before the first one changes,
    // so a change never feeds back into what the statement reads.
    sql::Translation tr;
    load_tables = true;
    JET_RETURN_IF_ERROR(PrepareParsed(sql_text, plan.select, &tr, &given));
    QueryResult found;
    JET_RETURN_IF_ERROR(RunTranslated(tr, given, &found));
    if (!on_server) return Apply(plan, *def, found, affected, undo);
    Row fresh;
    NewRow(*def, &fresh);
    return sql::ApplyToServer(*db, plan, *def, found, fresh, affected);
  }


  Status Undo(const std::string& table, const std::vector<UndoStep>& undo, const Status& failure) {
    for (auto step = undo.rbegin(); step != undo.rend(); ++step) {
      Status s;
      switch (step->kind) {
        case UndoStep::Kind::kRemove: s = db->DeleteRow(table, step->id); break;
        case UndoStep::Kind::kRestore: s = db->UpdateRow(table, step->id, step->old_row); break;
        case UndoStep::Kind::kReinsert: s = db->InsertRow(table, step->old_row); break;
      }
      if (!s.ok()) {
        return Status::IOError(failure.message() + "; the rows changed before it could not all be restored (" +
                               s.message() + "): roll the transaction back");
      }
    }
    return failure;
  }

  Status Apply(const sql::ActionPlan& plan, const TableDef& def, const QueryResult& found, int64_t* affected,
               std::vector<UndoStep>* undo) {
    switch (plan.kind) {
      case sql::StatementKind::kInsert: return InsertRows(plan, def, found, affected, undo);
      case sql::StatementKind::kUpdate: return UpdateRows(plan, def, found, affected, undo);
      default: return DeleteRows(plan, found, affected, undo);
    }
  }

  Status InsertRows(const sql::ActionPlan& plan, const TableDef& def, const QueryResult& found, int64_t* affected,
                    std::vector<UndoStep>* undo) {
    std::vector<int> targets;
    if (plan.columns.empty()) {
      for (size_t i = 0; i < found.columns.size() && i < def.columns.size(); ++i) targets.push_back(static_cast<int>(i));
    } else {
      for (const std::string& name : plan.columns) {
        targets.push_back(FindColumn(def, name));
        if (targets.back() < 0) return sql::UnknownField(name);
      }
    }
    if (targets.size() != found.columns.size()) {
      return Status::InvalidArgument("Number of query values and destination fields are not the same.", 3346);
    }
    Row fresh;
    if (!found.rows.empty()) NewRow(def, &fresh);
    for (const Row& values : found.rows) {
      Row row = fresh;
      for (size_t i = 0; i < targets.size(); ++i)
        JET_RETURN_IF_ERROR(FitToColumn(values[i], def.columns[targets[i]], &row[targets[i]]));
      RowId id;
      JET_RETURN_IF_ERROR(db->InsertRow(plan.table, row, &id));
      undo->push_back({UndoStep::Kind::kRemove, id, {}});
      ++*affected;
    }
    return Status::OK();
  }

  Status UpdateRows(const sql::ActionPlan& plan, const TableDef& def, const QueryResult& found, int64_t* affected,
                    std::vector<UndoStep>* undo) {
    std::vector<int> targets;
    for (const std::string& name : plan.columns) {
      targets.push_back(FindColumn(def, name));
      if (targets.back() < 0) return sql::UnknownField(name);
    }
    std::set<int64_t> done;  // a join may bring one row more than once
    for (const Row& values : found.rows) {
      const int64_t* place_of = values[0].get_if<int64_t>();
      if (!place_of) return Status::Corruption("a row to change has no place in table " + plan.table);
      const int64_t place = *place_of;
      if (!done.insert(place).second) continue;
      Row row;
      JET_RETURN_IF_ERROR(db->ReadRow(plan.table, FromRowPlace(place), &row));
      Row old_row = row;
      for (size_t i = 0; i < targets.size(); ++i)
        JET_RETURN_IF_ERROR(FitToColumn(values[i + 1], def.columns[targets[i]], &row[targets[i]]));
      JET_RETURN_IF_ERROR(db->UpdateRow(plan.table, FromRowPlace(place), row));
      undo->push_back({UndoStep::Kind::kRestore, FromRowPlace(place), std::move(old_row)});
      ++*affected;
    }
    return Status::OK();
  }

  Status DeleteRows(const sql::ActionPlan& plan, const QueryResult& found, int64_t* affected,
                    std::vector<UndoStep>* undo) {
    std::set<int64_t> done;
    for (const Row& values : found.rows) {
      const int64_t* place_of = values[0].get_if<int64_t>();
      if (!place_of) return Status::Corruption("a row to change has no place in table " + plan.table);
      const int64_t place = *place_of;
      if (!done.insert(place).second) continue;
      Row old_row;
      JET_RETURN_IF_ERROR(db->ReadRow(plan.table, FromRowPlace(place), &old_row));
      JET_RETURN_IF_ERROR(db->DeleteRow(plan.table, FromRowPlace(place)));
      undo->push_back({UndoStep::Kind::kReinsert, FromRowPlace(place), std::move(old_row)});
      ++*affected;
    }
    return Status::OK();
  }

  // Defaults that do not evaluate here (a function this engine lacks) are
  // left Null rather than refusing every new row of the table.
  void NewRow(const TableDef& def, Row* row) {
    row->clear();
    for (const ColumnDef& c : def.columns) {
      row->push_back(Value::Null(c.type));
      const Value* d = c.properties.Find("DefaultValue");
      if (c.autonumber || !d || !d->get_if<std::string>()) continue;
      std::string expr = *d->get_if<std::string>();
      if (!expr.empty() && expr[0] == '=') expr.erase(0, 1);
      QueryResult r;
      if (!Run("SELECT (" + expr + ")", {}, &r).ok() || r.rows.size() != 1 || r.rows[0].size() != 1) continue;
      Value fitted;
      if (FitToColumn(r.rows[0][0], c, &fitted).ok()) row->back() = fitted;
    }
  }

  Status Parameters(const std::string& sql_text, std::vector<QueryParameterInfo>* out) {
    sql::Statement st;
    sql::Translation tr;
    load_tables = false;
    Status s = Prepare(sql_text, &st, &tr, nullptr);
    load_tables = true;
    if (!s.ok() && st.kind != sql::StatementKind::kSelect && st.kind != sql::StatementKind::kCrosstab) {
      // Action queries: their declared parameters are what DAO lists.
      out->clear();
      sql::ParameterList list;
      load_tables = false;
      Status collected = sql::CollectActionParameters(st, sql_text, this, &list);
      load_tables = true;
      JET_RETURN_IF_ERROR(collected);
      for (const auto& p : list.items()) out->push_back({p.name, p.type, p.declared});
      return Status::OK();
    }
    JET_RETURN_IF_ERROR(s);
    out->clear();
    for (const auto& p : tr.parameters.items()) out->push_back({p.name, p.type, p.declared});
    return Status::OK();
  }
};

namespace {
std::mutex g_registry_mutex;
std::map<std::string, std::weak_ptr<QueryEngine>>& Registry() {
  static std::map<std::string, std::weak_ptr<QueryEngine>> registry;
  return registry;
}
std::string CanonicalPath(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  if (!real) return path;
  std::string s(real);
  free(real);
  return s;
}
}  // namespace

QueryEngine::QueryEngine(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
QueryEngine::~QueryEngine() = default;

Status QueryEngine::ForFile(const std::string& path, const OpenOptions& options,
                            std::shared_ptr<QueryEngine>* engine) {
  std::lock_guard<std::mutex> lock(g_registry_mutex);
  std::string key = CanonicalPath(path);
  OpenOptions with_servers = options;
  if (!with_servers.server_tables) with_servers.server_tables = MakeOdbcTables(options.odbc_mappings);
  if (auto existing = Registry()[key].lock()) {
    if (options.writable && !existing->impl_->db->writable()) {
      std::unique_ptr<Database> writer;
      JET_RETURN_IF_ERROR(Database::Open(path, with_servers, &writer));
      existing->impl_->DropCache();
      existing->impl_->db = std::move(writer);
    }
    *engine = existing;
    return Status::OK();
  }
  auto impl = std::make_unique<Impl>();
  JET_RETURN_IF_ERROR(Database::Open(path, with_servers, &impl->db));
  JET_RETURN_IF_ERROR(impl->Init(with_servers));
  std::shared_ptr<QueryEngine> created(new QueryEngine(std::move(impl)));
  Registry()[key] = created;
  *engine = created;
  return Status::OK();
}

Database& QueryEngine::database() { return *impl_->db; }

Status QueryEngine::ListQueries(std::vector<SavedQuery>* queries) {
  return impl_->AsOneRead(commit_count(), [&]() -> Status {
    queries->clear();
    for (const CatalogEntry& e : impl_->db->catalog()) {
      if (e.kind != ObjectKind::kQuery) continue;
      SavedQuery q;
      JET_RETURN_IF_ERROR(impl_->BuildQuery(e, &q));
      queries->push_back(std::move(q));
    }
    return Status::OK();
  });
}

Status QueryEngine::GetQuery(const std::string& name, SavedQuery* query) {
  return impl_->AsOneRead(commit_count(), [&] { return impl_->LoadQuery(name, query); });
}

Status QueryEngine::QueryParameters(const std::string& name, std::vector<QueryParameterInfo>* parameters) {
  return impl_->AsOneRead(commit_count(), [&]() -> Status {
    SavedQuery q;
    JET_RETURN_IF_ERROR(impl_->LoadQuery(name, &q));
    if (q.type == QueryType::kPassThrough || q.type == QueryType::kDataDefinition) {
      parameters->clear();
      return Status::OK();
    }
    return impl_->Parameters(q.sql, parameters);
  });
}

Status QueryEngine::SqlParameters(const std::string& sql, std::vector<QueryParameterInfo>* parameters) {
  return impl_->AsOneRead(commit_count(), [&] { return impl_->Parameters(sql, parameters); });
}

Status QueryEngine::RunQuery(const std::string& name, const std::vector<Value>& parameters, QueryResult* result) {
  return impl_->AsOneRead(commit_count(), [&]() -> Status {
    SavedQuery q;
    JET_RETURN_IF_ERROR(impl_->LoadQuery(name, &q));
    if (q.type != QueryType::kSelect && q.type != QueryType::kUnion && q.type != QueryType::kCrosstab) {
      return Status::Unsupported("Query '" + name + "' is a " + std::string(QueryTypeName(q.type)) +
                                 " query and returns no records.");
    }
    JET_RETURN_IF_ERROR(impl_->Run(q.sql, parameters, result));
    impl_->ApplyOwnCaptions(q.name, result);
    return Status::OK();
  });
}

Status QueryEngine::RunSql(const std::string& sql, const std::vector<Value>& parameters, QueryResult* result) {
  return impl_->AsOneRead(commit_count(), [&] { return impl_->Run(sql, parameters, result); });
}

Status QueryEngine::Execute(const std::string& sql, const std::vector<Value>& parameters, int64_t* affected) {
  impl_->CheckCommits(commit_count());
  return impl_->Execute(sql, parameters, affected);
}

Status QueryEngine::ExecuteQuery(const std::string& name, const std::vector<Value>& parameters, int64_t* affected) {
  SavedQuery q;
  JET_RETURN_IF_ERROR(GetQuery(name, &q));
  if (q.type != QueryType::kAppend && q.type != QueryType::kUpdate && q.type != QueryType::kDelete) {
    return Status::InvalidArgument("Query '" + name + "' is a " + std::string(QueryTypeName(q.type)) +
                                       " query; only append, update and delete queries can be executed.",
                                   3065);
  }
  impl_->CheckCommits(commit_count());
  return impl_->Execute(q.sql, parameters, affected);
}

Status QueryEngine::NewRow(const std::string& table, Row* row) {
  return impl_->AsOneRead(commit_count(), [&]() -> Status {
    std::shared_ptr<const TableDef> def;
    JET_RETURN_IF_ERROR(impl_->db->GetTableDef(table, &def));
    impl_->NewRow(*def, row);
    return Status::OK();
  });
}

bool QueryEngine::ChangesData(const std::string& sql) {
  sql::Statement st;
  if (sql::ParseStatement(sql, &st).ok()) {
    return st.kind == sql::StatementKind::kInsert || st.kind == sql::StatementKind::kUpdate ||
           st.kind == sql::StatementKind::kDelete;
  }
  // Text that does not parse still says by its first word what it meant to do.
  size_t i = 0;
  while (i < sql.size() && (std::isspace(static_cast<unsigned char>(sql[i])) || sql[i] == '(')) ++i;
  std::string word;
  while (i < sql.size() && std::isalpha(static_cast<unsigned char>(sql[i]))) word += sql[i++];
  word = sql::FoldCase(word);
  return word == "insert" || word == "update" || word == "delete";
}

Status QueryEngine::BeginTransaction() { return impl_->db->BeginTransaction(); }

Status QueryEngine::Commit() {
  Status s = impl_->db->Commit();
  NoteCommit();
  return s;
}

Status QueryEngine::Rollback() {
  Status s = impl_->db->Rollback();
  NoteCommit();  // the cache may hold rows that are now undone
  return s;
}

size_t QueryEngine::cached_table_count() const { return impl_->tables.size(); }
double QueryEngine::copy_seconds() const { return impl_->copy_seconds; }
uint64_t QueryEngine::rows_read_in_place() const { return impl_->rows_read_in_place; }
void QueryEngine::set_copy_row_limit(uint64_t rows) {
  impl_->DropCache();
  impl_->copy_row_limit = rows;
}

}  // namespace jet
