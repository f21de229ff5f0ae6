// Idle PostgreSQL sessions kept by connect string, for the streams that
// read links: each stream has a session to itself while it reads (a join of
// two links reads both at once), and gives it back at the end. A server that
// libpq cannot reach where ODBC could (a data source, another sign-on) is
// remembered, and its links are read through ODBC alone.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "postgres/pg_session.h"

namespace jet::postgres {

class PgSessionPool {
 public:
  // A session for the ODBC connect string `connect` (its driver mapped):
  // an idle one, or a new one. Null when the string names a data source
  // rather than a driver (libpq cannot read its settings), or libpq cannot
  // connect with it.
  std::unique_ptr<PgSession> Take(const std::string& connect);
  // Keeps `session`, open on `connect`, for the next Take.
  void GiveBack(const std::string& connect, std::unique_ptr<PgSession> session);

 private:
  std::mutex mutex_;
  std::map<std::string, std::vector<std::unique_ptr<PgSession>>> idle_;
  std::set<std::string> unreachable_;
};

}  // namespace jet::postgres
