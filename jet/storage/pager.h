// Pager: the database file as numbered pages, read through a File into a
// cache that long reads keep bounded. A pager opened for writing keeps the
// pages a transaction changes in memory until they are committed or dropped. The
// header page (0) is decoded once at open.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

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

class File;

class Pager {
 public:
  static Status Open(const std::string& path, std::unique_ptr<Pager>* pager);
  // Reads pages through `file` (for writing); the pager owns it.
  static Status OpenFile(std::unique_ptr<File> file, std::unique_ptr<Pager>* pager);
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;

  FileFormat format() const { return format_; }
  bool is_jet3() const { return format_ == FileFormat::kJet3; }
  uint32_t page_size() const { return page_size_; }
  uint32_t page_count() const { return page_count_; }
  uint16_t code_page() const { return code_page_; }
  uint16_t sort_order() const { return sort_order_; }
  // Jet 4 and later: 0 for the General order of Access 2000-2007, 1 for Access 2010's.
  uint8_t sort_order_version() const { return sort_order_version_; }

  // Page `number`, as changed by the open transaction if it changed it;
  // Corruption when out of range. Valid until the transaction ends or, for
  // a page the transaction did not change, until ReleaseReadPages.
  Status ReadPage(uint32_t number, Page* page) const;
  // Lets go of the unchanged pages read so far once they are many, so a
  // long read holds a bounded part of a large file. Call only where no page
  // read earlier is still in use.
  void ReleaseReadPages() const;

  // ReadPage plus a check of the page's type byte.
  Status ReadPageOfType(uint32_t number, PageType type, Page* page) const;

  // The transaction's own copy of a page, made on first use; only for a
  // pager opened with OpenFile.
  Status MutablePage(uint32_t number, uint8_t** data);
  // A new zeroed page past the end of the file.
  Status AppendPage(uint32_t* number);
  // The pages changed since the last commit, by number, and the page count
  // the file has on disk.
  const std::map<uint32_t, std::unique_ptr<uint8_t[]>>& changed_pages() const { return changed_; }
  uint32_t committed_page_count() const { return committed_page_count_; }
  // The original image of a page as the file holds it (never the changed copy).
  Status ReadCommittedPage(uint32_t number, Page* page) const;
  // After the changes reached the disk: they become the file's pages.
  void AcceptChanges();
  // How many commits have written pages through this pager.
  uint64_t written_commits() const { return written_commits_; }
  // Forgets every change since the last commit.
  void DiscardChanges();
  File* file() const { return file_.get(); }
  // A reader's view of a file whose last commit was interrupted: these page
  // images, and the file's length, as they were before it.
  void ShowOriginals(std::map<uint32_t, std::vector<uint8_t>> pages, uint64_t file_size);

  // The file as it is now, after another program changed it (or put another
  // file in its place: `replacement`, when not null): forgets every page
  // read so far and decodes the header again. Never with changes pending.
  Status Reload(std::unique_ptr<File> replacement);
  // Called before each page is read from the disk; an error ends the read
  // (a long read stops this way when it must start again).
  void set_before_disk_read(std::function<Status()> check) { before_disk_read_ = std::move(check); }

 private:
  Pager() = default;
  Status DecodeHeader(const uint8_t* header, uint64_t file_size);

  std::unique_ptr<File> file_;
  std::function<Status()> before_disk_read_;
  mutable std::unordered_map<uint32_t, std::unique_ptr<uint8_t[]>> cache_;  // pages read through file_
  mutable std::vector<std::unique_ptr<uint8_t[]>> spare_;  // buffers of released pages, for the next reads
  std::map<uint32_t, std::unique_ptr<uint8_t[]>> changed_;
  std::map<uint32_t, std::vector<uint8_t>> originals_;
  uint32_t committed_page_count_ = 0;
  uint64_t written_commits_ = 0;
  bool read_only_ = false;
  FileFormat format_ = FileFormat::kJet4;
  uint32_t page_size_ = 4096;
  uint32_t page_count_ = 0;
  uint16_t code_page_ = 0;
  uint16_t sort_order_ = 0;
  uint8_t sort_order_version_ = 0;
};

// Little-endian field access with bounds the caller has checked.
inline uint16_t Get16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
inline uint32_t Get24(const uint8_t* p) { return p[0] | (p[1] << 8) | (uint32_t(p[2]) << 16); }
inline uint32_t Get32(const uint8_t* p) {
  return p[0] | (p[1] << 8) | (uint32_t(p[2]) << 16) | (uint32_t(p[3]) << 24);
}
inline void Put16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
inline void Put32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}

}  // namespace jet
