#include "postgres/pg_session.h"

#include <libpq-fe.h>

#include "jet/server_tables.h"
#include "odbc/connect_string.h"

namespace jet::postgres {
namespace {

// A libpq keyword value: quoted, with quotes and backslashes escaped.
std::string Quoted(const std::string& value) {
  std::string out = "'";
  for (char c : value) {
    if (c == '\'' || c == '\\') out += '\\';
    out += c;
  }
  return out + "'";
}

std::string LibpqConnInfo(const std::string& connect) {
  const odbc::ConnectString c = odbc::ConnectString::Parse(connect);
  std::string info =
      "connect_timeout=15 client_encoding=UTF8 options='-c DateStyle=ISO -c extra_float_digits=1 -c bytea_output=hex'";
  const std::pair<const char*, const char*> keys[] = {
      {"SERVER", "host"}, {"PORT", "port"}, {"DATABASE", "dbname"}, {"UID", "user"}, {"PWD", "password"},
      {"SSLMODE", "sslmode"}};
  for (const auto& [odbc_key, pg_key] : keys) {
    if (std::optional<std::string> v = c.Get(odbc_key); v && !v->empty()) info += std::string(" ") + pg_key + "=" + Quoted(*v);
  }
  return info;
}

}  // namespace

Status PgSession::Open(const std::string& connect, std::unique_ptr<PgSession>* out) {
  std::unique_ptr<PgSession> s(new PgSession);
  s->conn_ = PQconnectdb(LibpqConnInfo(connect).c_str());
  if (PQstatus(s->conn_) != CONNECTION_OK) {
    return Status::IOError("Cannot connect to the server " + WithPasswordsHidden(connect) + ": " +
                           PQerrorMessage(s->conn_));
  }
  *out = std::move(s);
  return Status::OK();
}

PgSession::~PgSession() {
  if (conn_) PQfinish(conn_);
}

Status PgSession::Failed(const std::string& what) const {
  std::string message = PQerrorMessage(conn_);
  while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
  return Status::IOError(what + ": " + message);
}

Status PgSession::Exec(const std::string& sql) {
  PGresult* r = PQexec(conn_, sql.c_str());
  const bool ok = PQresultStatus(r) == PGRES_COMMAND_OK || PQresultStatus(r) == PGRES_TUPLES_OK;
  PQclear(r);
  return ok ? Status::OK() : Failed("the server refused " + sql.substr(0, 200));
}

Status PgSession::QueryValue(const std::string& sql, std::string* value) {
  PGresult* r = PQexec(conn_, sql.c_str());
  if (PQresultStatus(r) != PGRES_TUPLES_OK) {
    PQclear(r);
    return Failed("the server refused " + sql.substr(0, 200));
  }
  *value = PQntuples(r) > 0 && !PQgetisnull(r, 0, 0) ? PQgetvalue(r, 0, 0) : "";
  PQclear(r);
  return Status::OK();
}

Status PgSession::BeginCopy(const std::string& copy_statement) {
  PGresult* r = PQexec(conn_, copy_statement.c_str());
  const bool ok = PQresultStatus(r) == PGRES_COPY_IN;
  PQclear(r);
  return ok ? Status::OK() : Failed("the server refused " + copy_statement);
}

Status PgSession::SendCopyData(const std::string& data) {
  if (PQputCopyData(conn_, data.data(), static_cast<int>(data.size())) != 1) return Failed("sending rows");
  return Status::OK();
}

Status PgSession::EndCopy() {
  if (PQputCopyEnd(conn_, nullptr) != 1) return Failed("ending the copy");
  Status status;
  while (PGresult* r = PQgetResult(conn_)) {
    if (PQresultStatus(r) != PGRES_COMMAND_OK && status.ok()) status = Failed("copying rows");
    PQclear(r);
  }
  return status;
}

bool PgSession::usable() const { return PQstatus(conn_) == CONNECTION_OK; }

std::string PgSession::Literal(const std::string& text) const {
  char* escaped = PQescapeLiteral(conn_, text.data(), text.size());
  std::string out = escaped ? escaped : "''";
  PQfreemem(escaped);
  return out;
}

}  // namespace jet::postgres
