#include "storage/index_tree_page.h"

#include <algorithm>
#include <cstring>

namespace jet {
namespace {

constexpr size_t kPrevOffset = 12, kNextOffset = 16, kTailOffset = 20, kPrefixOffset = 24, kLevelOffset = 26;
constexpr size_t kMaskOffset = 27;

void PutBigEndian(std::string* out, uint32_t v) {
  for (int i = 3; i >= 0; --i) out->push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

size_t CommonPrefix(const std::string& a, const std::string& b) {
  size_t n = 0;
  while (n < a.size() && n < b.size() && a[n] == b[n]) ++n;
  return n;
}

size_t SharedPrefix(const std::vector<std::string>& entries, bool compress) {
  if (!compress || entries.size() < 2) return 0;
  size_t p = entries[0].size();
  for (size_t i = 1; i < entries.size(); ++i) p = std::min(p, CommonPrefix(entries[0], entries[i]));
  return p;
}

}  // namespace

std::string EntryBytes(const std::string& key, uint32_t row_pointer) {
  std::string bytes = key;
  PutBigEndian(&bytes, row_pointer);
  return bytes;
}

std::string EntryBytes(const IndexEntry& e) { return EntryBytes(e.key, e.data_page << 8 | e.data_row); }

std::string ChildEntry(const std::string& last, uint32_t child_page) { return EntryBytes(last, child_page); }

uint32_t TrailingChild(std::string_view entry) {
  uint32_t v = 0;
  for (size_t i = entry.size() - 4; i < entry.size(); ++i) v = (v << 8) | static_cast<uint8_t>(entry[i]);
  return v;
}

std::string_view KeyOf(std::string_view entry) { return entry.substr(0, entry.size() - 4); }

Status LeafEntries(const Pager& pager, uint32_t page_no, std::vector<std::string>* entries) {
  Page raw;
  JET_RETURN_IF_ERROR(pager.ReadPage(page_no, &raw));
  IndexPage page;
  JET_RETURN_IF_ERROR(DecodeIndexPage(raw, pager.is_jet3(), &page));
  if (!page.leaf) return Status::Corruption("index page " + std::to_string(page_no) + " should be a leaf");
  entries->clear();
  for (const IndexEntry& e : page.entries) entries->push_back(EntryBytes(e));
  return Status::OK();
}

void MergeChanges(const std::vector<std::string>& old, const std::vector<EntryChange>& changes,
                  std::vector<std::string>* out) {
  auto change = changes.begin(), end = changes.end();
  for (const std::string& e : old) {
    for (; change != end && change->first < e; ++change)
      if (change->second > 0) out->emplace_back(change->first);
    if (change != end && change->first == e) {
      if (change->second >= 0) out->push_back(e);
      ++change;
      continue;
    }
    out->push_back(e);
  }
  for (; change != end; ++change)
    if (change->second > 0) out->emplace_back(change->first);
}

KeyStarts::KeyStarts(std::optional<std::string_view> before) {
  if (before) previous_ = std::string(*before);
}

void KeyStarts::Add(const std::string& entry) {
  const std::string_view key = KeyOf(entry);
  if (previous_ && key == *previous_) return;
  ++starts_;
  previous_ = std::string(key);
}

int64_t KeyStarts::Total(std::optional<std::string_view> after) const {
  return starts_ + (after && (!previous_ || *after != *previous_) ? 1 : 0);
}

std::optional<std::vector<std::string>> PagePacker::Add(std::string entry) {
  if (!page_.empty()) {
    size_t p = 0;
    if (compress_) p = page_.size() == 1 ? CommonPrefix(page_[0], entry) : std::min(prefix_, CommonPrefix(page_[0], entry));
    if (sum_ + entry.size() - page_.size() * p <= capacity_) {
      sum_ += entry.size();
      prefix_ = p;
      page_.push_back(std::move(entry));
      return std::nullopt;
    }
  }
  std::optional<std::vector<std::string>> full;
  if (!page_.empty()) full = std::move(page_);
  page_.clear();
  sum_ = entry.size();
  prefix_ = 0;
  page_.push_back(std::move(entry));
  return full;
}

std::vector<std::vector<std::string>> Pack(std::vector<std::string> entries, size_t capacity, bool compress) {
  PagePacker packer(capacity, compress);
  std::vector<std::vector<std::string>> pages;
  for (std::string& e : entries) {
    if (auto full = packer.Add(std::move(e))) pages.push_back(std::move(*full));
  }
  pages.push_back(packer.Finish());
  return pages;
}

size_t TreePageBytes(const std::vector<std::string>& entries, bool compress) {
  size_t sum = 0;
  for (const std::string& e : entries) sum += e.size();
  return entries.empty() ? 0 : sum - (entries.size() - 1) * SharedPrefix(entries, compress);
}

Status BuildTreePage(uint8_t* page, size_t ps, uint32_t owner, const TreePage& tp, int level) {
  const bool leaf = level == 0;
  std::memset(page, 0, ps);
  page[0] = static_cast<uint8_t>(leaf ? PageType::kIndexLeaf : PageType::kIndexIntermediate);
  page[1] = 0x01;
  Put32(page + 4, owner);
  Put32(page + kPrevOffset, tp.prev);
  Put32(page + kNextOffset, tp.next);
  Put32(page + kTailOffset, tp.tail);
  const size_t prefix = SharedPrefix(tp.entries, leaf);
  page[kPrefixOffset] = static_cast<uint8_t>(prefix);
  page[kPrefixOffset + 1] = static_cast<uint8_t>(prefix >> 8);
  page[kLevelOffset] = static_cast<uint8_t>(level);
  size_t pos = 0;
  for (size_t i = 0; i < tp.entries.size(); ++i) {
    const std::string& e = tp.entries[i];
    const size_t skip = i == 0 ? 0 : prefix;
    if (kIndexEntryStart + pos + e.size() - skip > ps) return Status::Corruption("index entries overflow their page");
    std::memcpy(page + kIndexEntryStart + pos, e.data() + skip, e.size() - skip);
    pos += e.size() - skip;
    page[kMaskOffset + pos / 8] |= static_cast<uint8_t>(1u << (pos % 8));
  }
  const size_t free_space = ps - kIndexEntryStart - pos;
  page[2] = static_cast<uint8_t>(free_space);
  page[3] = static_cast<uint8_t>(free_space >> 8);
  return Status::OK();
}

Status StoreTreePage(Pager* pager, uint32_t number, const std::vector<uint8_t>& image) {
  Page current;
  if (pager->ReadPage(number, &current).ok() && std::memcmp(current.data(), image.data(), image.size()) == 0) {
    return Status::OK();
  }
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(number, &page));
  std::memcpy(page, image.data(), image.size());
  return Status::OK();
}

}  // namespace jet
