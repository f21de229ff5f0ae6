// Running Jet SQL: saved queries, their parameters, and ad-hoc statements.
// One QueryEngine serves each open file in the process; tables are copied
// into an in-memory SQLite database when a statement first touches them and
// kept until the file changes (our commits or another program's). Each call
// below is one read operation of the file (see Database); a change takes
// the writers' turn for its statement.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/status.h"
#include "jet/value.h"

namespace jet {

enum class QueryType {
  kSelect = 1,
  kMakeTable = 2,
  kAppend = 3,
  kUpdate = 4,
  kDelete = 5,
  kCrosstab = 6,
  kDataDefinition = 7,
  kPassThrough = 8,
  kUnion = 9,
};

std::string_view QueryTypeName(QueryType type);

struct SavedQuery {
  std::string name;
  QueryType type = QueryType::kSelect;
  std::string sql;  // as Access shows it in SQL view, lines ended by CR LF
  bool hidden = false;
};

struct QueryParameterInfo {
  std::string name;
  ColumnType type = ColumnType::kText;
  bool declared = false;
};

struct QueryColumn {
  std::string name;
  ColumnType type = ColumnType::kText;
  std::string caption;  // empty when neither the query nor the source column has one
};

struct QueryResult {
  std::vector<QueryColumn> columns;
  std::vector<Row> rows;
};

// Converts a parameter value given as text to `type` with fixed rules that
// do not depend on the machine's locale: dates such as 01-Jan-2001,
// 1/31/2001 (month first) or 2001-01-31, English month names, '.' as the
// decimal point, True/False/Yes/No. InvalidArgument (Jet's 3464, data type
// mismatch) when the text does not fit.
Status ConvertParameterText(const std::string& text, ColumnType type, Value* out);

// Makes a value into the type of `column` as Jet converts on INSERT and
// UPDATE: numbers round half to even into integer columns, text that reads
// as a date or number goes into date and number columns, anything goes into
// text. 3464 (data type mismatch) when it cannot, 3349 (numeric field
// overflow) when a number is outside the column's range.
Status FitToColumn(const Value& value, const ColumnDef& column, Value* out);

class QueryEngine {
 public:
  // The engine of the file at `path`, shared by every caller in the process
  // while any of them holds it. Asking for `writable` reopens a shared engine
  // that was opened for reading, so one writer serves the whole process.
  static Status ForFile(const std::string& path, const OpenOptions& options,
                        std::shared_ptr<QueryEngine>* engine);
  ~QueryEngine();
  QueryEngine(const QueryEngine&) = delete;
  QueryEngine& operator=(const QueryEngine&) = delete;

  Database& database();

  // Every saved query, in catalogue order.
  Status ListQueries(std::vector<SavedQuery>* queries);
  // 3265 (item not found in this collection) when there is no such query.
  Status GetQuery(const std::string& name, SavedQuery* query);

  // A saved query's parameters as DAO lists them: declared ones first, then
  // undeclared names in order of first appearance.
  Status QueryParameters(const std::string& name, std::vector<QueryParameterInfo>* parameters);
  Status SqlParameters(const std::string& sql, std::vector<QueryParameterInfo>* parameters);

  // Runs a saved select, union or crosstab query with parameter values by
  // position (text values are converted to each parameter's type).
  Status RunQuery(const std::string& name, const std::vector<Value>& parameters, QueryResult* result);
  // Runs a SELECT, UNION or TRANSFORM statement.
  Status RunSql(const std::string& sql, const std::vector<Value>& parameters, QueryResult* result);

  // Runs an INSERT, UPDATE or DELETE statement (or a saved append, update or
  // delete query) inside the database's open transaction, or in one of its
  // own. *affected receives the number of rows it changed. A statement that
  // fails changes nothing: in a transaction of its own that is rolled back;
  // inside the caller's transaction the rows it changed are changed back
  // (a deleted row comes back at a new place).
  Status Execute(const std::string& sql, const std::vector<Value>& parameters, int64_t* affected);
  Status ExecuteQuery(const std::string& name, const std::vector<Value>& parameters, int64_t* affected);
  // A new row for `table` as Jet starts one: each column's DefaultValue
  // (an expression such as 0, "text", =No or Now()) where it has one that
  // this engine can evaluate, Null elsewhere and for autonumbers.
  Status NewRow(const std::string& table, Row* row);
  // Whether `sql` is an INSERT, UPDATE or DELETE (by its first words alone).
  static bool ChangesData(const std::string& sql);

  // The database's transaction, with the table cache kept in step.
  Status BeginTransaction();
  Status Commit();
  Status Rollback();

  // Bumped by whatever changes rows outside the engine's own statements;
  // cached tables are dropped when this or the database's generation has
  // moved since they were copied.
  void NoteCommit() { commits_.fetch_add(1); }
  uint64_t commit_count() const { return commits_.load(); }

  // How many tables are in the cache, and the time spent copying them (for
  // benchmarks).
  size_t cached_table_count() const;
  double copy_seconds() const;

  // Tables of up to this many rows are copied into SQLite when a statement
  // first reads them (SQLite can then build its own lookups for joins);
  // larger ones are read in place, through their Jet indexes.
  static constexpr uint64_t kDefaultCopyRowLimit = 10000;
  void set_copy_row_limit(uint64_t rows);
  // Rows read from tables read in place, since the engine was made.
  uint64_t rows_read_in_place() const;

 private:
  struct Impl;
  explicit QueryEngine(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
  std::atomic<uint64_t> commits_{0};
};

}  // namespace jet
