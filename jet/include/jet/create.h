// Creating a new, empty Jet 4 database: the header page, the free-page map,
// the system tables Access keeps (MSysObjects, MSysACEs, MSysQueries,
// MSysRelationships) and the catalogue's container rows.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "jet/file_system.h"
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

}  // namespace jet
