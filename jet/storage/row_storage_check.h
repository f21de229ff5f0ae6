// Whether a table's definition can hold a row as written. A damaged file
// can give two variable-length columns one slot of the row's offset table,
// fixed columns bytes that overlap, or a number stored as variable-length
// text, or its header can count more variable columns than the row has
// columns; the reader then reads garbage, and the writer would store a row
// that reads back otherwise. Such a table is Corruption for the writer.
#pragma once

#include "jet/status.h"
#include "storage/table_layout.h"

namespace jet {

Status CheckRowStorage(const TableLayout& layout);

}  // namespace jet
