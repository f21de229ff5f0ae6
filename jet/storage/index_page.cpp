#include "storage/index_page.h"

#include <unordered_set>

namespace jet {
namespace {

// Where the header fields sit; Jet 4 inserted four bytes after the owner
// table's page number and one more before the mask.
struct IndexPageLayout {
  size_t prev_page;
  size_t next_page;
  size_t tail_page;
  size_t prefix_length;  // one byte in Jet 3 (the next one flags intermediate pages), two in Jet 4
  bool prefix_length_is_byte;
  size_t entry_mask;
  size_t entry_mask_size;
};

constexpr IndexPageLayout kJet3Layout = {8, 12, 16, 20, true, 22, 226};
constexpr IndexPageLayout kJet4Layout = {12, 16, 20, 24, false, 27, 453};

// Row pointers and child pointers are big-endian, unlike the header.
uint32_t BigEndian(const std::string& bytes, size_t offset, int length) {
  uint32_t value = 0;
  for (int i = 0; i < length; ++i) value = (value << 8) | static_cast<uint8_t>(bytes[offset + i]);
  return value;
}

Status SplitEntry(std::string bytes, bool leaf, IndexEntry* entry) {
  const size_t pointer_size = leaf ? 4 : 8;
  if (bytes.size() < pointer_size) {
    return Status::Corruption("index entry of " + std::to_string(bytes.size()) + " bytes is too short");
  }
  const size_t key_length = bytes.size() - pointer_size;
  entry->data_page = BigEndian(bytes, key_length, 3);
  entry->data_row = static_cast<uint8_t>(bytes[key_length + 3]);
  if (!leaf) entry->child_page = BigEndian(bytes, key_length + 4, 4);
  bytes.resize(key_length);
  entry->key = std::move(bytes);
  return Status::OK();
}

}  // namespace

Status DecodeIndexPage(Page page, bool jet3, IndexPage* out) {
  const IndexPageLayout& layout = jet3 ? kJet3Layout : kJet4Layout;
  const size_t data_start = layout.entry_mask + layout.entry_mask_size;
  if (page.size() < data_start) return Status::Corruption("index page is shorter than its header");
  const uint8_t type = page[0];
  if (type != static_cast<uint8_t>(PageType::kIndexLeaf) &&
      type != static_cast<uint8_t>(PageType::kIndexIntermediate)) {
    return Status::Corruption("page of type " + std::to_string(type) + " where an index page was expected");
  }
  const uint8_t* p = page.data();
  out->leaf = type == static_cast<uint8_t>(PageType::kIndexLeaf);
  out->prev_page = Get32(p + layout.prev_page);
  out->next_page = Get32(p + layout.next_page);
  out->tail_page = Get32(p + layout.tail_page);
  out->entries.clear();
  const size_t prefix_length = layout.prefix_length_is_byte ? p[layout.prefix_length] : Get16(p + layout.prefix_length);

  std::string shared_prefix;
  size_t entry_start = 0;
  for (size_t bit = 0; bit < layout.entry_mask_size * 8; ++bit) {
    if ((p[layout.entry_mask + bit / 8] & (1u << (bit % 8))) == 0) continue;
    const size_t entry_end = bit;
    if (data_start + entry_end > page.size()) return Status::Corruption("index entry runs past the page end");
    const char* stored = reinterpret_cast<const char*>(p + data_start + entry_start);
    const size_t stored_length = entry_end - entry_start;
    std::string bytes;
    if (out->entries.empty()) {
      if (prefix_length > stored_length) {
        return Status::Corruption("index page's shared prefix is longer than its first entry");
      }
      shared_prefix.assign(stored, prefix_length);
      bytes.assign(stored, stored_length);
    } else {
      bytes = shared_prefix;
      bytes.append(stored, stored_length);
    }
    IndexEntry entry;
    JET_RETURN_IF_ERROR(SplitEntry(std::move(bytes), out->leaf, &entry));
    out->entries.push_back(std::move(entry));
    entry_start = entry_end;
  }
  return Status::OK();
}

namespace {

class IndexTreeWalker {
 public:
  IndexTreeWalker(const Pager& pager, std::vector<IndexEntry>* entries) : pager_(pager), entries_(entries) {}

  Status Visit(uint32_t page_number, int depth);

 private:
  const Pager& pager_;
  std::vector<IndexEntry>* entries_;
  std::unordered_set<uint32_t> visited_;
};

Status IndexTreeWalker::Visit(uint32_t page_number, int depth) {
  if (depth > kMaxIndexDepth) return Status::Corruption("index tree is deeper than any valid index");
  if (!visited_.insert(page_number).second) {
    return Status::Corruption("index page " + std::to_string(page_number) +
                              " is reached twice (cycle in the index tree)");
  }
  Page raw;
  JET_RETURN_IF_ERROR(pager_.ReadPage(page_number, &raw));
  IndexPage page;
  Status s = DecodeIndexPage(raw, pager_.is_jet3(), &page);
  if (!s.ok()) return Status::Corruption("index page " + std::to_string(page_number) + ": " + s.message());
  if (page.leaf) {
    for (IndexEntry& entry : page.entries) entries_->push_back(std::move(entry));
    return Status::OK();
  }
  for (const IndexEntry& entry : page.entries) JET_RETURN_IF_ERROR(Visit(entry.child_page, depth + 1));
  if (page.tail_page != 0) JET_RETURN_IF_ERROR(Visit(page.tail_page, depth + 1));
  return Status::OK();
}

}  // namespace

Status ReadIndexEntries(const Pager& pager, uint32_t root_page, std::vector<IndexEntry>* entries) {
  entries->clear();
  IndexTreeWalker walker(pager, entries);
  return walker.Visit(root_page, 0);
}

}  // namespace jet
