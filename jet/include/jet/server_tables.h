// Tables whose rows live on a database server, reached through links in the
// catalogue (ODBC links, as Access keeps them). The file holds only the link;
// the columns and rows come from the server each time they are asked for.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/catalog.h"
#include "jet/path_mapping.h"
#include "jet/schema.h"
#include "jet/status.h"
#include "jet/table_cursor.h"

namespace jet {

// A condition on one column that the server can answer exactly: the rows it
// returns are a superset of those that meet it, and the caller checks again.
struct ServerCondition {
  enum class Op { kEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual };
  size_t column = 0;
  Op op = Op::kEqual;
  Value value;  // a number or a date
};

struct ServerQuery {
  ColumnSet wanted;  // columns to fetch, by position; empty for all
  std::vector<ServerCondition> conditions;
};

class ServerTables {
 public:
  virtual ~ServerTables() = default;
  // The server table's columns as Access would show the link's fields, and
  // its primary key as the link's index.
  virtual Status GetTableDef(const CatalogEntry& link, std::shared_ptr<const TableDef>* def) = 0;
  // Streams the rows; cells of columns not wanted are Null.
  virtual Status OpenRows(const CatalogEntry& link, const ServerQuery& query,
                          std::unique_ptr<TableCursor>* cursor) = 0;
  virtual Status CountRows(const CatalogEntry& link, uint64_t* count) = 0;
  // Forgets column lists and connections, so that the next read asks again.
  virtual void Forget() = 0;
};

// Every password in a connect string (or in a message quoting one) shown as
// "***": PWD=secret -> PWD=***.
std::string WithPasswordsHidden(const std::string& text);

// Server tables reached through unixODBC, with Windows drivers and data
// sources mapped to this machine's.
std::shared_ptr<ServerTables> MakeOdbcTables(std::vector<OdbcMapping> mappings);

}  // namespace jet
