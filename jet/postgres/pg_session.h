// A PostgreSQL session through libpq, for what ODBC does slowly: bulk
// loading rows with COPY, and streaming a large result. It is opened from
// the same connect string the links keep, so the password comes from there,
// PGPASSWORD or ~/.pgpass. Dates are written in ISO order and numbers as
// exactly as they are held, whatever the server's own settings.
#pragma once

#include <memory>
#include <string>

#include "jet/status.h"

struct pg_conn;

namespace jet::postgres {

class PgSession {
 public:
  // `connect` is an ODBC connect string: SERVER, PORT, DATABASE, UID, PWD
  // and SSLMODE are taken from it. A data source (DSN) is not read.
  static Status Open(const std::string& connect, std::unique_ptr<PgSession>* out);
  ~PgSession();
  PgSession(const PgSession&) = delete;
  PgSession& operator=(const PgSession&) = delete;

  // Runs statements that return no rows.
  Status Exec(const std::string& sql);
  // The first column of the first row, or empty when there is none.
  Status QueryValue(const std::string& sql, std::string* value);
  // COPY ... FROM STDIN: start, send data in text format, finish.
  Status BeginCopy(const std::string& copy_statement);
  Status SendCopyData(const std::string& data);
  Status EndCopy();
  // A string literal for SQL text.
  std::string Literal(const std::string& text) const;
  // Whether the connection still stands (not after the server stopped).
  bool usable() const;
  pg_conn* handle() const { return conn_; }
  // The session's last error, as the server or libpq says it.
  Status Failed(const std::string& what) const;

 private:
  PgSession() = default;
  pg_conn* conn_ = nullptr;
};

}  // namespace jet::postgres
