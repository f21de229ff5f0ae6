#include "storage/index_writer.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "storage/index_page.h"
#include "storage/index_seek.h"
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

std::string EntryBytes(const std::string& key, uint32_t row_pointer) {
  std::string bytes = key;
  PutBigEndian(&bytes, row_pointer, 4);
  return bytes;
}

std::string EntryBytes(const IndexEntry& e) { return EntryBytes(e.key, e.data_page << 8 | e.data_row); }

// An entry's key: its bytes without the row pointer.
std::string_view KeyOf(const std::string& entry) { return std::string_view(entry).substr(0, entry.size() - 4); }

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

// Walks the pages above the leaves in key order, noting each leaf with its
// last entry as its parent names it, and each intermediate page. Only the
// rightmost leaf, which no parent names, is read.
class UpperWalk {
 public:
  explicit UpperWalk(const Pager& pager) : pager_(pager) {}

  template <typename LeafList>
  Status Visit(uint32_t page_no, int depth, const std::string* known_last, LeafList* leaves,
               std::vector<uint32_t>* inner) {
    if (depth > kMaxDepth) return Status::Corruption("index tree is deeper than any valid index");
    if (!seen_.insert(page_no).second) return Status::Corruption("index tree has a cycle");
    Page raw;
    JET_RETURN_IF_ERROR(pager_.ReadPage(page_no, &raw));
    if (raw[0] == static_cast<uint8_t>(PageType::kIndexLeaf)) {
      if (known_last) {
        leaves->push_back({page_no, *known_last});
        return Status::OK();
      }
      std::vector<std::string> entries;
      JET_RETURN_IF_ERROR(LeafEntries(pager_, page_no, &entries));
      leaves->push_back({page_no, entries.empty() ? std::string() : entries.back()});
      return Status::OK();
    }
    IndexPage page;
    JET_RETURN_IF_ERROR(DecodeIndexPage(raw, pager_.is_jet3(), &page));
    if (depth > 0) inner->push_back(page_no);
    for (const IndexEntry& e : page.entries) {
      const std::string last = EntryBytes(e);
      JET_RETURN_IF_ERROR(Visit(e.child_page, depth + 1, &last, leaves, inner));
    }
    if (page.tail_page != 0) JET_RETURN_IF_ERROR(Visit(page.tail_page, depth + 1, known_last, leaves, inner));
    return Status::OK();
  }

 private:
  const Pager& pager_;
  std::unordered_set<uint32_t> seen_;
};

// How many entries of `run` begin a key different from the entry before
// them (the one before the run ends with `before`), plus the entry after
// the run (of key `after`) when it does: the run's share of the distinct count.
int64_t KeyStarts(const std::vector<std::string>& run, const std::optional<std::string_view>& before,
                  const std::optional<std::string_view>& after) {
  int64_t starts = 0;
  std::optional<std::string_view> previous = before;
  for (const std::string& e : run) {
    if (!previous || KeyOf(e) != *previous) ++starts;
    previous = KeyOf(e);
  }
  if (after && (!previous || *after != *previous)) ++starts;
  return starts;
}

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

}  // namespace

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
    JET_RETURN_IF_ERROR(AllocatePage(pager_, page));
    fresh_.push_back(*page);
    return Status::OK();
  }
  const std::vector<uint32_t>& spare() const { return spare_; }
  const std::vector<uint32_t>& fresh() const { return fresh_; }

 private:
  Pager* pager_;
  std::vector<uint32_t> spare_;
  std::vector<uint32_t> fresh_;  // pages the file grew by, or took from its free pages
};

// An index of at most this many leaves has its distinct keys counted when
// first changed, which puts right a stale count another program left.
constexpr size_t kCountedLeaves = 64;

Status IndexContents::Load(const Pager& pager, uint32_t root_page, uint32_t stored_distinct) {
  pager_ = &pager;
  root_ = root_page;
  pending_.clear();
  leaves_.clear();
  inner_pages_.clear();
  seeker_.reset();
  JET_RETURN_IF_ERROR(UpperWalk(pager).Visit(root_page, 0, nullptr, &leaves_, &inner_pages_));
  distinct_ = stored_distinct;
  if (leaves_.size() <= kCountedLeaves) {
    std::vector<std::string> all, entries;
    for (const Leaf& leaf : leaves_) {
      JET_RETURN_IF_ERROR(LeafEntries(pager, leaf.page, &entries));
      all.insert(all.end(), entries.begin(), entries.end());
    }
    distinct_ = static_cast<uint32_t>(KeyStarts(all, std::nullopt, std::nullopt));
  }
  return Status::OK();
}

void IndexContents::Change(const std::string& key, uint32_t row_pointer, int step) {
  auto [it, added] = pending_.emplace(EntryBytes(key, row_pointer), 0);
  it->second += step;
  if (it->second == 0) pending_.erase(it);
}

size_t IndexContents::LeafFor(const std::string& entry) const {
  auto it = std::lower_bound(leaves_.begin(), leaves_.end(), entry,
                             [](const Leaf& leaf, const std::string& e) { return !leaf.last.empty() && leaf.last < e; });
  return it == leaves_.end() ? leaves_.size() - 1 : static_cast<size_t>(it - leaves_.begin());
}

Status IndexContents::HasKey(const std::string& key, uint32_t except, bool* found) const {
  *found = false;
  for (auto it = pending_.lower_bound(key); it != pending_.end() && KeyOf(it->first) == key; ++it) {
    if (it->second > 0 && TrailingChild(it->first) != except) return (*found = true, Status::OK());
  }
  // Keys past the tree's last entry (new autonumbers, appended dates) need no look.
  if (leaves_.back().last.empty() || KeyOf(leaves_.back().last) < key) return Status::OK();
  if (!seeker_) seeker_ = std::make_unique<IndexSeeker>(*pager_, root_);
  std::vector<RowId> rows;
  JET_RETURN_IF_ERROR(seeker_->Find({true, key, true}, {true, key, true}, &rows));
  for (RowId r : rows) {
    const uint32_t pointer = r.page << 8 | r.row;
    if (pointer == except) continue;
    auto pending = pending_.find(EntryBytes(key, pointer));
    if (pending == pending_.end() || pending->second > 0) return (*found = true, Status::OK());
  }
  return Status::OK();
}

Status IndexContents::Write(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer) {
  if (pending_.empty()) return Status::OK();
  const size_t capacity = pager->page_size() - kEntryStart;
  // The changes, by the leaf each falls into.
  std::map<size_t, std::vector<std::pair<const std::string*, int>>> changes;
  for (const auto& [entry, step] : pending_) changes[LeafFor(entry)].push_back({&entry, step});

  struct NewLeaf {
    uint32_t page = 0;  // 0: a page is yet to be found
    std::string last;
    bool rewrite = false;
    std::vector<std::string> entries;  // when rewritten
  };
  std::vector<NewLeaf> next;
  PagePool pool(pager);
  int64_t distinct_change = 0;
  for (size_t i = 0; i < leaves_.size(); ++i) {
    if (!changes.count(i)) {
      next.push_back({leaves_[i].page, leaves_[i].last, false, {}});
      continue;
    }
    // A run of changed leaves: merged, packed again, and counted against the
    // unchanged leaves on either side.
    const size_t first = i;
    std::vector<std::string> before_run, after_run;
    for (; i < leaves_.size() && changes.count(i); ++i) {
      std::vector<std::string> old_entries;
      JET_RETURN_IF_ERROR(LeafEntries(*pager, leaves_[i].page, &old_entries));
      std::vector<std::string> merged;
      auto change = changes[i].begin(), end = changes[i].end();
      for (const std::string& e : old_entries) {
        for (; change != end && *change->first < e; ++change)
          if (change->second > 0) merged.push_back(*change->first);
        if (change != end && *change->first == e) {
          if (change->second >= 0) merged.push_back(e);
          ++change;
          continue;
        }
        merged.push_back(e);
      }
      for (; change != end; ++change)
        if (change->second > 0) merged.push_back(*change->first);
      before_run.insert(before_run.end(), old_entries.begin(), old_entries.end());
      after_run.insert(after_run.end(), merged.begin(), merged.end());
      if (merged.empty()) {
        if (leaves_[i].page != root_page) pool.Give(leaves_[i].page);  // the definition names the root
        continue;
      }
      bool first_load = true;
      for (auto& load : Pack(std::move(merged), capacity, true)) {
        NewLeaf leaf{first_load ? leaves_[i].page : 0, load.back(), true, std::move(load)};
        first_load = false;
        next.push_back(std::move(leaf));
      }
    }
    std::optional<std::string_view> before, after;
    if (first > 0) before = KeyOf(leaves_[first - 1].last);
    std::vector<std::string> following;
    if (i < leaves_.size()) {
      JET_RETURN_IF_ERROR(LeafEntries(*pager, leaves_[i].page, &following));
      if (!following.empty()) after = KeyOf(following.front());
    }
    distinct_change += KeyStarts(after_run, before, after) - KeyStarts(before_run, before, after);
    --i;  // the loop's step moves on to the unchanged leaf after the run
  }
  distinct_ = static_cast<uint32_t>(std::max<int64_t>(0, int64_t{distinct_} + distinct_change));

  // The root page stays the root: a leaf while one leaf is all there is.
  if (next.empty()) next.push_back({root_page, {}, true, {}});
  if (next.size() == 1 && next[0].page != root_page) {
    if (!next[0].rewrite) JET_RETURN_IF_ERROR(LeafEntries(*pager, next[0].page, &next[0].entries));
    if (next[0].page != 0) pool.Give(next[0].page);
    next[0] = {root_page, next[0].last, true, std::move(next[0].entries)};
  }
  for (NewLeaf& leaf : next) {
    if (next.size() > 1 && leaf.page == root_page) leaf.page = 0;
  }
  for (NewLeaf& leaf : next) {
    if (leaf.page == 0) {
      JET_RETURN_IF_ERROR(pool.Take(&leaf.page));
      leaf.rewrite = true;
    }
  }
  // Each rewritten leaf, and the links of the unchanged leaves beside them.
  for (size_t i = 0; i < next.size(); ++i) {
    const uint32_t prev = i > 0 ? next[i - 1].page : 0, following = i + 1 < next.size() ? next[i + 1].page : 0;
    if (next[i].rewrite) {
      TreePage tp;
      tp.entries = std::move(next[i].entries);
      tp.number = next[i].page;
      tp.prev = prev;
      tp.next = following;
      JET_RETURN_IF_ERROR(PutPage(pager, owner_page, tp, true, 0));
      continue;
    }
    Page current;
    JET_RETURN_IF_ERROR(pager->ReadPage(next[i].page, &current));
    if (Get32(current.data() + kPrevOffset) == prev && Get32(current.data() + kNextOffset) == following) continue;
    uint8_t* page = nullptr;
    JET_RETURN_IF_ERROR(pager->MutablePage(next[i].page, &page));
    Put32(page + kPrevOffset, prev);
    Put32(page + kNextOffset, following);
  }
  std::vector<Leaf> new_leaves;
  for (const NewLeaf& leaf : next) new_leaves.push_back({leaf.page, leaf.last});
  const bool moved = new_leaves.size() != leaves_.size() ||
                     !std::equal(new_leaves.begin(), new_leaves.end(), leaves_.begin(), [](const Leaf& a, const Leaf& b) {
                       return a.page == b.page && a.last == b.last;
                     });
  leaves_ = std::move(new_leaves);
  if (moved) JET_RETURN_IF_ERROR(WriteUpperLevels(pager, owner_page, root_page, &pool));

  auto grow = [pager](uint32_t* p) { return AllocatePage(pager, p); };
  for (uint32_t page : pool.spare()) {
    JET_RETURN_IF_ERROR(FreePage(pager, page));
    if (map_pointer) JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, false, MapKind::kOwned, grow));
  }
  if (map_pointer) {
    for (uint32_t page : pool.fresh())
      JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, true, MapKind::kOwned, grow));
  }
  pending_.clear();
  seeker_.reset();  // the pages above the leaves may have moved
  return Status::OK();
}

// Lays the intermediate levels out again above leaves_, reusing the old
// intermediate pages; pages whose bytes come out the same are not touched.
Status IndexContents::WriteUpperLevels(Pager* pager, uint32_t owner_page, uint32_t root_page, PagePool* pool) {
  const size_t capacity = pager->page_size() - kEntryStart;
  for (uint32_t p : inner_pages_) pool->Give(p);
  inner_pages_.clear();
  if (leaves_.size() == 1) return Status::OK();
  std::vector<TreePage> level;
  for (const Leaf& leaf : leaves_) {
    TreePage tp;
    tp.number = leaf.page;
    tp.last = leaf.last;
    level.push_back(std::move(tp));
  }
  for (int height = 1; level.size() > 1; ++height) {
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
    for (TreePage& tp : parents) {
      if (tp.number == 0) JET_RETURN_IF_ERROR(pool->Take(&tp.number));
      if (tp.number != root_page) inner_pages_.push_back(tp.number);
    }
    for (size_t i = 0; i < parents.size(); ++i) {
      parents[i].prev = i > 0 ? parents[i - 1].number : 0;
      parents[i].next = i + 1 < parents.size() ? parents[i + 1].number : 0;
      JET_RETURN_IF_ERROR(PutPage(pager, owner_page, parents[i], false, height));
    }
    level = std::move(parents);
  }
  return Status::OK();
}

}  // namespace jet
