// Creating a new, empty Jet 4 database: the header page, the free-page map,
// the system tables Access keeps (MSysObjects, MSysACEs, MSysQueries,
// MSysRelationships), the catalogue's container rows with their owners and
// access rights, and the format version Access reads from MSysDb.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "jet/file_system.h"
#include "jet/query.h"
#include "jet/status.h"
#include "jet/types.h"

namespace jet {

struct CreateOptions {
  // The creation time stored in the header and on every catalogue row, as a
  // Jet date serial (days since 1899-12-30); fixed values give identical files.
  double created = 45000.5;
  // Where the file is written; the operating system's when null.
  FileSystem* file_system = nullptr;
};

// Writes a new database at `path`, which must not exist yet.
Status CreateDatabase(const std::string& path, const CreateOptions& options);

struct ColumnSpec {
  ColumnSpec() = default;
  ColumnSpec(std::string column, ColumnType column_type, int column_size = 0)
      : name(std::move(column)), type(column_type), size(column_size) {}

  std::string name;
  ColumnType type = ColumnType::kLong;
  int size = 0;            // Text and Binary: characters / bytes (1..255)
  int precision = 18;      // Decimal: digits in all (1..28)
  int scale = 0;           // Decimal: digits after the point (0..precision)
  bool required = false;   // Null refused (Jet error 3314)
  bool autonumber = false; // Long only: a Null gets the next number
  // Shown by Access and by our table browser; empty ones are not stored.
  std::string caption, description, format;
};

struct IndexSpec {
  IndexSpec() = default;
  IndexSpec(std::string index, std::vector<std::string> keys, bool is_primary = false)
      : name(std::move(index)), columns(std::move(keys)), primary(is_primary) {}

  std::string name;
  std::vector<std::string> columns;  // ascending keys, at most 10
  bool primary = false;  // also unique and required
  bool unique = false;
  bool ignore_nulls = false;
};

struct TableSpec {
  std::string name;
  std::vector<ColumnSpec> columns;
  std::vector<IndexSpec> indexes;
  std::string description;
};

// Adds empty tables to a database nobody else has open for writing, in one
// commit: either all of them exist afterwards or none.
Status CreateTables(const std::string& path, const std::vector<TableSpec>& tables,
                    const CreateOptions& options);

// A saved query, described by its parts as Access stores them (one
// MSysQueries row per part). Expressions are Jet SQL text.
struct QuerySpec {
  struct Source {
    std::string table;  // a table or another saved query
    std::string alias;
  };
  struct JoinSpec {
    std::string left, right;  // table names or aliases
    int kind = 1;             // 1 inner, 2 left, 3 right
    std::string on;
  };
  // What a crosstab makes of an output column.
  enum class Role { kPlain, kRowHeading, kColumnHeading, kValue };
  struct Output {
    std::string expression;
    std::string alias;
    Role role = Role::kPlain;
  };
  struct Order {
    std::string expression;
    bool descending = false;
  };

  std::string name;
  QueryType type = QueryType::kSelect;
  std::vector<std::pair<std::string, ColumnType>> parameters;
  std::vector<Source> from;
  std::vector<JoinSpec> joins;
  std::vector<Output> columns;
  std::string where;
  std::vector<std::string> group_by;  // a crosstab's row headings go here too
  std::string having;
  std::vector<Order> order_by;
  bool distinct = false;
  int top = 0;  // 0: all rows
  // Union: the two SELECT statements; a plain UNION drops duplicates.
  std::string union_first, union_second;
  bool union_all = false;
  // Make-table and append queries: the table written to.
  std::string target;
};

// Adds saved queries in one commit; names must be new among queries and
// tables. Select, crosstab, union, make-table, append, update and delete.
Status CreateQueries(const std::string& path, const std::vector<QuerySpec>& queries,
                     const CreateOptions& options);

}  // namespace jet
