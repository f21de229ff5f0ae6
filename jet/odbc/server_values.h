// Server columns and values as Jet sees them: the field type Access gives a
// linked column of each ODBC type, and one cell read into a Value of it.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <string>
#include <string_view>

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

// A Date/Time value from the text form ODBC gives every driver's date,
// time and timestamp columns: yyyy-mm-dd, hh:mm:ss, or both with a space
// between; digits of a second are dropped, as from the driver's own
// timestamp, and so is a zone (+hh[:mm]) after them, the server having
// written the time in the session's zone. Reading that text costs a
// fraction of the driver's own conversion. 3464 for any other text
// (PostgreSQL's 'infinity', a date BC).
Status DateTimeFromText(std::string_view text, Value* out);

SQL_TIMESTAMP_STRUCT TimestampFromSerial(double serial);

}  // namespace jet::odbc
