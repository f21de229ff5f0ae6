// Storing Memo and OLE values: inline in the row up to 64 bytes, on one row
// of a shared long-value page up to 3,816 bytes (where Access stops), else
// in a chain of rows of at most 4,076 bytes, one a page, each starting with
// the pointer to the next. A chain's descriptor and its first page carry the
// same stamp, which Access checks before it trusts the chain.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "storage/byte_span.h"
#include "storage/pager.h"

namespace jet {

constexpr size_t kMaxInlineLongValue = 64;
constexpr size_t kMaxSingleRowLongValue = 3816;
constexpr size_t kMaxLongValueRow = 4076;

// Where long-value rows go: a long-value page of the column with room for
// `length` more bytes, or (`fresh`) a new empty one.
using LongValuePageSource = std::function<Status(size_t length, bool fresh, uint32_t* page)>;

// The 12-byte header (followed by the value when inline) for the row.
Status WriteLongValue(Pager* pager, const std::vector<uint8_t>& value, const LongValuePageSource& pages,
                      std::vector<uint8_t>* field);

// How many row bytes the field of a value of `length` bytes takes.
inline size_t LongValueFieldSize(size_t length) { return 12 + (length <= kMaxInlineLongValue ? length : 0); }

// Releases the long-value rows a stored field points at; adds the pages
// they were on to `freed_pages`, where later values of the column may go.
Status FreeLongValue(Pager* pager, ByteSpan field, std::vector<uint32_t>* freed_pages);

}  // namespace jet
