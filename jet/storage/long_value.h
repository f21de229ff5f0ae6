// Long values (Memo, OLE): a 12-byte field header in the row that holds the
// value inline, points at one row on an LVAL page, or at a chain of rows.
#pragma once

#include <vector>

#include "storage/byte_span.h"
#include "storage/pager.h"

namespace jet {

constexpr size_t kLongValueHeaderSize = 12;

// Reads the whole value described by `header` (at least 12 bytes).
Status ReadLongValue(const Pager& pager, ByteSpan header, std::vector<uint8_t>* value);

}  // namespace jet
