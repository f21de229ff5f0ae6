// What a server says of a linked table: its columns as Jet types, how many
// rows it has, and its primary key (with the row count as the key's
// distinct values, which the table browser's rule reads).
#pragma once

#include <memory>

#include "jet/server_tables.h"
#include "odbc/odbc_handles.h"

namespace jet::odbc {

Status CountServerRows(Connection& connection, const CatalogEntry& link, uint64_t* count);
Status DescribeColumns(Connection& connection, const CatalogEntry& link, TableDef* def);
// Reads def->stored_row_count as the key's distinct values.
Status ReadPrimaryKey(Connection& connection, const CatalogEntry& link, TableDef* def);

}  // namespace jet::odbc
