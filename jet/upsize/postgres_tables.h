// A Jet table as PostgreSQL holds it: the CREATE statements for its columns,
// keys and indexes, and its rows in COPY's text format.
#pragma once

#include <string>
#include <vector>

#include "jet/schema.h"
#include "jet/status.h"
#include "jet/value.h"
#include "storage/relationships.h"

namespace jet::upsize {

// "name" with quotes doubled: server names keep Jet's spelling and case.
std::string QuotedName(const std::string& name);

// The server type of a column, as Access shows it again through the link:
// Yes/No boolean, Byte and Integer smallint, Long integer, Currency
// numeric(19,4), Single real, Double double precision, Date/Time
// timestamp(3), Text varchar(n), Memo text, Binary and OLE bytea,
// Replication ID uuid, Decimal numeric(p,s).
std::string ServerType(const ColumnDef& column, bool jet3);

// CREATE TABLE with NOT NULL and autonumbers as identity columns; the
// primary key comes with the other indexes, once the rows are in.
std::string CreateTableStatement(const TableDef& def, bool jet3);
// ALTER TABLE ... ADD PRIMARY KEY, then CREATE [UNIQUE] INDEX for every
// other index; server index names are the table's name, '_' and the
// index's name. Built over the copied rows, an index is sorted once rather
// than kept up to date row by row.
std::vector<std::string> CreateIndexStatements(const TableDef& def);

// ALTER TABLE ... ADD CONSTRAINT ... FOREIGN KEY for an enforced relationship,
// cascading updates and deletes where it does.
std::string ForeignKeyStatement(const Relationship& relationship);

// Appends one row in COPY's text format. InvalidArgument naming the table
// and column for a value the server cannot hold (a text with a NUL
// character).
Status AppendCopyRow(const TableDef& def, const Row& row, std::string* out);

}  // namespace jet::upsize
