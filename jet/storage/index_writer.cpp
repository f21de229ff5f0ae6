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

Status BuildPage(uint8_t* page, size_t ps, uint32_t owner, const TreePage& tp, bool leaf, int level) {
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

// Walks the tree in key order, noting each leaf and each intermediate page.
class TreeWalk {
 public:
  explicit TreeWalk(const Pager& pager) : pager_(pager) {}

  Status Visit(uint32_t page_no, int depth, std::vector<std::pair<uint32_t, std::string>>* leaves,
               std::vector<uint32_t>* inner) {
    if (depth > kMaxDepth) return Status::Corruption("index tree is deeper than any valid index");
    if (!seen_.insert(page_no).second) return Status::Corruption("index tree has a cycle");
    Page raw;
    JET_RETURN_IF_ERROR(pager_.ReadPage(page_no, &raw));
    IndexPage page;
    JET_RETURN_IF_ERROR(DecodeIndexPage(raw, pager_.is_jet3(), &page));
    if (page.leaf) {
      std::string last;
      if (!page.entries.empty()) {
        last = page.entries.back().key;
        PutBigEndian(&last, page.entries.back().data_page << 8 | page.entries.back().data_row, 4);
      }
      leaves->push_back({page_no, std::move(last)});
      return Status::OK();
    }
    if (depth > 0) inner->push_back(page_no);
    for (const IndexEntry& e : page.entries) JET_RETURN_IF_ERROR(Visit(e.child_page, depth + 1, leaves, inner));
    if (page.tail_page != 0) JET_RETURN_IF_ERROR(Visit(page.tail_page, depth + 1, leaves, inner));
    return Status::OK();
  }

 private:
  const Pager& pager_;
  std::unordered_set<uint32_t> seen_;
};

class PagePool {
 public:
  explicit PagePool(Pager* pager) : pager_(pager) {}
  void Give(uint32_t page) { spare_.push_back(page); }
  Status Take(uint32_t* page) {
    if (!spare_.empty()) {
      *page = spare_.back();
      spare_.pop_back();
      return Status::OK();
    }
    return AllocatePage(pager_, page);
  }
  const std::vector<uint32_t>& spare() const { return spare_; }

 private:
  Pager* pager_;
  std::vector<uint32_t> spare_;
};

// Writes a page only when its bytes change.
Status PutPage(Pager* pager, uint32_t owner, const TreePage& tp, bool leaf, int level) {
  std::vector<uint8_t> image(pager->page_size());
  JET_RETURN_IF_ERROR(BuildPage(image.data(), image.size(), owner, tp, leaf, level));
  Page current;
  if (pager->ReadPage(tp.number, &current).ok() && std::memcmp(current.data(), image.data(), image.size()) == 0) {
    return Status::OK();
  }
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(tp.number, &page));
  std::memcpy(page, image.data(), image.size());
  return Status::OK();
}

std::string EntryBytes(const IndexRowEntry& e) {
  std::string bytes = e.key;
  PutBigEndian(&bytes, e.row_pointer, 4);
  return bytes;
}

}  // namespace

Status IndexContents::Load(const Pager& pager, uint32_t root_page) {
  std::vector<IndexEntry> raw;
  JET_RETURN_IF_ERROR(ReadIndexEntries(pager, root_page, &raw));
  entries_.clear();
  for (IndexEntry& e : raw) entries_.insert({std::move(e.key), e.data_page << 8 | e.data_row});
  std::vector<std::pair<uint32_t, std::string>> leaves;
  inner_pages_.clear();
  JET_RETURN_IF_ERROR(TreeWalk(pager).Visit(root_page, 0, &leaves, &inner_pages_));
  leaves_.clear();
  for (auto& [page, last] : leaves) leaves_.push_back({page, std::move(last)});
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

Status IndexContents::Write(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer) {
  const size_t capacity = pager->page_size() - kEntryStart;
  PagePool pool(pager);
  for (uint32_t p : inner_pages_) pool.Give(p);

  // Each old leaf takes the entries up to its old last one; the last leaf the rest.
  std::vector<std::vector<std::string>> groups(leaves_.empty() ? 1 : leaves_.size());
  size_t g = 0;
  for (const IndexRowEntry& e : entries_) {
    std::string bytes = EntryBytes(e);
    while (g + 1 < groups.size() && (leaves_[g].last.empty() || bytes > leaves_[g].last)) ++g;
    groups[g].push_back(std::move(bytes));
  }
  std::vector<TreePage> level;
  for (size_t i = 0; i < groups.size(); ++i) {
    const uint32_t old_page = leaves_.empty() ? root_page : leaves_[i].page;
    if (groups[i].empty()) {
      // The root stays, empty if need be: the definition names it, so it is
      // never given up.
      if (old_page != root_page) pool.Give(old_page);
      continue;
    }
    bool first = true;
    for (auto& load : Pack(std::move(groups[i]), capacity, true)) {
      TreePage tp;
      tp.entries = std::move(load);
      tp.last = tp.entries.back();
      tp.number = first ? old_page : 0;
      first = false;
      level.push_back(std::move(tp));
    }
  }
  if (level.empty()) level.push_back(TreePage());
  // The root page is a leaf only while one leaf is all there is.
  for (TreePage& tp : level) {
    if (level.size() == 1) tp.number = root_page;
    else if (tp.number == root_page) tp.number = 0;
  }
  std::vector<uint32_t> used = {root_page};
  leaves_.clear();
  inner_pages_.clear();
  for (int height = 0;; ++height) {
    const bool leaf = height == 0;
    for (TreePage& tp : level) {
      if (tp.number == 0) JET_RETURN_IF_ERROR(pool.Take(&tp.number));
      if (tp.number != root_page) used.push_back(tp.number);
      if (leaf) leaves_.push_back({tp.number, tp.last});
      else if (tp.number != root_page) inner_pages_.push_back(tp.number);
    }
    for (size_t i = 0; i < level.size(); ++i) {
      level[i].prev = i > 0 ? level[i - 1].number : 0;
      level[i].next = i + 1 < level.size() ? level[i + 1].number : 0;
      JET_RETURN_IF_ERROR(PutPage(pager, owner_page, level[i], leaf, height));
    }
    if (level.size() == 1) break;
    std::vector<std::string> children;
    for (const TreePage& tp : level) {
      std::string bytes = tp.last;
      PutBigEndian(&bytes, tp.number, 4);
      children.push_back(std::move(bytes));
    }
    std::vector<TreePage> parents;
    for (auto& load : Pack(std::move(children), capacity, false)) {
      TreePage tp;
      tp.entries = std::move(load);
      // The last child is the page's tail, named by no entry.
      const std::string& last = tp.entries.back();
      tp.tail = TrailingChild(last);
      tp.last = last.substr(0, last.size() - 4);
      tp.entries.pop_back();
      parents.push_back(std::move(tp));
    }
    if (parents.size() == 1) parents[0].number = root_page;
    level = std::move(parents);
  }
  auto grow = [pager](uint32_t* p) { return AllocatePage(pager, p); };
  for (uint32_t page : pool.spare()) {
    JET_RETURN_IF_ERROR(FreePage(pager, page));
    if (map_pointer) JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, false, MapKind::kOwned, grow));
  }
  if (map_pointer) {
    for (uint32_t page : used) JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, true, MapKind::kOwned, grow));
  }
  return Status::OK();
}

}  // namespace jet
