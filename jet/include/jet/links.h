// Replacing local tables by links to a database server's tables (ODBC), and
// removing local tables whose data has moved there.
#pragma once

#include <string>
#include <vector>

#include "jet/create.h"
#include "jet/status.h"

namespace jet {

struct OdbcLink {
  std::string name;          // the link's name in this database
  std::string connect;       // "ODBC;DRIVER={...};SERVER=...;DATABASE=...;UID=..."
  std::string foreign_name;  // the server's table, e.g. "public.tblCatch"
  // When not empty, the local table `name` is first renamed to this, and
  // the link takes over its columns and indexes.
  std::string keep_local_as;
  // The server table's columns and indexes, which Access keeps with a link
  // as it keeps a local table's; empty: those of the table being replaced.
  std::vector<ColumnSpec> columns;
  std::vector<IndexSpec> indexes;
};

// In one commit: renames each local table being replaced and adds each link
// (Type 4 in the catalogue, with its definition page, Connect and
// ForeignName). Refuses, changing nothing, a name taken by a table, link or
// query, a table to rename that is missing, or a `keep_local_as` taken.
// Relationships follow a renamed table: they name its new name.
Status ReplaceTablesByOdbcLinks(const std::string& path, const std::vector<OdbcLink>& links,
                                const CreateOptions& options);

// Removes local tables in one commit: their catalogue and MSysACEs rows, and
// every page they used goes back to the file's free pages. Refuses a system
// table, a link, and a table a relationship names, unless
// `with_relationships`: then those relationships go in the same commit.
Status DropTables(const std::string& path, const std::vector<std::string>& names, const CreateOptions& options,
                  bool with_relationships = false);

}  // namespace jet
