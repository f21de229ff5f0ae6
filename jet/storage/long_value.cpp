#include "storage/long_value.h"

#include <unordered_set>

#include "storage/data_page.h"

namespace jet {
namespace {

constexpr uint8_t kInline = 0x80;
constexpr uint8_t kSingleRow = 0x40;

Status LongValueRow(const Pager& pager, uint32_t pointer, ByteSpan* bytes) {
  Page page;
  JET_RETURN_IF_ERROR(pager.ReadPageOfType(PointerPage(pointer), PageType::kData, &page));
  DataPage data(page, pager.is_jet3());
  RowSlot slot;
  JET_RETURN_IF_ERROR(data.RowBytes(PointerRow(pointer), bytes, &slot));
  if (slot.deleted) return Status::Corruption("long value points at a deleted row");
  return Status::OK();
}

}  // namespace

Status ReadLongValue(const Pager& pager, ByteSpan header, std::vector<uint8_t>* value) {
  value->clear();
  if (header.size() < kLongValueHeaderSize) return Status::Corruption("long value header is truncated");
  // The top two bits of the length word say where the value is.
  const uint32_t length = header.U32(0) & 0x3FFFFFFF;
  const uint8_t kind = header.U8(3) & 0xC0;
  const uint32_t pointer = header.U32(4);
  // No value can be longer than the file that holds it.
  if (uint64_t(length) > uint64_t(pager.page_count()) * pager.page_size()) {
    return Status::Corruption("long value claims an impossible length");
  }

  if (kind & kInline) {
    if (header.size() < kLongValueHeaderSize + length) return Status::Corruption("inline long value is truncated");
    value->assign(header.data() + kLongValueHeaderSize, header.data() + kLongValueHeaderSize + length);
    return Status::OK();
  }
  if (kind & kSingleRow) {
    ByteSpan row(nullptr, 0);
    JET_RETURN_IF_ERROR(LongValueRow(pager, pointer, &row));
    if (row.size() < length) return Status::Corruption("long value row is shorter than its length");
    value->assign(row.data(), row.data() + length);
    return Status::OK();
  }

  // A chain: each row starts with the pointer to the next one.
  value->reserve(length);
  std::unordered_set<uint32_t> seen;
  uint32_t next = pointer;
  while (value->size() < length) {
    if (next == 0) return Status::Corruption("long value chain ends early");
    if (!seen.insert(next).second) return Status::Corruption("long value chain loops");
    ByteSpan row(nullptr, 0);
    JET_RETURN_IF_ERROR(LongValueRow(pager, next, &row));
    if (row.size() < 4) return Status::Corruption("long value chain row is truncated");
    next = row.U32(0);
    size_t take = std::min<size_t>(row.size() - 4, length - value->size());
    value->insert(value->end(), row.data() + 4, row.data() + 4 + take);
  }
  return Status::OK();
}

}  // namespace jet
