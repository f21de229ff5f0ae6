// Changing the rows of a data page. A page is taken apart into its rows,
// changed, and packed again from the end of the page down, so row numbers
// (and with them every row pointer and index entry) stay as they were.
#pragma once

#include <cstdint>
#include <vector>

#include "jet/status.h"
#include "storage/pager.h"

namespace jet {

// Access keeps a row to 4,060 bytes and a page to 255 rows.
constexpr size_t kMaxRowBytes = 4060;
constexpr size_t kMaxRowsPerPage = 255;
constexpr size_t kJet4DataPageHeader = 14;

struct StoredRow {
  std::vector<uint8_t> bytes;
  uint16_t flags = 0;  // kRowDeletedFlag, kRowOverflowFlag
};

// Fresh data page owned by `owner` (a TDEF page), or a long-value page.
void InitDataPage(uint8_t* page, uint32_t page_size, uint32_t owner);
void InitLongValuePage(uint8_t* page, uint32_t page_size);

Status LoadRows(Page page, std::vector<StoredRow>* rows);
// Packs `rows` into `page` (header kept); Corruption when they do not fit.
Status StoreRows(const std::vector<StoredRow>& rows, uint8_t* page, uint32_t page_size);
// Free bytes once `rows` are packed (the page header's free-space field).
size_t FreeSpace(const std::vector<StoredRow>& rows, uint32_t page_size);
// Whether one more row of `length` bytes fits.
bool RoomFor(const std::vector<StoredRow>& rows, uint32_t page_size, size_t length);

// A slot flagged both deleted and moved holds nothing anyone reads: Access
// and this writer leave deleted rows so. (A slot flagged only deleted may be
// the data of a moved row, and is kept.)
bool IsDeadSlot(const StoredRow& row);
// Drops the bytes of dead slots, so the page can take new rows in their room.
void ReclaimDeadSlots(std::vector<StoredRow>* rows);
// Where a new row goes: the first dead slot, else a new slot at the end.
size_t SlotForNewRow(const std::vector<StoredRow>& rows);
// Whether a row of `length` bytes can go after the page's others without
// the page being taken apart: its rows lie packed below the offset table
// (as StoreRows leaves them), no dead slot waits to be reused, and the room
// between them takes the row and its offset.
bool CanAppendRow(Page page, uint32_t page_size, size_t length);
// Puts the row there (CanAppendRow said it fits); returns its slot and the
// longest new row the page takes after it.
size_t AppendRow(uint8_t* page, uint32_t page_size, const std::vector<uint8_t>& bytes, uint16_t flags,
                 size_t* longest_after);
// The longest new row the page takes once its dead slots are reclaimed.
size_t LongestNewRow(const std::vector<StoredRow>& rows, uint32_t page_size);

}  // namespace jet
