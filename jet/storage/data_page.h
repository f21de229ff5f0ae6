// Data pages: the row-offset table at the head of a page, and the row
// pointers (page << 8 | row) that link rows across pages.
#pragma once

#include <cstdint>

#include "jet/status.h"
#include "storage/byte_span.h"
#include "storage/pager.h"

namespace jet {

constexpr uint16_t kRowDeletedFlag = 0x8000;
constexpr uint16_t kRowOverflowFlag = 0x4000;  // the row holds a pointer to its data elsewhere

struct RowSlot {
  uint16_t start = 0;  // first byte of the row in the page
  uint16_t end = 0;    // one past its last byte
  bool deleted = false;
  bool overflow = false;
};

class DataPage {
 public:
  DataPage(Page page, bool jet3) : page_(page), jet3_(jet3) {}

  // The table-definition page this data page belongs to ('LVAL' pages carry
  // that word instead).
  uint32_t owner() const { return Get32(page_.data() + 4); }
  bool is_long_value_page() const { return std::memcmp(page_.data() + 4, "LVAL", 4) == 0; }
  uint16_t row_count() const { return Get16(page_.data() + (jet3_ ? 8 : 12)); }

  Status Slot(uint16_t row, RowSlot* slot) const;
  // The bytes of a row (its slot checked).
  Status RowBytes(uint16_t row, ByteSpan* bytes, RowSlot* slot = nullptr) const;

 private:
  Page page_;
  bool jet3_;
};

inline uint32_t PointerPage(uint32_t pointer) { return pointer >> 8; }
inline uint16_t PointerRow(uint32_t pointer) { return static_cast<uint16_t>(pointer & 0xFF); }

}  // namespace jet
