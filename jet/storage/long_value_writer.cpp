#include "storage/long_value_writer.h"

#include <time.h>

#include <cstring>
#include <unordered_set>

#include "storage/data_page.h"
#include "storage/page_rows.h"

namespace jet {
namespace {

constexpr uint32_t kInlineFlag = 0x80000000u;
constexpr uint32_t kSingleRowFlag = 0x40000000u;
constexpr size_t kChainData = kMaxLongValueRow - 4;

Status AddRow(Pager* pager, const std::vector<uint8_t>& bytes, const LongValuePageSource& pages, bool fresh,
              uint32_t* pointer) {
  uint32_t page_no = 0;
  JET_RETURN_IF_ERROR(pages(bytes.size(), fresh, &page_no));
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(page_no, &page));
  std::vector<StoredRow> rows;
  JET_RETURN_IF_ERROR(LoadRows(Page(page, pager->page_size()), &rows));
  if (LongestNewRow(rows, pager->page_size()) < bytes.size()) return Status::Corruption("long-value page has no room");
  ReclaimDeadSlots(&rows);
  const size_t slot = SlotForNewRow(rows);
  if (slot == rows.size()) rows.emplace_back();
  rows[slot] = {bytes, 0};
  JET_RETURN_IF_ERROR(StoreRows(rows, page, pager->page_size()));
  *pointer = page_no << 8 | static_cast<uint32_t>(slot);
  return Status::OK();
}

// Marks a long-value row deleted and gives back its bytes; `next` gets the
// chain pointer the row started with.
Status DeleteRow(Pager* pager, uint32_t pointer, uint32_t* next) {
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(PointerPage(pointer), &page));
  if (std::memcmp(page + 4, "LVAL", 4) != 0) return Status::Corruption("long value points outside a long-value page");
  std::vector<StoredRow> rows;
  JET_RETURN_IF_ERROR(LoadRows(Page(page, pager->page_size()), &rows));
  const uint16_t r = PointerRow(pointer);
  if (r >= rows.size() || (rows[r].flags & kRowDeletedFlag)) return Status::Corruption("long value points at a missing row");
  if (next) *next = rows[r].bytes.size() >= 4 ? Get32(rows[r].bytes.data()) : 0;
  rows[r] = {{}, kRowDeletedFlag | kRowOverflowFlag};  // an empty tombstone, as Access leaves them
  return StoreRows(rows, page, pager->page_size());
}

// Any value will do as long as descriptor and page agree; a clock makes a
// reused page's old descriptors disagree with its new chain.
uint32_t ChainStamp() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  const uint32_t ms = static_cast<uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
  return ms == 0 ? 1 : ms;
}

}  // namespace

Status WriteLongValue(Pager* pager, const std::vector<uint8_t>& value, const LongValuePageSource& pages,
                      std::vector<uint8_t>* field) {
  if (value.size() >= (1u << 30)) return Status::InvalidArgument("a long value cannot exceed 1 GB", 3163);
  field->assign(12, 0);
  const uint32_t length = static_cast<uint32_t>(value.size());
  if (value.size() <= kMaxInlineLongValue) {
    Put32(field->data(), length | kInlineFlag);
    field->insert(field->end(), value.begin(), value.end());
    return Status::OK();
  }
  uint32_t pointer = 0;
  if (value.size() <= kMaxSingleRowLongValue) {
    JET_RETURN_IF_ERROR(AddRow(pager, value, pages, false, &pointer));
    Put32(field->data(), length | kSingleRowFlag);
    Put32(field->data() + 4, pointer);
    return Status::OK();
  }
  // Written from the last piece back, so each row knows where the next one is.
  const size_t pieces = (value.size() + kChainData - 1) / kChainData;
  uint32_t next = 0;
  for (size_t k = pieces; k-- > 0;) {
    const size_t begin = k * kChainData, end = std::min(value.size(), begin + kChainData);
    std::vector<uint8_t> row(4);
    Put32(row.data(), next);
    row.insert(row.end(), value.begin() + begin, value.begin() + end);
    JET_RETURN_IF_ERROR(AddRow(pager, row, pages, true, &next));
  }
  Put32(field->data(), length);
  Put32(field->data() + 4, next);
  const uint32_t stamp = ChainStamp();
  Put32(field->data() + 8, stamp);
  uint8_t* first = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(PointerPage(next), &first));
  Put32(first + 8, stamp);
  return Status::OK();
}

Status FreeLongValue(Pager* pager, ByteSpan field, std::vector<uint32_t>* freed_pages) {
  if (field.size() < 12) return Status::OK();
  const uint32_t header = field.U32(0);
  if (header & kInlineFlag) return Status::OK();
  uint32_t pointer = field.U32(4);
  if (header & kSingleRowFlag) {
    freed_pages->push_back(PointerPage(pointer));
    return DeleteRow(pager, pointer, nullptr);
  }
  std::unordered_set<uint32_t> seen;
  while (pointer != 0) {
    if (!seen.insert(pointer).second) return Status::Corruption("long value chain loops");
    freed_pages->push_back(PointerPage(pointer));
    JET_RETURN_IF_ERROR(DeleteRow(pager, pointer, &pointer));
  }
  return Status::OK();
}

}  // namespace jet
