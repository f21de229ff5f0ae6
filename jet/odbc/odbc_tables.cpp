// Linked tables read through unixODBC. One connection per distinct connect
// string, opened on first use and kept; a link's column list is asked for
// once and kept until Forget.
#include <strings.h>

#include <cstring>
#include <algorithm>
#include <map>
#include <mutex>

#include "jet/server_tables.h"
#include "odbc/change_statements.h"
#include "odbc/connect_string.h"
#include "odbc/odbc_handles.h"
#include "odbc/server_cursor.h"
#include "odbc/server_values.h"

namespace jet {
namespace {

using odbc::Connection;
using odbc::ConnectString;
using odbc::Statement;

bool Contains(const std::string& text, const char* word) { return strcasestr(text.c_str(), word) != nullptr; }

// PostgreSQL's driver, unless told otherwise: booleans as bits (Yes/No, not
// text), and rows fetched a block at a time rather than the whole result
// held in memory.
void AddDriverDefaults(ConnectString* c) {
  if (!Contains(c->Driver(), "PostgreSQL") && !Contains(c->Driver(), "psqlodbc")) return;
  for (auto [key, value] : {std::pair{"BoolsAsChar", "0"}, {"UseDeclareFetch", "1"}, {"Fetch", "4096"}}) {
    if (!c->Get(key)) c->Set(key, value);
  }
}

class OdbcTables : public ServerTables {
 public:
  explicit OdbcTables(std::vector<OdbcMapping> mappings) : mappings_(std::move(mappings)) {}

  Status GetTableDef(const CatalogEntry& link, std::shared_ptr<const TableDef>* def) override {
    std::lock_guard lock(mutex_);
    const std::string key = link.connect + '\x01' + link.foreign_name;
    if (auto it = defs_.find(key); it != defs_.end()) {
      *def = it->second;
      return Status::OK();
    }
    std::shared_ptr<Connection> connection;
    JET_RETURN_IF_ERROR(Connect(link, &connection));
    auto made = std::make_shared<TableDef>();
    made->name = link.name;
    if (Status s = DescribeColumns(*connection, link, made.get()); !s.ok()) return Dropped(connection, Named(link, s));
    // A server that cannot name the key still gives the rows; the link then
    // has no index, as Access shows a link to a view.
    (void)ReadPrimaryKey(*connection, link, made.get());
    defs_[key] = made;
    *def = made;
    return Status::OK();
  }

  Status OpenRows(const CatalogEntry& link, std::shared_ptr<const TableDef> def, const ServerQuery& query,
                  std::unique_ptr<TableCursor>* cursor) override {
    std::lock_guard lock(mutex_);
    std::shared_ptr<Connection> connection;
    JET_RETURN_IF_ERROR(Connect(link, &connection));
    std::vector<size_t> selected;
    std::vector<Value> parameters;
    const std::string sql = SelectText(*connection, link, *def, query, &selected, &parameters);
    std::unique_ptr<Statement> statement;
    JET_RETURN_IF_ERROR(Statement::Make(*connection, &statement));
    if (Status s = statement->Execute(sql, parameters); !s.ok()) return Dropped(connection, Named(link, s));
    *cursor = std::make_unique<odbc::ServerCursor>(def, connection, std::move(statement), std::move(selected), link.name);
    return Status::OK();
  }

  Status CountRows(const CatalogEntry& link, uint64_t* count) override {
    std::lock_guard lock(mutex_);
    std::shared_ptr<Connection> connection;
    JET_RETURN_IF_ERROR(Connect(link, &connection));
    if (Status s = Count(*connection, link, count); !s.ok()) return Dropped(connection, Named(link, s));
    return Status::OK();
  }

  void Forget() override {
    std::lock_guard lock(mutex_);
    defs_.clear();
    connections_.clear();
  }

  Status Change(const CatalogEntry& link, const TableDef& def, const ServerChange& change, Row* stored) override {
    if (change.kind == ServerChange::Kind::kUpdate && change.columns.empty()) return Status::OK();
    std::lock_guard lock(mutex_);
    std::shared_ptr<Connection> connection;
    JET_RETURN_IF_ERROR(Connect(link, &connection));
    JET_RETURN_IF_ERROR(Named(link, InTransaction(connection)));
    const bool returning = connection->server_name() == "PostgreSQL";
    std::string sql;
    std::vector<Value> parameters;
    Status s = odbc::ChangeStatement(*connection, link, def, change, returning, &sql, &parameters);
    if (!s.ok()) return Status(s.code() == Status::Code::kReadOnly
                                   ? Status::ReadOnly("The linked table '" + link.name + "' cannot be changed: " + s.message(), 3027)
                                   : s);
    std::unique_ptr<Statement> statement;
    JET_RETURN_IF_ERROR(Statement::Make(*connection, &statement));
    if (Status sent = statement->Execute(sql, parameters); !sent.ok()) return Changed(link, sent);
    if (change.kind != ServerChange::Kind::kInsert) return CheckOneRow(link, *statement);
    if (!stored) return Status::OK();
    *stored = change.new_row;
    if (returning && odbc::Succeeded(SQLFetch(statement->handle()))) {
      for (size_t i = 0; i < def.columns.size(); ++i)
        JET_RETURN_IF_ERROR(odbc::ReadCell(statement->handle(), static_cast<SQLUSMALLINT>(i + 1), def.columns[i].type,
                                           &(*stored)[i]));
    }
    return Status::OK();
  }

  Status Commit() override { return EndTransactions(true); }
  void Rollback() override { (void)EndTransactions(false); }

 private:
  // The connection for a link's connect string, with the mappings applied.
  Status Connect(const CatalogEntry& link, std::shared_ptr<Connection>* out) {
    ConnectString c = ConnectString::Parse(link.connect);
    c.ApplyMappings(mappings_);
    AddDriverDefaults(&c);
    const std::string text = c.ForDriver();
    if (auto it = connections_.find(text); it != connections_.end()) {
      *out = it->second;
      return Status::OK();
    }
    std::unique_ptr<Connection> made;
    Status s = Connection::Open(text, &made);
    if (!s.ok()) {
      return Status::IOError("Cannot connect to the linked table '" + link.name + "' through " +
                             WithPasswordsHidden(link.connect) + ": " + WithPasswordsHidden(s.message()));
    }
    *out = connections_[text] = std::move(made);
    return Status::OK();
  }

  // The first change on a connection begins its server transaction.
  Status InTransaction(const std::shared_ptr<Connection>& connection) {
    for (const auto& open : in_transaction_) {
      if (open == connection) return Status::OK();
    }
    JET_RETURN_IF_ERROR(connection->SetAutoCommit(false));
    in_transaction_.push_back(connection);
    return Status::OK();
  }

  Status EndTransactions(bool commit) {
    std::lock_guard lock(mutex_);
    Status result;
    for (const auto& connection : in_transaction_) {
      Status s = connection->EndTransaction(commit);
      if (s.ok()) s = connection->SetAutoCommit(true);
      if (!s.ok() && result.ok()) result = Status::IOError("The server's changes could not be " +
                                                           std::string(commit ? "committed" : "rolled back") + ": " +
                                                           WithPasswordsHidden(s.message()));
    }
    in_transaction_.clear();
    return result;
  }

  // An update or delete that found no row: another user changed or deleted it.
  static Status CheckOneRow(const CatalogEntry& link, Statement& statement) {
    SQLLEN rows = 0;
    SQLRowCount(statement.handle(), &rows);
    if (rows >= 1) return Status::OK();
    return Status::NotFound("The row of the linked table '" + link.name +
                                "' was changed or deleted by another user since it was read.",
                            3167);
  }

  static Status Changed(const CatalogEntry& link, const Status& s) {
    return Status::InvalidArgument("The server refused the change to the linked table '" + link.name + "': " +
                                       WithPasswordsHidden(s.message()),
                                   3146);
  }

  // A statement failed: the connection may be gone (the server stopped), so
  // the next read makes a new one rather than failing on this one forever.
  Status Dropped(const std::shared_ptr<Connection>& connection, Status s) {
    std::erase_if(connections_, [&](const auto& kv) { return kv.second == connection; });
    return s;
  }

  // A server's refusal, said with the link's name and its connect string.
  static Status Named(const CatalogEntry& link, Status s) {
    if (s.ok()) return s;
    return Status::IOError("The linked table '" + link.name + "' (" + WithPasswordsHidden(link.connect) +
                           ") cannot be read: " + WithPasswordsHidden(s.message()));
  }

  static Status Count(Connection& connection, const CatalogEntry& link, uint64_t* count) {
    std::unique_ptr<Statement> statement;
    JET_RETURN_IF_ERROR(Statement::Make(connection, &statement));
    JET_RETURN_IF_ERROR(statement->Execute("SELECT COUNT(*) FROM " + connection.QuoteName(link.foreign_name), {}));
    SQLRETURN rc = SQLFetch(statement->handle());
    if (!odbc::Succeeded(rc)) return statement->Failed(rc, "counting rows");
    Value n;
    JET_RETURN_IF_ERROR(odbc::ReadCell(statement->handle(), 1, ColumnType::kLong, &n));
    *count = n.get_if<int64_t>() ? static_cast<uint64_t>(*n.get_if<int64_t>()) : 0;
    return Status::OK();
  }

  static Status DescribeColumns(Connection& connection, const CatalogEntry& link, TableDef* def) {
    std::unique_ptr<Statement> statement;
    JET_RETURN_IF_ERROR(Statement::Make(connection, &statement));
    JET_RETURN_IF_ERROR(statement->Execute("SELECT * FROM " + connection.QuoteName(link.foreign_name) + " WHERE 1=0", {}));
    SQLSMALLINT count = 0;
    SQLNumResultCols(statement->handle(), &count);
    for (SQLUSMALLINT i = 1; i <= count; ++i) {
      SQLWCHAR name[256] = {};
      SQLSMALLINT name_length = 0, nullable = SQL_NULLABLE;
      odbc::ServerColumn column;
      SQLRETURN rc = SQLDescribeColW(statement->handle(), i, name, 256, &name_length, &column.sql_type, &column.size,
                                     &column.digits, &nullable);
      if (!odbc::Succeeded(rc)) return statement->Failed(rc, "describing the server's columns");
      column.name = odbc::ToUtf8(name, std::min<size_t>(name_length, 255));
      column.nullable = nullable != SQL_NO_NULLS;
      SQLLEN automatic = SQL_FALSE;
      SQLColAttributeW(statement->handle(), i, SQL_DESC_AUTO_UNIQUE_VALUE, nullptr, 0, nullptr, &automatic);
      column.autonumber = automatic == SQL_TRUE;
      ColumnDef jet_column = odbc::JetColumnFor(column);
      jet_column.number = static_cast<uint16_t>(i - 1);
      def->columns.push_back(std::move(jet_column));
    }
    return Status::OK();
  }

  static Status ReadPrimaryKey(Connection& connection, const CatalogEntry& link, TableDef* def) {
    std::unique_ptr<Statement> statement;
    JET_RETURN_IF_ERROR(Statement::Make(connection, &statement));
    const size_t dot = link.foreign_name.rfind('.');
    std::u16string schema = odbc::ToUtf16(dot == std::string::npos ? "" : link.foreign_name.substr(0, dot));
    std::u16string table = odbc::ToUtf16(dot == std::string::npos ? link.foreign_name : link.foreign_name.substr(dot + 1));
    auto wide = [](std::u16string& s) { return reinterpret_cast<SQLWCHAR*>(s.data()); };
    SQLRETURN rc = SQLPrimaryKeysW(statement->handle(), nullptr, 0, schema.empty() ? nullptr : wide(schema),
                                   static_cast<SQLSMALLINT>(schema.size()), wide(table),
                                   static_cast<SQLSMALLINT>(table.size()));
    if (!odbc::Succeeded(rc)) return statement->Failed(rc, "reading the server's primary key");
    IndexDef key;
    key.name = "PrimaryKey";
    key.primary = key.unique = key.required = true;
    while (odbc::Succeeded(SQLFetch(statement->handle()))) {
      Value column;
      JET_RETURN_IF_ERROR(odbc::ReadCell(statement->handle(), 4, ColumnType::kText, &column));
      const int at = column.get_if<std::string>() ? def->FindColumn(*column.get_if<std::string>()) : -1;
      if (at >= 0) key.columns.push_back({at, true});
    }
    if (key.columns.empty()) return Status::OK();
    // A unique key has as many distinct values as the table has rows.
    uint64_t rows = 0;
    JET_RETURN_IF_ERROR(Count(connection, link, &rows));
    key.distinct_count = static_cast<uint32_t>(std::min<uint64_t>(rows, UINT32_MAX));
    def->indexes.push_back(std::move(key));
    return Status::OK();
  }

  static std::string SelectText(const Connection& connection, const CatalogEntry& link, const TableDef& def,
                                const ServerQuery& query, std::vector<size_t>* selected,
                                std::vector<Value>* parameters) {
    std::string columns;
    for (size_t i = 0; i < def.columns.size(); ++i) {
      if (!query.wanted.empty() && (i >= query.wanted.size() || !query.wanted[i])) continue;
      columns += (columns.empty() ? "" : ", ") + connection.QuoteIdentifier(def.columns[i].name);
      selected->push_back(i);
    }
    std::string sql = "SELECT " + (columns.empty() ? std::string("1") : columns) + " FROM " +
                      connection.QuoteName(link.foreign_name);
    std::string where;
    for (const ServerCondition& c : query.conditions) {
      if (c.column >= def.columns.size()) continue;
      for (auto& [op, value] : ServerForm(c, def.columns[c.column].type)) {
        where += (where.empty() ? " WHERE " : " AND ") + connection.QuoteIdentifier(def.columns[c.column].name) +
                 OperatorText(op) + "?";
        parameters->push_back(std::move(value));
      }
    }
    return sql + where + (query.key_order ? KeyOrder(connection, def) : "");
  }

  static std::string KeyOrder(const Connection& connection, const TableDef& def) {
    std::string order;
    if (const IndexDef* key = def.PrimaryKey()) {
      for (const IndexColumn& c : key->columns)
        order += (order.empty() ? " ORDER BY " : ", ") + connection.QuoteIdentifier(def.columns[c.column].name);
    }
    return order;
  }

  // A condition as the server is asked it. A server date keeps fractions of
  // a second that a Jet date rounds away, so a date condition is widened by
  // a second on each side: the server then returns a superset of the rows,
  // and the condition is checked exactly on each.
  static std::vector<std::pair<ServerCondition::Op, Value>> ServerForm(const ServerCondition& c, ColumnType type) {
    using Op = ServerCondition::Op;
    const DateTime* date = c.value.get_if<DateTime>();
    if (type != ColumnType::kDateTime || !date) return {{c.op, c.value}};
    constexpr double kSecond = 1.0 / 86400;
    const Value before(ColumnType::kDateTime, DateTime{date->serial - kSecond});
    const Value after(ColumnType::kDateTime, DateTime{date->serial + kSecond});
    switch (c.op) {
      case Op::kEqual: return {{Op::kGreaterOrEqual, before}, {Op::kLessOrEqual, after}};
      case Op::kLess:
      case Op::kLessOrEqual: return {{Op::kLessOrEqual, after}};
      case Op::kGreater:
      case Op::kGreaterOrEqual: return {{Op::kGreaterOrEqual, before}};
    }
    return {};
  }

  static const char* OperatorText(ServerCondition::Op op) {
    switch (op) {
      case ServerCondition::Op::kEqual: return " = ";
      case ServerCondition::Op::kLess: return " < ";
      case ServerCondition::Op::kLessOrEqual: return " <= ";
      case ServerCondition::Op::kGreater: return " > ";
      case ServerCondition::Op::kGreaterOrEqual: return " >= ";
    }
    return " = ";
  }

  std::vector<OdbcMapping> mappings_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Connection>> connections_;  // by driver connect string
  std::map<std::string, std::shared_ptr<const TableDef>> defs_;     // by connect string and foreign name
  std::vector<std::shared_ptr<Connection>> in_transaction_;         // connections with changes not yet ended
};

}  // namespace

std::shared_ptr<ServerTables> MakeOdbcTables(std::vector<OdbcMapping> mappings) {
  return std::make_shared<OdbcTables>(std::move(mappings));
}

}  // namespace jet
