#include "storage/data_page.h"

#include <string>

namespace jet {

Status DataPage::Slot(uint16_t row, RowSlot* slot) const {
  const size_t table = jet3_ ? 10 : 14;
  const uint16_t count = row_count();
  if (row >= count || table + 2 * size_t(count) > page_.size()) {
    return Status::Corruption("row " + std::to_string(row) + " does not exist on its page");
  }
  // Offsets keep flags in their top bits; the rest is the position (pages are
  // at most 4 KB, so 13 bits).
  auto offset_at = [&](uint16_t r) { return Get16(page_.data() + table + 2 * r); };
  const uint16_t raw = offset_at(row);
  slot->deleted = raw & kRowDeletedFlag;
  slot->overflow = raw & kRowOverflowFlag;
  slot->start = raw & 0x1FFF;
  // Rows are stacked from the end of the page down: a row ends where the
  // previous one starts.
  slot->end = row == 0 ? static_cast<uint16_t>(page_.size()) : (offset_at(row - 1) & 0x1FFF);
  if (slot->start < table + 2 * size_t(count) || slot->start > slot->end ||
      slot->end > page_.size()) {
    if (slot->deleted) {  // a deleted row's bounds do not matter
      slot->start = slot->end = 0;
      return Status::OK();
    }
    return Status::Corruption("row " + std::to_string(row) + " has impossible bounds");
  }
  return Status::OK();
}

Status DataPage::RowBytes(uint16_t row, ByteSpan* bytes, RowSlot* slot_out) const {
  RowSlot slot;
  JET_RETURN_IF_ERROR(Slot(row, &slot));
  *bytes = ByteSpan(page_.data() + slot.start, slot.end - slot.start);
  if (slot_out) *slot_out = slot;
  return Status::OK();
}

}  // namespace jet
