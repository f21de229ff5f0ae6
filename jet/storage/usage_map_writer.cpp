#include "storage/usage_map_writer.h"

#include <cstring>
#include <vector>

#include "storage/data_page.h"
#include "storage/page_rows.h"

namespace jet {
namespace {

constexpr uint8_t kInlineMap = 0x00;
constexpr uint8_t kReferenceMap = 0x01;
constexpr size_t kMapPageHeader = 4;
constexpr uint32_t kFreePageMap = 1 << 8;  // page 1, row 0
constexpr uint32_t kFreeSpaceWindow = 512;

uint32_t Read32(const std::vector<uint8_t>& b, size_t at) { return Get32(b.data() + at); }
void Write32(std::vector<uint8_t>* b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) (*b)[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

struct MapRow {
  std::vector<StoredRow> rows;
  uint16_t index = 0;
  StoredRow& row() { return rows[index]; }
};

Status LoadMapRow(const Pager& pager, uint32_t map_pointer, MapRow* map) {
  Page page;
  JET_RETURN_IF_ERROR(pager.ReadPageOfType(PointerPage(map_pointer), PageType::kData, &page));
  JET_RETURN_IF_ERROR(LoadRows(page, &map->rows));
  map->index = PointerRow(map_pointer);
  if (map->index >= map->rows.size() || map->row().bytes.empty()) {
    return Status::Corruption("usage map row " + std::to_string(map_pointer) + " does not exist");
  }
  return Status::OK();
}

Status StoreMapRow(Pager* pager, uint32_t map_pointer, const MapRow& map) {
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(PointerPage(map_pointer), &page));
  return StoreRows(map.rows, page, pager->page_size());
}

// An inline map that must cover `page`: owned maps grow (keeping their start
// page, since they must remember every page they ever took); free-space maps
// move their window.
Status WidenInline(std::vector<uint8_t>* bytes, uint32_t page, MapKind kind) {
  const uint32_t start = Read32(*bytes, 1);
  std::vector<uint32_t> set;
  for (size_t i = 5; i < bytes->size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      if ((*bytes)[i] & (1u << bit)) set.push_back(start + uint32_t(i - 5) * 8 + bit);
    }
  }
  uint32_t new_start = std::min(start, page);
  size_t length = 0;
  if (kind == MapKind::kFreeSpace) {
    new_start = page / kFreeSpaceWindow * kFreeSpaceWindow;
    length = kFreeSpaceWindow / 8;
  } else {
    uint32_t last = page;
    for (uint32_t p : set) last = std::max(last, p);
    length = ((last - new_start) / 8 + 1 + 3) / 4 * 4;
  }
  bytes->assign(5 + length, 0);
  (*bytes)[0] = kInlineMap;
  Write32(bytes, 1, new_start);
  for (uint32_t p : set) {
    // A free-space map only hints where to insert next; bits outside the new window are dropped.
    if (p < new_start || p - new_start >= length * 8) continue;
    (*bytes)[5 + (p - new_start) / 8] |= static_cast<uint8_t>(1u << ((p - new_start) % 8));
  }
  return Status::OK();
}

Status SetInline(Pager* pager, uint32_t map_pointer, MapRow* map, uint32_t page, bool value, MapKind kind) {
  std::vector<uint8_t>& bytes = map->row().bytes;
  if (bytes.size() < 5) return Status::Corruption("usage map is truncated");
  uint32_t start = Read32(bytes, 1);
  const bool inside = page >= start && uint64_t(page - start) < uint64_t(bytes.size() - 5) * 8;
  if (!inside) {
    if (!value) return Status::OK();
    JET_RETURN_IF_ERROR(WidenInline(&bytes, page, kind));
    start = Read32(bytes, 1);
  }
  uint8_t& byte = bytes[5 + (page - start) / 8];
  const uint8_t mask = static_cast<uint8_t>(1u << ((page - start) % 8));
  if (inside && ((byte & mask) != 0) == value) return Status::OK();  // leave the page untouched
  byte = value ? (byte | mask) : (byte & ~mask);
  Status s = StoreMapRow(pager, map_pointer, *map);
  if (!s.ok()) return Status::Unsupported("the table has grown past what its usage map can record inline");
  return Status::OK();
}

Status SetReference(Pager* pager, uint32_t map_pointer, MapRow* map, uint32_t page, bool value,
                    const std::function<Status(uint32_t*)>& allocate) {
  std::vector<uint8_t>& bytes = map->row().bytes;
  const uint32_t per_page = (pager->page_size() - kMapPageHeader) * 8;
  const size_t slot = page / per_page;
  if (1 + 4 * slot + 4 > bytes.size()) {
    if (!value) return Status::OK();
    return Status::Unsupported("page " + std::to_string(page) + " lies beyond what the usage map can address");
  }
  uint32_t map_page = Read32(bytes, 1 + 4 * slot);
  if (map_page == 0) {
    if (!value) return Status::OK();
    JET_RETURN_IF_ERROR(allocate(&map_page));
    uint8_t* fresh = nullptr;
    JET_RETURN_IF_ERROR(pager->MutablePage(map_page, &fresh));
    std::memset(fresh, 0, pager->page_size());
    fresh[0] = static_cast<uint8_t>(PageType::kUsageMap);
    fresh[1] = 0x01;
    Write32(&bytes, 1 + 4 * slot, map_page);
    JET_RETURN_IF_ERROR(StoreMapRow(pager, map_pointer, *map));
  }
  Page check;
  JET_RETURN_IF_ERROR(pager->ReadPageOfType(map_page, PageType::kUsageMap, &check));
  const uint32_t at = page % per_page;
  const uint8_t mask = static_cast<uint8_t>(1u << (at % 8));
  if (((check[kMapPageHeader + at / 8] & mask) != 0) == value) return Status::OK();
  uint8_t* bits = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(map_page, &bits));
  uint8_t& byte = bits[kMapPageHeader + at / 8];
  byte = value ? (byte | mask) : (byte & ~mask);
  return Status::OK();
}

bool BitSet(const uint8_t* bits, size_t length, uint64_t first, uint32_t from, uint32_t* page) {
  uint64_t begin = from > first ? from - first : 0;
  for (uint64_t i = begin; i < uint64_t(length) * 8; ++i) {
    if (bits[i / 8] == 0 && i % 8 == 0) {
      i += 7;
      continue;
    }
    if (bits[i / 8] & (1u << (i % 8))) {
      *page = static_cast<uint32_t>(first + i);
      return true;
    }
  }
  return false;
}

}  // namespace

Status SetMapBit(Pager* pager, uint32_t map_pointer, uint32_t page, bool value, MapKind kind,
                 const std::function<Status(uint32_t*)>& allocate) {
  MapRow map;
  JET_RETURN_IF_ERROR(LoadMapRow(*pager, map_pointer, &map));
  switch (map.row().bytes[0]) {
    case kInlineMap: return SetInline(pager, map_pointer, &map, page, value, kind);
    case kReferenceMap: return SetReference(pager, map_pointer, &map, page, value, allocate);
    default: return Status::Corruption("unknown usage map type");
  }
}

Status FindSetBit(const Pager& pager, uint32_t map_pointer, uint32_t from, uint32_t* page) {
  *page = 0;
  MapRow map;
  JET_RETURN_IF_ERROR(LoadMapRow(pager, map_pointer, &map));
  const std::vector<uint8_t>& bytes = map.row().bytes;
  if (bytes[0] == kInlineMap) {
    if (bytes.size() < 5) return Status::Corruption("usage map is truncated");
    BitSet(bytes.data() + 5, bytes.size() - 5, Read32(bytes, 1), from, page);
    return Status::OK();
  }
  if (bytes[0] != kReferenceMap) return Status::Corruption("unknown usage map type");
  const uint32_t per_page = (pager.page_size() - kMapPageHeader) * 8;
  for (size_t k = 0; 1 + 4 * k + 4 <= bytes.size(); ++k) {
    const uint32_t map_page = Read32(bytes, 1 + 4 * k);
    if (map_page == 0 || uint64_t(k + 1) * per_page <= from) continue;
    Page bits;
    JET_RETURN_IF_ERROR(pager.ReadPageOfType(map_page, PageType::kUsageMap, &bits));
    if (BitSet(bits.data() + kMapPageHeader, bits.size() - kMapPageHeader, uint64_t(k) * per_page, from, page)) {
      return Status::OK();
    }
  }
  return Status::OK();
}

Status AllocatePage(Pager* pager, uint32_t* page) {
  // Page 1's map is the one map where a set bit means free.
  uint32_t candidate = 0;
  JET_RETURN_IF_ERROR(FindSetBit(*pager, kFreePageMap, 2, &candidate));
  auto grow = [pager](uint32_t* p) {
    JET_RETURN_IF_ERROR(pager->AppendPage(p));
    return Status::OK();
  };
  if (candidate == 0) return grow(page);
  JET_RETURN_IF_ERROR(SetMapBit(pager, kFreePageMap, candidate, false, MapKind::kOwned, grow));
  // Free bits past the end of the file mark room the file may grow into.
  while (pager->page_count() <= candidate) {
    uint32_t appended = 0;
    JET_RETURN_IF_ERROR(grow(&appended));
    if (appended != candidate) {
      JET_RETURN_IF_ERROR(SetMapBit(pager, kFreePageMap, appended, true, MapKind::kOwned, grow));
    }
  }
  *page = candidate;
  return Status::OK();
}

Status FreePage(Pager* pager, uint32_t page) {
  uint8_t* data = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(page, &data));
  std::memset(data, 0, pager->page_size());
  auto grow = [pager](uint32_t* p) { return pager->AppendPage(p); };
  return SetMapBit(pager, kFreePageMap, page, true, MapKind::kOwned, grow);
}

}  // namespace jet
