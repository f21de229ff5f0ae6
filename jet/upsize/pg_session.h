// A PostgreSQL session through libpq, for what ODBC does slowly: bulk
// loading rows with COPY. It is opened from the same connect string the
// links keep, so the password comes from there, PGPASSWORD or ~/.pgpass.
#pragma once

#include <memory>
#include <string>

#include "jet/status.h"

struct pg_conn;

namespace jet::upsize {

class PgSession {
 public:
  // `connect` is an ODBC connect string: SERVER, PORT, DATABASE, UID, PWD
  // and SSLMODE are taken from it.
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

 private:
  PgSession() = default;
  Status Failed(const std::string& what) const;
  pg_conn* conn_ = nullptr;
};

}  // namespace jet::upsize
