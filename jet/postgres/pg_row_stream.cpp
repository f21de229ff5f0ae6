#include "postgres/pg_row_stream.h"

#include <libpq-fe.h>

#include "postgres/pg_text_values.h"

namespace jet::postgres {
namespace {

// A result taken from libpq, cleared when it goes.
struct Result {
  explicit Result(PGresult* r) : r(r) {}
  ~Result() { PQclear(r); }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  PGresult* r;
};

}  // namespace

PgRowStream::PgRowStream(std::unique_ptr<PgSession> session, std::shared_ptr<const TableDef> def,
                         std::vector<size_t> selected, std::string table, GiveBack give_back)
    : TableCursor(std::move(def)),
      session_(std::move(session)),
      selected_(std::move(selected)),
      table_(std::move(table)),
      give_back_(std::move(give_back)) {
  row_.reserve(def_->columns.size());
  for (const ColumnDef& c : def_->columns) row_.push_back(Value::Null(c.type));
}

Status PgRowStream::Open(std::unique_ptr<PgSession> session, std::shared_ptr<const TableDef> def, const std::string& sql,
                         const std::vector<std::string>& parameters, const std::vector<unsigned>& type_oids,
                         std::vector<size_t> selected, std::string table, GiveBack give_back,
                         std::unique_ptr<TableCursor>* out) {
  std::vector<const char*> values;
  for (const std::string& p : parameters) values.push_back(p.c_str());
  std::vector<Oid> types(type_oids.begin(), type_oids.end());
  pg_conn* conn = session->handle();
  if (!PQsendQueryParams(conn, sql.c_str(), static_cast<int>(values.size()), types.data(), values.data(), nullptr,
                         nullptr, 0) ||
      !PQsetSingleRowMode(conn)) {
    return session->Failed("sending " + sql.substr(0, 200));
  }
  out->reset(new PgRowStream(std::move(session), std::move(def), std::move(selected), std::move(table),
                             std::move(give_back)));
  return Status::OK();
}

PgRowStream::~PgRowStream() {
  if (done_ || !session_) return;
  // Left before the end (a TOP, an EXISTS): the server is told to stop, and
  // what it sent meanwhile is read away so the session can serve again.
  if (PGcancel* cancel = PQgetCancel(session_->handle())) {
    char error[256];
    (void)PQcancel(cancel, error, sizeof error);
    PQfreeCancel(cancel);
  }
  while (PGresult* r = PQgetResult(session_->handle())) PQclear(r);
  if (session_->usable() && PQtransactionStatus(session_->handle()) == PQTRANS_IDLE) give_back_(std::move(session_));
}

bool PgRowStream::Next() {
  if (done_) return false;
  Result result(PQgetResult(session_->handle()));
  const ExecStatusType state = result.r ? PQresultStatus(result.r) : PGRES_FATAL_ERROR;
  if (state == PGRES_TUPLES_OK) {  // the end: no more rows
    Finish();
    return false;
  }
  if (state != PGRES_SINGLE_TUPLE) {
    const char* message = result.r ? PQresultErrorMessage(result.r) : "";
    Fail(*message ? Status::IOError(message) : session_->Failed("reading"));
    return false;
  }
  for (size_t i = 0; i < selected_.size(); ++i) {
    Value& cell = row_[selected_[i]];
    const int column = static_cast<int>(i);
    if (PQgetisnull(result.r, 0, column)) {
      cell = Value::Null(cell.type());
      continue;
    }
    const std::string_view text(PQgetvalue(result.r, 0, column), PQgetlength(result.r, 0, column));
    if (Status s = ValueFromText(text, def_->columns[selected_[i]].type, &cell); !s.ok()) {
      Fail(s);
      return false;
    }
  }
  ++count_;
  return true;
}

void PgRowStream::Finish() {
  done_ = true;
  while (PGresult* r = PQgetResult(session_->handle())) PQclear(r);
  give_back_(std::move(session_));
}

void PgRowStream::Fail(const Status& s) {
  // libpq breaks its messages over lines, indented: one line here.
  std::string message;
  for (char c : s.message()) {
    const bool blank = c == '\n' || c == '\t' || c == ' ';
    if (!blank) message += c;
    else if (!message.empty() && message.back() != ' ') message += ' ';
  }
  if (!message.empty() && message.back() == ' ') message.pop_back();
  status_ = Status::IOError("reading the linked table '" + table_ + "' from the server: " + message);
  done_ = true;
  session_.reset();  // mid-result or gone: closed, not handed back
}

}  // namespace jet::postgres
