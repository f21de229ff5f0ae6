// Server columns and values as Jet sees them: the field type Access gives a
// linked column of each ODBC type, and one cell read into a Value of it.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <string>

#include "jet/schema.h"
#include "jet/status.h"
#include "jet/value.h"

namespace jet::odbc {

// What the driver says of a result column.
struct ServerColumn {
  std::string name;
  SQLSMALLINT sql_type = SQL_UNKNOWN_TYPE;
  SQLULEN size = 0;
  SQLSMALLINT digits = 0;
  bool nullable = true;
  bool autonumber = false;
};

// Integers to Byte, Integer or Long (a bigint to Text, as Access links it),
// numeric(p,s) to Decimal (Text beyond 28 digits), real and double, every
// date and time type to Date/Time, bit to Yes/No, text of up to 255
// characters to Text and longer to Memo, binary likewise to Binary or OLE
// Object, uuid to Replication ID.
ColumnDef JetColumnFor(const ServerColumn& column);

// Reads column `number` (1-based) of the fetched row as `type`.
Status ReadCell(SQLHSTMT stmt, SQLUSMALLINT number, ColumnType type, Value* out);

// A Decimal or Currency value from the exact decimal text the server sends
// for numeric columns. 3464 (type mismatch) for text that is no number, or
// a Currency out of its range.
Status ExactNumberFromText(const std::string& text, ColumnType type, Value* out);

SQL_TIMESTAMP_STRUCT TimestampFromSerial(double serial);
double SerialFromTimestamp(const SQL_TIMESTAMP_STRUCT& t);

}  // namespace jet::odbc
