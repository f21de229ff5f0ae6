#include "odbc/server_cursor.h"

#include "odbc/server_values.h"

namespace jet::odbc {
namespace {

constexpr size_t kBatchRows = 1024;
constexpr size_t kBatchesAhead = 4;

}  // namespace

ServerCursor::ServerCursor(std::shared_ptr<const TableDef> def, std::shared_ptr<Connection> connection,
                           std::unique_ptr<Statement> statement, std::vector<size_t> selected, std::string table)
    : TableCursor(std::move(def)),
      connection_(std::move(connection)),
      statement_(std::move(statement)),
      selected_(std::move(selected)),
      table_(std::move(table)) {
  row_.reserve(def_->columns.size());
  for (const ColumnDef& c : def_->columns) row_.push_back(Value::Null(c.type));
  reader_ = std::thread([this] { ReadAhead(); });
}

ServerCursor::~ServerCursor() { Stop(); }

void ServerCursor::Stop() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  if (reader_.joinable()) reader_.join();
  statement_.reset();  // ends the server's cursor now rather than with the cursor object
}

bool ServerCursor::Next() {
  if (done_) return false;
  if (next_in_batch_ >= batch_.size()) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !batches_.empty() || finished_; });
    if (batches_.empty()) {
      status_ = reader_status_;
      done_ = true;
      lock.unlock();
      Stop();
      return false;
    }
    batch_ = std::move(batches_.front());
    batches_.pop_front();
    next_in_batch_ = 0;
    lock.unlock();
    changed_.notify_all();
  }
  // Cells of columns not selected stay Null, as the row was made.
  Row& next = batch_[next_in_batch_++];
  for (size_t column : selected_) row_[column] = std::move(next[column]);
  ++count_;
  return true;
}

void ServerCursor::ReadAhead() {
  Bind();
  for (;;) {
    std::vector<Row> batch;
    Status failure;
    const bool more = ReadBatch(&batch, &failure);
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return batches_.size() < kBatchesAhead || stopping_; });
    if (stopping_) return;
    if (!batch.empty()) batches_.push_back(std::move(batch));
    if (!more) {
      reader_status_ = failure;
      finished_ = true;
    }
    lock.unlock();
    changed_.notify_all();
    if (!more) return;
  }
}

bool ServerCursor::ReadBatch(std::vector<Row>* batch, Status* failure) {
  batch->reserve(kBatchRows);
  while (batch->size() < kBatchRows) {
    Row row(def_->columns.size());
    if (!(bound_ ? ReadFromBlock(&row, failure) : ReadFromDriver(&row, failure))) return false;
    batch->push_back(std::move(row));
  }
  return true;
}

void ServerCursor::Bind() {
  std::vector<const ColumnDef*> columns;
  for (size_t column : selected_) {
    if (!BoundRows::Bindable(def_->columns[column])) return;
    columns.push_back(&def_->columns[column]);
  }
  bound_ = block_.Bind(statement_->handle(), columns);
}

bool ServerCursor::ReadFromBlock(Row* row, Status* failure) {
  if (next_in_block_ >= block_.rows()) {
    next_in_block_ = 0;
    const SQLRETURN rc = block_.FetchBlock(statement_->handle());
    if (rc == SQL_NO_DATA || !Succeeded(rc)) {
      if (rc != SQL_NO_DATA) *failure = Failed(rc);
      return false;
    }
  }
  const size_t at = next_in_block_++;
  for (size_t i = 0; i < selected_.size(); ++i) {
    *failure = block_.Read(at, i, &(*row)[selected_[i]]);
    if (!failure->ok()) return false;
  }
  return true;
}

bool ServerCursor::ReadFromDriver(Row* row, Status* failure) {
  const SQLRETURN rc = SQLFetch(statement_->handle());
  if (rc == SQL_NO_DATA || !Succeeded(rc)) {
    if (rc != SQL_NO_DATA) *failure = Failed(rc);
    return false;
  }
  for (size_t i = 0; i < selected_.size(); ++i) {
    const size_t column = selected_[i];
    *failure = ReadCell(statement_->handle(), static_cast<SQLUSMALLINT>(i + 1), def_->columns[column].type,
                        &(*row)[column]);
    if (!failure->ok()) return false;
  }
  return true;
}

Status ServerCursor::Failed(SQLRETURN rc) const {
  return statement_->Failed(rc, "reading the linked table '" + table_ + "' from the server");
}

}  // namespace jet::odbc
