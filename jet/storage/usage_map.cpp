#include "storage/usage_map.h"

#include "storage/data_page.h"

namespace jet {
namespace {

constexpr uint8_t kInlineMap = 0x00;
constexpr uint8_t kReferenceMap = 0x01;
constexpr size_t kMapPageHeader = 4;

void CollectBits(const uint8_t* bits, size_t length, uint64_t first_page, uint32_t page_count,
                 std::vector<uint32_t>* pages) {
  for (size_t byte = 0; byte < length; ++byte) {
    if (bits[byte] == 0) continue;
    for (int bit = 0; bit < 8; ++bit) {
      if (!(bits[byte] & (1u << bit))) continue;
      uint64_t page = first_page + byte * 8 + bit;
      // Maps of files that were cut short may name pages past the end.
      if (page < page_count) pages->push_back(static_cast<uint32_t>(page));
    }
  }
}

}  // namespace

Status ReadUsageMap(const Pager& pager, uint32_t map_pointer, std::vector<uint32_t>* pages) {
  pages->clear();
  Page page;
  JET_RETURN_IF_ERROR(pager.ReadPageOfType(PointerPage(map_pointer), PageType::kData, &page));
  ByteSpan map;
  JET_RETURN_IF_ERROR(DataPage(page, pager.is_jet3()).RowBytes(PointerRow(map_pointer), &map));
  if (map.size() < 1) return Status::Corruption("empty usage map");

  if (map.U8(0) == kInlineMap) {
    if (map.size() < 5) return Status::Corruption("usage map is truncated");
    CollectBits(map.data() + 5, map.size() - 5, map.U32(1), pager.page_count(), pages);
    return Status::OK();
  }
  if (map.U8(0) != kReferenceMap) return Status::Corruption("unknown usage map type");

  const uint64_t pages_per_map_page = uint64_t(pager.page_size() - kMapPageHeader) * 8;
  for (size_t k = 0; 1 + 4 * k + 4 <= map.size(); ++k) {
    uint32_t map_page_no = map.U32(1 + 4 * k);
    if (map_page_no == 0) continue;
    Page map_page;
    JET_RETURN_IF_ERROR(pager.ReadPageOfType(map_page_no, PageType::kUsageMap, &map_page));
    CollectBits(map_page.data() + kMapPageHeader, map_page.size() - kMapPageHeader,
                k * pages_per_map_page, pager.page_count(), pages);
  }
  return Status::OK();
}

}  // namespace jet
