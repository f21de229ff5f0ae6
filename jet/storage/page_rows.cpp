#include "storage/page_rows.h"

#include <algorithm>
#include <cstring>

#include "storage/data_page.h"

namespace jet {
namespace {

size_t UsedBytes(const std::vector<StoredRow>& rows) {
  size_t used = kJet4DataPageHeader;
  for (const StoredRow& r : rows) used += 2 + r.bytes.size();
  return used;
}

constexpr size_t kFreeSpaceField = 2, kRowCountField = 12;
constexpr uint16_t kOffsetMask = 0x1FFF;

// The lowest row's start, or 0 when a slot is dead or the offsets are not
// where rows can be.
size_t LowestRowStart(const uint8_t* page, uint32_t page_size, size_t rows) {
  size_t lowest = page_size;
  for (size_t r = 0; r < rows; ++r) {
    const uint16_t offset = Get16(page + kJet4DataPageHeader + 2 * r);
    if ((offset & kRowDeletedFlag) && (offset & kRowOverflowFlag)) return 0;
    lowest = std::min<size_t>(lowest, offset & kOffsetMask);
  }
  return lowest < kJet4DataPageHeader + 2 * rows ? 0 : lowest;
}

size_t LongestAfter(size_t free, size_t rows) { return rows < kMaxRowsPerPage && free >= 2 ? free - 2 : 0; }

}  // namespace

bool CanAppendRow(Page page, uint32_t page_size, size_t length) {
  const uint8_t* p = page.data();
  if (p[0] != static_cast<uint8_t>(PageType::kData)) return false;
  const size_t rows = Get16(p + kRowCountField), free = Get16(p + kFreeSpaceField);
  if (rows >= kMaxRowsPerPage) return false;
  const size_t lowest = LowestRowStart(p, page_size, rows);
  // Free space that is all one gap below the offsets means no hole elsewhere.
  return lowest != 0 && lowest - kJet4DataPageHeader - 2 * rows == free && free >= length + 2;
}

size_t AppendRow(uint8_t* page, uint32_t page_size, const std::vector<uint8_t>& bytes, uint16_t flags,
                 size_t* longest_after) {
  const size_t rows = Get16(page + kRowCountField);
  const size_t start = LowestRowStart(page, page_size, rows) - bytes.size();
  if (!bytes.empty()) std::memcpy(page + start, bytes.data(), bytes.size());
  Put16(page + kJet4DataPageHeader + 2 * rows, static_cast<uint16_t>(start | flags));
  Put16(page + kRowCountField, static_cast<uint16_t>(rows + 1));
  const size_t free = Get16(page + kFreeSpaceField) - bytes.size() - 2;
  Put16(page + kFreeSpaceField, static_cast<uint16_t>(free));
  *longest_after = LongestAfter(free, rows + 1);
  return rows;
}

void InitDataPage(uint8_t* page, uint32_t page_size, uint32_t owner) {
  std::memset(page, 0, page_size);
  page[0] = static_cast<uint8_t>(PageType::kData);
  page[1] = 0x01;
  Put16(page + 2, static_cast<uint16_t>(page_size - kJet4DataPageHeader));
  for (int i = 0; i < 4; ++i) page[4 + i] = static_cast<uint8_t>(owner >> (8 * i));
}

void InitLongValuePage(uint8_t* page, uint32_t page_size) {
  InitDataPage(page, page_size, 0);
  std::memcpy(page + 4, "LVAL", 4);
}

Status LoadRows(Page page, std::vector<StoredRow>* rows) {
  DataPage data(page, false);
  rows->clear();
  for (uint16_t r = 0; r < data.row_count(); ++r) {
    RowSlot slot;
    ByteSpan bytes;
    JET_RETURN_IF_ERROR(data.RowBytes(r, &bytes, &slot));
    StoredRow row;
    row.bytes.assign(bytes.data(), bytes.data() + bytes.size());
    row.flags = (slot.deleted ? kRowDeletedFlag : 0) | (slot.overflow ? kRowOverflowFlag : 0);
    rows->push_back(std::move(row));
  }
  return Status::OK();
}

size_t FreeSpace(const std::vector<StoredRow>& rows, uint32_t page_size) {
  const size_t used = UsedBytes(rows);
  return used > page_size ? 0 : page_size - used;
}

bool RoomFor(const std::vector<StoredRow>& rows, uint32_t page_size, size_t length) {
  return rows.size() < kMaxRowsPerPage && UsedBytes(rows) + 2 + length <= page_size;
}

bool IsDeadSlot(const StoredRow& row) {
  return (row.flags & (kRowDeletedFlag | kRowOverflowFlag)) == (kRowDeletedFlag | kRowOverflowFlag);
}

void ReclaimDeadSlots(std::vector<StoredRow>* rows) {
  for (StoredRow& r : *rows) {
    if (IsDeadSlot(r)) r.bytes.clear();
  }
}

size_t SlotForNewRow(const std::vector<StoredRow>& rows) {
  for (size_t i = 0; i < rows.size(); ++i) {
    if (IsDeadSlot(rows[i])) return i;
  }
  return rows.size();
}

size_t LongestNewRow(const std::vector<StoredRow>& rows, uint32_t page_size) {
  // Counted as if the dead slots were reclaimed: their room is free, and a
  // new row takes the first of them without a new offset.
  size_t used = kJet4DataPageHeader;
  bool dead_slot = false;
  for (const StoredRow& r : rows) {
    const bool dead = IsDeadSlot(r);
    used += 2 + (dead ? 0 : r.bytes.size());
    dead_slot = dead_slot || dead;
  }
  const size_t free = used > page_size ? 0 : page_size - used;
  return dead_slot ? free : LongestAfter(free, rows.size());
}

Status StoreRows(const std::vector<StoredRow>& rows, uint8_t* page, uint32_t page_size) {
  if (rows.size() > kMaxRowsPerPage || UsedBytes(rows) > page_size) {
    return Status::Corruption("rows do not fit their data page");
  }
  const size_t table = kJet4DataPageHeader;
  size_t end = page_size;
  for (size_t r = 0; r < rows.size(); ++r) {
    const StoredRow& row = rows[r];
    end -= row.bytes.size();
    if (!row.bytes.empty()) std::memmove(page + end, row.bytes.data(), row.bytes.size());
    Put16(page + table + 2 * r, static_cast<uint16_t>(end | row.flags));
  }
  // What lies between the offset table and the lowest row is free space.
  std::memset(page + table + 2 * rows.size(), 0, end - table - 2 * rows.size());
  Put16(page + kRowCountField, static_cast<uint16_t>(rows.size()));
  Put16(page + kFreeSpaceField, static_cast<uint16_t>(FreeSpace(rows, page_size)));
  return Status::OK();
}

}  // namespace jet
