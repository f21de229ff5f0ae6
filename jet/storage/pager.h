// Pager: the database file as numbered pages. Reading maps the file; the
// header page (0) is decoded once at open.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "jet/status.h"
#include "jet/types.h"

namespace jet {

// Page type bytes (the first byte of every page).
enum class PageType : uint8_t {
  kDatabaseHeader = 0x00,
  kData = 0x01,
  kTableDef = 0x02,
  kIndexIntermediate = 0x03,
  kIndexLeaf = 0x04,
  kUsageMap = 0x05,
};

using Page = std::span<const uint8_t>;

class Pager {
 public:
  static Status Open(const std::string& path, std::unique_ptr<Pager>* pager);
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

  FileFormat format() const { return format_; }
  bool is_jet3() const { return format_ == FileFormat::kJet3; }
  uint32_t page_size() const { return page_size_; }
  uint32_t page_count() const { return page_count_; }
  uint16_t code_page() const { return code_page_; }
  uint16_t sort_order() const { return sort_order_; }

  // Page `number`; Corruption when out of range. Valid while the pager lives.
  Status ReadPage(uint32_t number, Page* page) const;
  // ReadPage plus a check of the page's type byte.
  Status ReadPageOfType(uint32_t number, PageType type, Page* page) const;

 private:
  Pager() = default;
  Status DecodeHeader();

  int fd_ = -1;
  const uint8_t* map_ = nullptr;
  size_t map_size_ = 0;
  FileFormat format_ = FileFormat::kJet4;
  uint32_t page_size_ = 4096;
  uint32_t page_count_ = 0;
  uint16_t code_page_ = 0;
  uint16_t sort_order_ = 0;
};

// Little-endian field access with bounds the caller has checked.
inline uint16_t Get16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
inline uint32_t Get24(const uint8_t* p) { return p[0] | (p[1] << 8) | (uint32_t(p[2]) << 16); }
inline uint32_t Get32(const uint8_t* p) {
  return p[0] | (p[1] << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}

}  // namespace jet
