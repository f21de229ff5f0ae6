// A throw-away PostgreSQL 15 server for tests of linked tables: a cluster of
// its own in a fresh temporary folder, on a free port of 127.0.0.1, with a
// password-protected superuser and one database. Several may run at once.
#pragma once

#include <optional>
#include <string>

#include "child_program.h"

namespace testing_support {

class PostgresServer {
 public:
  static constexpr const char* kUser = "tabulon";
  static constexpr const char* kDatabase = "survey";

  PostgresServer();
  // Stops the server and removes its folder.
  ~PostgresServer();
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  // Makes the cluster and starts it; false, with error() saying why, when
  // it could not. Clusters left behind by test processes that died are
  // stopped and removed first.
  bool Start();
  // Immediate shutdown: open connections drop at once, as when the server
  // vanishes under a running program.
  bool Stop();
  // Starts the stopped cluster again, on the same port and with its data.
  bool Restart();

  bool running() const { return running_; }
  int port() const { return port_; }
  const std::string& password() const { return password_; }
  const std::string& folder() const { return folder_; }
  const std::string& error() const { return error_; }
  // The connect string Access keeps for a table linked to the database:
  // "ODBC;DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=…;DATABASE=survey;UID=tabulon;PWD=…".
  std::string odbc_connect() const;

  // Runs `sql` (one or more statements) through psql as the superuser,
  // stopping at the first error. Returns psql's exit status, 0 on success and
  // -1 when it could not run; `output` gets what psql printed: rows one a
  // line, columns separated by '|', no headings, and any error message.
  int RunSql(const std::string& sql, std::string* output) const;

 private:
  bool MakeFolder();
  bool MakeCluster();
  bool StartOnFreePort();
  bool StartOnPort();
  bool CreateDatabase();
  int RunSqlIn(const std::string& database, const std::string& sql, std::string* output) const;
  ProgramResult RunServerProgram(const std::string& program, const std::vector<std::string>& arguments) const;
  std::string DataFolder() const;
  std::string LogFile() const;
  std::string ServerLog() const;
  bool Fail(const std::string& message);

  std::optional<Account> server_account_;
  std::string folder_;
  std::string password_;
  int port_ = 0;
  bool running_ = false;
  std::string error_;
};

}  // namespace testing_support
