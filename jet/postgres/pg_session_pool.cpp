#include "postgres/pg_session_pool.h"

#include "odbc/connect_string.h"

namespace jet::postgres {

std::unique_ptr<PgSession> PgSessionPool::Take(const std::string& connect) {
  {
    std::lock_guard lock(mutex_);
    if (unreachable_.contains(connect)) return nullptr;
    auto& idle = idle_[connect];
    while (!idle.empty()) {
      std::unique_ptr<PgSession> session = std::move(idle.back());
      idle.pop_back();
      if (session->usable()) return session;
    }
  }
  const odbc::ConnectString c = odbc::ConnectString::Parse(connect);
  std::unique_ptr<PgSession> session;
  if (c.Driver().empty() || !PgSession::Open(connect, &session).ok()) {
    std::lock_guard lock(mutex_);
    unreachable_.insert(connect);
    return nullptr;
  }
  return session;
}

void PgSessionPool::GiveBack(const std::string& connect, std::unique_ptr<PgSession> session) {
  std::lock_guard lock(mutex_);
  idle_[connect].push_back(std::move(session));
}

}  // namespace jet::postgres
