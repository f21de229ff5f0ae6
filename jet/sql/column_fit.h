// A value computed by a statement, made into the type of the column it goes
// into, as Jet converts on INSERT and UPDATE.
#pragma once

#include "jet/query.h"
#include "jet/schema.h"
#include "jet/status.h"
#include "jet/value.h"

namespace jet::sql {

// 3464 (data type mismatch) when the value cannot become the column's type,
// 3349 (numeric field overflow) when a number is out of the column's range.
Status FitToColumn(const Value& value, const ColumnDef& column, Value* out);

}  // namespace jet::sql
