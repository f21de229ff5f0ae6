// Linked tables read and changed through unixODBC. One connection per
// distinct connect string, opened on first use and kept (and made again
// after a statement on it fails); a link's columns and row count are asked
// for once, as a Jet file keeps its own. PostgreSQL's rows are read through
// its own client library where it reaches the server: it streams them.
#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <map>
#include <mutex>

#include "jet/server_tables.h"
#include "odbc/server_catalog.h"
#include "odbc/server_statements.h"
#include "odbc/connect_string.h"
#include "odbc/odbc_handles.h"
#include "odbc/server_cursor.h"
#include "odbc/server_values.h"
#include "postgres/pg_row_stream.h"
#include "postgres/pg_session_pool.h"
#include "postgres/pg_text_values.h"

namespace jet {
namespace {

using odbc::Connection;
using odbc::ConnectString;
using odbc::Statement;

bool Contains(const std::string& text, const char* word) { return strcasestr(text.c_str(), word) != nullptr; }

// PostgreSQL's driver, named or through a data source, unless told
// otherwise: booleans as bits (Yes/No, not text), and rows fetched a block
// at a time rather than the whole result held in memory.
void AddDriverDefaults(ConnectString* c) {
  const std::string driver = c->Driver().empty() ? odbc::DataSourceDriver(c->DataSource()) : c->Driver();
  if (!Contains(driver, "PostgreSQL") && !Contains(driver, "psqlodbc")) return;
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
    if (Status s = odbc::DescribeColumns(*connection, link, made.get()); !s.ok()) return Dropped(connection, Named(link, s));
    // One count serves the statements' plans and the key's statistic, as
    // the counts a Jet file stores do until the link is read again.
    uint64_t rows = 0;
    if (Status s = odbc::CountServerRows(*connection, link, &rows); !s.ok()) return Dropped(connection, Named(link, s));
    made->stored_row_count = static_cast<uint32_t>(std::min<uint64_t>(rows, UINT32_MAX));
    // A server that cannot name the key still gives the rows; the link then
    // has no index, as Access shows a link to a view.
    (void)odbc::ReadPrimaryKey(*connection, link, made.get());
    defs_[key] = made;
    *def = made;
    return Status::OK();
  }

  Status OpenRows(const CatalogEntry& link, std::shared_ptr<const TableDef> def, const ServerQuery& query,
                  std::unique_ptr<TableCursor>* cursor) override {
    std::lock_guard lock(mutex_);
    std::shared_ptr<Connection> connection;
    JET_RETURN_IF_ERROR(Connect(link, &connection));
    if (StreamFromPostgres(link, def, query, *connection, cursor)) return Status::OK();
    std::vector<size_t> selected;
    std::vector<Value> parameters;
    const std::string sql =
        odbc::SelectText(*connection, link, *def, query, odbc::ParameterMarks::kQuestion, &selected, &parameters);
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
    if (Status s = odbc::CountServerRows(*connection, link, count); !s.ok()) return Dropped(connection, Named(link, s));
    return Status::OK();
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

  Status MarkStatement(const CatalogEntry& link) override {
    return OnConnection(link, [](const Connection& c) {
      return c.server_name() == "Microsoft SQL Server" ? "SAVE TRANSACTION tabulon_statement" : "SAVEPOINT tabulon_statement";
    });
  }

  Status EndStatement(const CatalogEntry& link, bool keep) override {
    return OnConnection(link, [keep](const Connection& c) -> std::string {
      const bool sql_server = c.server_name() == "Microsoft SQL Server";
      if (keep) return sql_server ? "" : "RELEASE SAVEPOINT tabulon_statement";
      return sql_server ? "ROLLBACK TRANSACTION tabulon_statement" : "ROLLBACK TO SAVEPOINT tabulon_statement";
    });
  }

  Status Commit() override { return EndTransactions(true); }
  void Rollback() override { (void)EndTransactions(false); }

 private:
  // The connect string the driver is given: the link's, with the mappings
  // applied (made once: a data source's driver is looked up in its files).
  const std::string& DriverConnect(const CatalogEntry& link) {
    auto [it, made] = driver_connects_.try_emplace(link.connect);
    if (made) {
      ConnectString c = ConnectString::Parse(link.connect);
      c.ApplyMappings(mappings_);
      AddDriverDefaults(&c);
      it->second = c.ForDriver();
    }
    return it->second;
  }

  // The connection for a link's connect string.
  Status Connect(const CatalogEntry& link, std::shared_ptr<Connection>* out) {
    const std::string text = DriverConnect(link);
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

  // A PostgreSQL link's rows through libpq, which streams them (see
  // PgRowStream), when libpq reaches the server. Not while this process
  // has changes on the server not yet committed: only the ODBC connection
  // that made them sees them.
  bool StreamFromPostgres(const CatalogEntry& link, std::shared_ptr<const TableDef> def, const ServerQuery& query,
                          const Connection& connection, std::unique_ptr<TableCursor>* cursor) {
    if (connection.server_name() != "PostgreSQL" || !in_transaction_.empty()) return false;
    std::vector<size_t> selected;
    std::vector<Value> values;
    const std::string sql =
        odbc::SelectText(connection, link, *def, query, odbc::ParameterMarks::kNumbered, &selected, &values);
    std::vector<std::string> parameters(values.size());
    std::vector<unsigned> types(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
      if (!postgres::ParameterText(values[i], &parameters[i], &types[i])) return false;
    }
    const std::string connect = DriverConnect(link);
    std::unique_ptr<postgres::PgSession> session = sessions_->Take(connect);
    if (!session) return false;
    auto give_back = [pool = sessions_, connect](std::unique_ptr<postgres::PgSession> s) {
      pool->GiveBack(connect, std::move(s));
    };
    return postgres::PgRowStream::Open(std::move(session), std::move(def), sql, parameters, types, std::move(selected),
                                       link.name, give_back, cursor)
        .ok();
  }

  // Runs the statement `sql_for` gives (none when empty) in the link's server
  // transaction.
  template <typename SqlFor>
  Status OnConnection(const CatalogEntry& link, SqlFor sql_for) {
    std::lock_guard lock(mutex_);
    std::shared_ptr<Connection> connection;
    JET_RETURN_IF_ERROR(Connect(link, &connection));
    JET_RETURN_IF_ERROR(Named(link, InTransaction(connection)));
    const std::string sql = sql_for(*connection);
    if (sql.empty()) return Status::OK();
    std::unique_ptr<Statement> statement;
    JET_RETURN_IF_ERROR(Statement::Make(*connection, &statement));
    if (Status s = statement->Execute(sql, {}); !s.ok()) return Changed(link, s);
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

  std::vector<OdbcMapping> mappings_;
  std::mutex mutex_;
  std::map<std::string, std::string> driver_connects_;              // by the link's connect string
  std::map<std::string, std::shared_ptr<Connection>> connections_;  // by driver connect string
  std::map<std::string, std::shared_ptr<const TableDef>> defs_;     // by connect string and foreign name
  std::vector<std::shared_ptr<Connection>> in_transaction_;         // connections with changes not yet ended
  std::shared_ptr<postgres::PgSessionPool> sessions_ = std::make_shared<postgres::PgSessionPool>();
};

}  // namespace

std::shared_ptr<ServerTables> MakeOdbcTables(std::vector<OdbcMapping> mappings) {
  return std::make_shared<OdbcTables>(std::move(mappings));
}

}  // namespace jet
