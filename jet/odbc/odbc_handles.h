// unixODBC's handles, owned: one environment for the process, connections,
// and statements, with the driver's diagnostics turned into a Status. Text
// crosses in UTF-16 (the W functions), so names and values keep every
// character whatever the driver's own code page.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <memory>
#include <string>
#include <vector>

#include "jet/status.h"
#include "jet/value.h"

namespace jet::odbc {

std::string ToUtf8(const SQLWCHAR* text, size_t units);

// The driver a data source (DSN) names, as the driver manager lists it;
// empty for a name it does not know.
std::string DataSourceDriver(const std::string& dsn);

// The driver's messages for `handle`, joined; empty when it gave none.
std::string Diagnostics(SQLSMALLINT handle_type, SQLHANDLE handle);

class Connection {
 public:
  // Connects with a driver connection string (no "ODBC;" prefix). The error
  // carries the driver manager's or the driver's own words.
  static Status Open(const std::string& connect, std::unique_ptr<Connection>* out);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  SQLHDBC handle() const { return dbc_; }
  // The quote the server puts around names ('"' for most, ' ' for none).
  char identifier_quote() const { return quote_; }
  // The server's product name as the driver gives it ("PostgreSQL", ...).
  const std::string& server_name() const { return server_name_; }
  // A table's name, each of its dot-separated parts (schema, table) quoted.
  std::string QuoteName(const std::string& name) const;
  // One name as it is: a column's.
  std::string QuoteIdentifier(const std::string& name) const;

  Status SetAutoCommit(bool on);
  Status EndTransaction(bool commit);
  Status Failed(SQLRETURN rc, const std::string& what) const;

 private:
  Connection() = default;
  SQLHDBC dbc_ = SQL_NULL_HDBC;
  char quote_ = '"';
  std::string server_name_;
};

class Statement {
 public:
  static Status Make(Connection& connection, std::unique_ptr<Statement>* out);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  SQLHSTMT handle() const { return stmt_; }
  // Runs `sql` with `parameters` bound in order (numbers, dates, text, bytes).
  Status Execute(const std::string& sql, const std::vector<Value>& parameters);
  Status Failed(SQLRETURN rc, const std::string& what) const;

 private:
  Statement() = default;
  Status Bind(const std::vector<Value>& parameters);
  SQLHSTMT stmt_ = SQL_NULL_HSTMT;
  // Bound parameters must stay where they are until the statement has run.
  struct Bound {
    int64_t integer = 0;
    double real = 0;
    SQL_TIMESTAMP_STRUCT timestamp{};
    std::u16string text;
    Bytes bytes;
    SQLLEN indicator = 0;
  };
  std::vector<Bound> bound_;
};

inline bool Succeeded(SQLRETURN rc) { return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO; }

}  // namespace jet::odbc
