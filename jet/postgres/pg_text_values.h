// Values as PostgreSQL writes them in its text form, read as the Jet type a
// link gives their column, and Jet values written for it as parameters.
#pragma once

#include <string>
#include <string_view>

#include "jet/status.h"
#include "jet/value.h"

namespace jet::postgres {

// Reads `text` (a session in ISO date order, floats written exactly, bytea
// in hex) as `type`: Yes/No from t/f (or 1/0 where the server keeps a
// number), Byte to Long, Single, Double, Date/Time, Decimal, Currency,
// Replication ID, Binary and OLE Object from their own forms, the rest as
// text. 3464 for text that is not of its type.
Status ValueFromText(std::string_view text, ColumnType type, Value* out);

// A condition's value as a parameter: its text and the server type it is
// sent as (int8, float8 or timestamp), so that the server compares it with
// a column of any number or date type. False for values of other kinds.
bool ParameterText(const Value& value, std::string* text, unsigned* type_oid);

}  // namespace jet::postgres
