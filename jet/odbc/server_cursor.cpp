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
  if (next_in_batch_ >= batch_.rows) {
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
  Value* cells = batch_.cells.data() + next_in_batch_++ * selected_.size();
  for (size_t i = 0; i < selected_.size(); ++i) row_[selected_[i]] = std::move(cells[i]);
  ++count_;
  return true;
}

void ServerCursor::ReadAhead() {
  Bind();
  for (;;) {
    Batch batch;
    Status failure;
    const bool more = ReadBatch(&batch, &failure);
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return batches_.size() < kBatchesAhead || stopping_; });
    if (stopping_) return;
    if (batch.rows > 0) batches_.push_back(std::move(batch));
    if (!more) {
      reader_status_ = failure;
      finished_ = true;
    }
    lock.unlock();
    changed_.notify_all();
    if (!more) return;
  }
}

bool ServerCursor::ReadBatch(Batch* batch, Status* failure) {
  const size_t width = selected_.size();
  batch->cells.resize(kBatchRows * width);
  for (; batch->rows < kBatchRows; ++batch->rows) {
    Value* cells = batch->cells.data() + batch->rows * width;
    if (!(bound_ ? ReadFromBlock(cells, failure) : ReadFromDriver(cells, failure))) return false;
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

bool ServerCursor::ReadFromBlock(Value* cells, Status* failure) {
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
    *failure = block_.Read(at, i, &cells[i]);
    if (!failure->ok()) return false;
  }
  return true;
}

bool ServerCursor::ReadFromDriver(Value* cells, Status* failure) {
  const SQLRETURN rc = SQLFetch(statement_->handle());
  if (rc == SQL_NO_DATA || !Succeeded(rc)) {
    if (rc != SQL_NO_DATA) *failure = Failed(rc);
    return false;
  }
  for (size_t i = 0; i < selected_.size(); ++i) {
    *failure = ReadCell(statement_->handle(), static_cast<SQLUSMALLINT>(i + 1), def_->columns[selected_[i]].type,
                        &cells[i]);
    if (!failure->ok()) return false;
  }
  return true;
}

Status ServerCursor::Failed(SQLRETURN rc) const {
  return statement_->Failed(rc, "reading the linked table '" + table_ + "' from the server");
}

}  // namespace jet::odbc
