// Whether a table's definition can hold a row as written. A damaged file
// can give two variable-length columns one slot of the row's offset table,
// fixed columns bytes that overlap, or a number stored as variable-length
// text; the reader then reads garbage, and the writer would store a row
// that reads back otherwise. Such a table is Corruption for the writer.
#pragma once

#include "jet/schema.h"
#include "jet/status.h"

namespace jet {

Status CheckRowStorage(const TableDef& def);

}  // namespace jet
