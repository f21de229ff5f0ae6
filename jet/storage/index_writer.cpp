#include "storage/index_writer.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>
#include <vector>

#include "storage/index_page.h"
#include "storage/usage_map_writer.h"

namespace jet {
namespace {

constexpr size_t kPrevOffset = 12, kNextOffset = 16, kTailOffset = 20, kPrefixOffset = 24, kLevelOffset = 26;
constexpr size_t kMaskOffset = 27;
constexpr size_t kEntryStart = 0x1E0;
constexpr int kMaxDepth = 32;

void Put32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}
void PutBigEndian(std::string* out, uint32_t v, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out->push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

uint32_t TrailingChild(const std::string& entry) {
  uint32_t v = 0;
  for (size_t i = entry.size() - 4; i < entry.size(); ++i) v = (v << 8) | static_cast<uint8_t>(entry[i]);
  return v;
}

size_t CommonPrefix(const std::string& a, const std::string& b) {
  size_t n = 0;
  while (n < a.size() && n < b.size() && a[n] == b[n]) ++n;
  return n;
}

// One page of the new tree. `entries` are whole entries (key, row pointer
// and, on intermediate pages, child page); `last` is the greatest leaf entry
// below the page, which its parent's entry for it carries.
struct TreePage {
  std::vector<std::string> entries;
  std::string last;
  uint32_t tail = 0;
  uint32_t number = 0;
  uint32_t prev = 0, next = 0;
};

// Splits entries into page loads: as many as fit each page once the bytes
// every entry shares with the page's first are left out (leaves only; Access
// writes intermediate pages uncompressed).
std::vector<std::vector<std::string>> Pack(std::vector<std::string> entries, size_t capacity, bool compress) {
  std::vector<std::vector<std::string>> pages(1);
  size_t sum = 0, prefix = 0;
  for (std::string& e : entries) {
    auto& page = pages.back();
    if (!page.empty()) {
      const size_t p = compress ? (page.size() == 1 ? CommonPrefix(page[0], e) : std::min(prefix, CommonPrefix(page[0], e))) : 0;
      if (sum + e.size() - page.size() * p <= capacity) {
        sum += e.size();
        prefix = p;
        page.push_back(std::move(e));
        continue;
      }
      pages.emplace_back();
    }
    sum = e.size();
    prefix = 0;
    pages.back().push_back(std::move(e));
  }
  return pages;
}

size_t SharedPrefix(const std::vector<std::string>& entries, bool compress) {
  if (!compress || entries.size() < 2) return 0;
  size_t p = entries[0].size();
  for (size_t i = 1; i < entries.size(); ++i) p = std::min(p, CommonPrefix(entries[0], entries[i]));
  return p;
}

Status WritePage(Pager* pager, uint32_t owner, const TreePage& tp, bool leaf, int level) {
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(tp.number, &page));
  const uint32_t ps = pager->page_size();
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
    if (kEntryStart + pos + e.size() - skip > ps) return Status::Corruption("index entries overflow their page");
    std::memcpy(page + kEntryStart + pos, e.data() + skip, e.size() - skip);
    pos += e.size() - skip;
    page[kMaskOffset + pos / 8] |= static_cast<uint8_t>(1u << (pos % 8));
  }
  const size_t free_space = ps - kEntryStart - pos;
  page[2] = static_cast<uint8_t>(free_space);
  page[3] = static_cast<uint8_t>(free_space >> 8);
  return Status::OK();
}

Status CollectTreePages(const Pager& pager, uint32_t page_no, int depth, std::unordered_set<uint32_t>* pages,
                        std::vector<uint32_t>* order) {
  if (depth > kMaxDepth) return Status::Corruption("index tree is deeper than any valid index");
  if (!pages->insert(page_no).second) return Status::Corruption("index tree has a cycle");
  order->push_back(page_no);
  Page raw;
  JET_RETURN_IF_ERROR(pager.ReadPage(page_no, &raw));
  IndexPage page;
  JET_RETURN_IF_ERROR(DecodeIndexPage(raw, pager.is_jet3(), &page));
  if (page.leaf) return Status::OK();
  for (const IndexEntry& e : page.entries) JET_RETURN_IF_ERROR(CollectTreePages(pager, e.child_page, depth + 1, pages, order));
  if (page.tail_page != 0) JET_RETURN_IF_ERROR(CollectTreePages(pager, page.tail_page, depth + 1, pages, order));
  return Status::OK();
}

class PagePool {
 public:
  PagePool(Pager* pager, std::vector<uint32_t> reusable) : pager_(pager), reusable_(std::move(reusable)) {}
  Status Take(uint32_t* page) {
    if (next_ < reusable_.size()) {
      *page = reusable_[next_++];
      return Status::OK();
    }
    return AllocatePage(pager_, page);
  }
  std::vector<uint32_t> Unused() const { return {reusable_.begin() + next_, reusable_.end()}; }

 private:
  Pager* pager_;
  std::vector<uint32_t> reusable_;
  size_t next_ = 0;
};

}  // namespace

Status IndexContents::Load(const Pager& pager, uint32_t root_page) {
  std::vector<IndexEntry> raw;
  JET_RETURN_IF_ERROR(ReadIndexEntries(pager, root_page, &raw));
  entries_.clear();
  for (IndexEntry& e : raw) entries_.insert({std::move(e.key), e.data_page << 8 | e.data_row});
  return Status::OK();
}

bool IndexContents::HasKey(const std::string& key, uint32_t except) const {
  for (auto it = entries_.lower_bound({key, 0}); it != entries_.end() && it->key == key; ++it) {
    if (it->row_pointer != except) return true;
  }
  return false;
}

uint32_t IndexContents::DistinctKeys() const {
  uint32_t count = 0;
  const std::string* previous = nullptr;
  for (const IndexRowEntry& e : entries_) {
    if (!previous || *previous != e.key) ++count;
    previous = &e.key;
  }
  return count;
}

Status WriteIndexTree(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer,
                      const std::set<IndexRowEntry>& entries) {
  std::unordered_set<uint32_t> seen;
  std::vector<uint32_t> old_pages;
  JET_RETURN_IF_ERROR(CollectTreePages(*pager, root_page, 0, &seen, &old_pages));
  old_pages.erase(old_pages.begin());  // the root keeps its page
  std::sort(old_pages.begin(), old_pages.end());
  PagePool pool(pager, old_pages);
  const size_t capacity = pager->page_size() - kEntryStart;

  std::vector<std::string> level_entries;
  for (const IndexRowEntry& e : entries) {
    std::string bytes = e.key;
    PutBigEndian(&bytes, e.row_pointer, 4);
    level_entries.push_back(std::move(bytes));
  }
  std::vector<uint32_t> used = {root_page};
  for (int level = 0;; ++level) {
    const bool leaf = level == 0;
    std::vector<TreePage> pages;
    for (auto& load : Pack(std::move(level_entries), capacity, leaf)) {
      TreePage tp;
      tp.entries = std::move(load);
      pages.push_back(std::move(tp));
    }
    for (TreePage& tp : pages) {
      if (leaf) {
        tp.last = tp.entries.empty() ? std::string() : tp.entries.back();
      } else {
        // The last child is the page's tail, named by no entry.
        const std::string& last = tp.entries.back();
        tp.tail = TrailingChild(last);
        tp.last = last.substr(0, last.size() - 4);
        tp.entries.pop_back();
      }
    }
    if (pages.size() == 1) pages[0].number = root_page;
    for (TreePage& tp : pages) {
      if (tp.number == 0) JET_RETURN_IF_ERROR(pool.Take(&tp.number));
      if (tp.number != root_page) used.push_back(tp.number);
    }
    for (size_t i = 0; i < pages.size(); ++i) {
      if (i > 0) pages[i].prev = pages[i - 1].number;
      if (i + 1 < pages.size()) pages[i].next = pages[i + 1].number;
      JET_RETURN_IF_ERROR(WritePage(pager, owner_page, pages[i], leaf, level));
    }
    if (pages.size() == 1) break;
    level_entries.clear();
    for (const TreePage& tp : pages) {
      std::string bytes = tp.last;
      PutBigEndian(&bytes, tp.number, 4);
      level_entries.push_back(std::move(bytes));
    }
  }
  auto grow = [pager](uint32_t* p) { return AllocatePage(pager, p); };
  for (uint32_t page : pool.Unused()) {
    JET_RETURN_IF_ERROR(FreePage(pager, page));
    if (map_pointer) JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, false, MapKind::kOwned, grow));
  }
  if (map_pointer) {
    for (uint32_t page : used) JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, true, MapKind::kOwned, grow));
  }
  return Status::OK();
}

}  // namespace jet
