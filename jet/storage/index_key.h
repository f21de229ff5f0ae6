// Index entry keys: the bytes Jet stores in an index for a row, so that a
// plain byte comparison of two keys orders the rows as the index does.
#pragma once

#include <string>

#include "jet/schema.h"
#include "jet/status.h"
#include "jet/types.h"
#include "jet/value.h"

namespace jet {

// Appends one column's part of a key: a flag byte (null or not, and the
// direction) and the value's encoding. Unsupported for a type Jet cannot
// index or a text sort order other than General.
Status AppendIndexColumnKey(const ColumnDef& column, const Value& value, bool ascending, FileFormat format,
                            std::string* key);

// The whole key of `index`'s entry for `row`, a row of `table` in a file of
// `format`.
Status EncodeIndexKey(const TableDef& table, const IndexDef& index, const Row& row, FileFormat format,
                      std::string* key);

}  // namespace jet
