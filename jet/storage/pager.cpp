#include "storage/pager.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "jet/file_system.h"

namespace jet {
namespace {

constexpr size_t kHeaderVersionOffset = 0x14;
constexpr size_t kHeaderMaskOffset = 0x18;
constexpr size_t kJet3MaskLength = 126;
constexpr size_t kJet4MaskLength = 128;
constexpr size_t kCodePageOffset = 0x3C;
constexpr size_t kJet3SortOrderOffset = 0x3A;
constexpr size_t kJet4SortOrderOffset = 0x6E;

// Unchanged pages kept in memory across a long read (8 MB of Jet 4 pages).
constexpr size_t kCachedPagesKept = 2048;

// The header page is scrambled with RC4 under a fixed key; unscramble a copy.
void Rc4(const std::array<uint8_t, 4>& key, uint8_t* data, size_t length) {
  std::array<uint8_t, 256> s;
  for (int i = 0; i < 256; ++i) s[i] = static_cast<uint8_t>(i);
  for (int i = 0, j = 0; i < 256; ++i) {
    j = (j + s[i] + key[i % key.size()]) & 0xFF;
    std::swap(s[i], s[j]);
  }
  for (size_t n = 0, i = 0, j = 0; n < length; ++n) {
    i = (i + 1) & 0xFF;
    j = (j + s[i]) & 0xFF;
    std::swap(s[i], s[j]);
    data[n] ^= s[(s[i] + s[j]) & 0xFF];
  }
}

bool FormatFromVersion(uint8_t version, FileFormat* format) {
  switch (version) {
    case 0x00: *format = FileFormat::kJet3; return true;
    case 0x01: *format = FileFormat::kJet4; return true;
    case 0x02: *format = FileFormat::kAce12; return true;
    case 0x03: *format = FileFormat::kAce14; return true;
    case 0x04: *format = FileFormat::kAce15; return true;
    case 0x05: *format = FileFormat::kAce16; return true;
    case 0x06: *format = FileFormat::kAce17; return true;
    default: return false;
  }
}

}  // namespace

Status Pager::Open(const std::string& path, std::unique_ptr<Pager>* pager) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) {
    if (errno == ENOENT) return Status::NotFound("file not found: " + path);
    return Status::IOError("cannot open " + path + ": " + std::strerror(errno));
  }
  if (!S_ISREG(st.st_mode)) return Status::InvalidArgument("not a regular file: " + path);
  if (st.st_size < 2048) return Status::Corruption("not an Access database (file too small): " + path);
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(DefaultFileSystem()->Open(path, FileSystem::Mode::kRead, &file));
  JET_RETURN_IF_ERROR(OpenFile(std::move(file), pager));
  (*pager)->read_only_ = true;
  return Status::OK();
}

Status Pager::OpenFile(std::unique_ptr<File> file, std::unique_ptr<Pager>* pager) {
  std::unique_ptr<Pager> p(new Pager());
  uint64_t size = 0;
  JET_RETURN_IF_ERROR(file->Size(&size));
  if (size < 2048) return Status::Corruption("not an Access database (file too small)");
  std::array<uint8_t, 256> header;
  JET_RETURN_IF_ERROR(file->Read(0, header.size(), header.data()));
  p->file_ = std::move(file);
  JET_RETURN_IF_ERROR(p->DecodeHeader(header.data(), size));
  p->committed_page_count_ = p->page_count_;
  *pager = std::move(p);
  return Status::OK();
}

Pager::~Pager() = default;

Status Pager::DecodeHeader(const uint8_t* first, uint64_t file_size) {
  static constexpr char kJetMagic[] = "Standard Jet DB";
  static constexpr char kAceMagic[] = "Standard ACE DB";
  if (first[0] != 0x00 || (std::memcmp(first + 4, kJetMagic, 15) != 0 &&
                          std::memcmp(first + 4, kAceMagic, 15) != 0)) {
    return Status::Corruption("not an Access database (no Jet header)");
  }
  if (!FormatFromVersion(first[kHeaderVersionOffset], &format_)) {
    return Status::Unsupported("unsupported format: unknown Jet version byte " +
                               std::to_string(first[kHeaderVersionOffset]));
  }
  page_size_ = is_jet3() ? 2048 : 4096;
  page_count_ = static_cast<uint32_t>(file_size / page_size_);

  std::array<uint8_t, 256> header;
  std::memcpy(header.data(), first, header.size());
  Rc4({0xC7, 0xDA, 0x39, 0x6B}, header.data() + kHeaderMaskOffset,
      is_jet3() ? kJet3MaskLength : kJet4MaskLength);
  code_page_ = Get16(header.data() + kCodePageOffset);
  sort_order_ = Get16(header.data() + (is_jet3() ? kJet3SortOrderOffset : kJet4SortOrderOffset));
  if (!is_jet3()) sort_order_version_ = header[kJet4SortOrderOffset + 3];
  return Status::OK();
}

Status Pager::ReadPage(uint32_t number, Page* page) const {
  if (number >= page_count_) {
    return Status::Corruption("page " + std::to_string(number) + " is beyond the end of the file (" +
                              std::to_string(page_count_) + " pages)");
  }
  if (auto it = changed_.find(number); it != changed_.end()) {
    *page = Page(it->second.get(), page_size_);
    return Status::OK();
  }
  return ReadCommittedPage(number, page);
}

void Pager::ReleaseReadPages() const {
  if (cache_.size() <= kCachedPagesKept) return;
  // The buffers serve the next reads: a long scan then allocates nothing.
  for (auto& [number, buffer] : cache_) {
    if (spare_.size() >= kCachedPagesKept) break;
    spare_.push_back(std::move(buffer));
  }
  cache_.clear();
}

Status Pager::ReadCommittedPage(uint32_t number, Page* page) const {
  if (number >= committed_page_count_) {
    return Status::Corruption("page " + std::to_string(number) + " is not yet in the file");
  }
  if (auto it = originals_.find(number); it != originals_.end()) {
    *page = Page(it->second.data(), page_size_);
    return Status::OK();
  }
  auto& slot = cache_[number];
  if (!slot) {
    if (before_disk_read_) {
      if (Status s = before_disk_read_(); !s.ok()) {
        cache_.erase(number);
        return s;
      }
    }
    std::unique_ptr<uint8_t[]> buffer;
    if (spare_.empty()) {
      buffer = std::make_unique_for_overwrite<uint8_t[]>(page_size_);  // the read fills it whole
    } else {
      buffer = std::move(spare_.back());
      spare_.pop_back();
    }
    Status s = file_->Read(uint64_t(number) * page_size_, page_size_, buffer.get());
    if (!s.ok()) {
      cache_.erase(number);
      return s;
    }
    slot = std::move(buffer);
  }
  *page = Page(slot.get(), page_size_);
  return Status::OK();
}

Status Pager::MutablePage(uint32_t number, uint8_t** data) {
  if (read_only_) return Status::ReadOnly("the database is open for reading only", 3027);
  if (auto it = changed_.find(number); it != changed_.end()) {
    *data = it->second.get();
    return Status::OK();
  }
  Page original;
  JET_RETURN_IF_ERROR(ReadPage(number, &original));
  auto copy = std::make_unique<uint8_t[]>(page_size_);
  std::memcpy(copy.get(), original.data(), page_size_);
  *data = copy.get();
  changed_[number] = std::move(copy);
  return Status::OK();
}

Status Pager::AppendPage(uint32_t* number) {
  if (read_only_) return Status::ReadOnly("the database is open for reading only", 3027);
  // Jet files stop at 2 GB: page numbers beyond that do not fit a row pointer's 3 bytes anyway.
  if (uint64_t(page_count_ + 1) * page_size_ > (uint64_t(1) << 31)) {
    return Status::IOError("the database would grow beyond 2 GB");
  }
  *number = page_count_++;
  changed_[*number] = std::make_unique<uint8_t[]>(page_size_);
  return Status::OK();
}

void Pager::ShowOriginals(std::map<uint32_t, std::vector<uint8_t>> pages, uint64_t file_size) {
  for (auto& [number, bytes] : pages) {
    if (bytes.size() == page_size_ && number < page_count_) originals_[number] = std::move(bytes);
  }
  page_count_ = std::min<uint32_t>(page_count_, static_cast<uint32_t>(file_size / page_size_));
  committed_page_count_ = page_count_;
}

Status Pager::Reload(std::unique_ptr<File> replacement) {
  if (replacement) file_ = std::move(replacement);
  uint64_t size = 0;
  JET_RETURN_IF_ERROR(file_->Size(&size));
  if (size < 2048) return Status::Corruption("not an Access database (file too small)");
  std::array<uint8_t, 256> header;
  JET_RETURN_IF_ERROR(file_->Read(0, header.size(), header.data()));
  JET_RETURN_IF_ERROR(DecodeHeader(header.data(), size));
  for (auto& [number, buffer] : cache_) {
    if (spare_.size() >= kCachedPagesKept) break;
    spare_.push_back(std::move(buffer));
  }
  cache_.clear();
  originals_.clear();
  changed_.clear();
  committed_page_count_ = page_count_;
  return Status::OK();
}

void Pager::AcceptChanges() {
  ++written_commits_;
  for (auto& [number, data] : changed_) cache_[number] = std::move(data);
  changed_.clear();
  committed_page_count_ = page_count_;
}

void Pager::DiscardChanges() {
  changed_.clear();
  page_count_ = committed_page_count_;
}

Status Pager::ReadPageOfType(uint32_t number, PageType type, Page* page) const {
  JET_RETURN_IF_ERROR(ReadPage(number, page));
  if ((*page)[0] != static_cast<uint8_t>(type)) {
    return Status::Corruption("page " + std::to_string(number) + " has type " +
                              std::to_string((*page)[0]) + ", expected " +
                              std::to_string(static_cast<int>(type)));
  }
  return Status::OK();
}

}  // namespace jet
