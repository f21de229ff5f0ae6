#include "storage/index_writer.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include "storage/index_page.h"
#include "storage/index_seek.h"
#include "storage/index_tree_page.h"
#include "storage/usage_map_writer.h"

namespace jet {
namespace {

constexpr size_t kPrevOffset = 12, kNextOffset = 16;

// How much of a page a run of `pages` changed pages may fill when packed
// again. One page splits left-full, as Access splits for ascending keys; a
// longer run leaves a sixteenth free on each page, so that the next key
// landing among them is taken in place instead of splitting a full page.
size_t RunCapacity(size_t capacity, size_t pages) { return pages > 1 ? capacity - capacity / 16 : capacity; }

Status PutPage(Pager* pager, uint32_t owner, const TreePage& tp, int level) {
  std::vector<uint8_t> image(pager->page_size());
  JET_RETURN_IF_ERROR(BuildTreePage(image.data(), image.size(), owner, tp, level));
  return StoreTreePage(pager, tp.number, image);
}

// Walks the tree in key order, noting each page with its position under
// its parent, depth by depth from the root. Leaves take their last entry
// from their parent's entry for them, and a page's tail child ends where
// the page ends; only the rightmost leaf, which no parent names, is read.
// The first descent finds the depth of the leaves, so no other leaf is
// read to learn what it is.
class TreeShape {
 public:
  struct Node {
    uint32_t page = 0;
    std::string last;
    size_t parent = 0;
  };

  explicit TreeShape(const Pager& pager) : pager_(pager), seen_(pager.page_count(), false) {}

  Status Visit(uint32_t page_no, size_t depth, const std::string* known_last, size_t parent) {
    if (depth > kMaxIndexDepth) return Status::Corruption("index tree is deeper than any valid index");
    if (!See(page_no)) return Status::Corruption("index tree has a cycle");
    if (by_depth_.size() <= depth) by_depth_.resize(depth + 1);
    Page raw;
    JET_RETURN_IF_ERROR(pager_.ReadPage(page_no, &raw));
    if (raw[0] == static_cast<uint8_t>(PageType::kIndexLeaf)) {
      if (leaf_depth_ && *leaf_depth_ != depth) return Status::Corruption("index tree's leaves lie at different depths");
      leaf_depth_ = depth;
      std::string last = known_last ? *known_last : std::string();
      if (!known_last) {
        std::vector<std::string> entries;
        JET_RETURN_IF_ERROR(LeafEntries(pager_, page_no, &entries));
        if (!entries.empty()) last = entries.back();
      }
      by_depth_[depth].push_back({page_no, std::move(last), parent});
      return Status::OK();
    }
    IndexPage page;
    JET_RETURN_IF_ERROR(DecodeIndexPage(raw, pager_.is_jet3(), &page));
    const size_t self = by_depth_[depth].size();
    by_depth_[depth].push_back({page_no, {}, parent});
    // A page's children all lie at one depth: when they are leaves, they
    // are noted from the entries without being read.
    bool leaves = leaf_depth_ && *leaf_depth_ == depth + 1;
    if (!leaf_depth_) {
      const uint32_t first = page.entries.empty() ? page.tail_page : page.entries[0].child_page;
      Page first_raw;
      JET_RETURN_IF_ERROR(pager_.ReadPage(first, &first_raw));
      leaves = first_raw[0] == static_cast<uint8_t>(PageType::kIndexLeaf);
      if (leaves) leaf_depth_ = depth + 1;
    }
    if (leaves && by_depth_.size() <= depth + 1) by_depth_.resize(depth + 2);
    for (const IndexEntry& e : page.entries) {
      std::string last = EntryBytes(e);
      if (!leaves) {
        JET_RETURN_IF_ERROR(Visit(e.child_page, depth + 1, &last, self));
        continue;
      }
      if (!See(e.child_page)) return Status::Corruption("index tree names a page twice");
      by_depth_[depth + 1].push_back({e.child_page, std::move(last), self});
    }
    if (page.tail_page == 0) return Status::OK();
    if (leaves && known_last) {
      if (!See(page.tail_page)) return Status::Corruption("index tree names a page twice");
      by_depth_[depth + 1].push_back({page.tail_page, *known_last, self});
      return Status::OK();
    }
    return Visit(page.tail_page, depth + 1, known_last, self);
  }

  // The levels from the leaves up; a page's last is its last child's. The
  // walk's notes are handed over, not copied.
  template <typename NodeList>
  void Levels(std::vector<NodeList>* levels) {
    levels->clear();
    for (auto depth = by_depth_.rbegin(); depth != by_depth_.rend(); ++depth) {
      levels->emplace_back();
      levels->back().reserve(depth->size());
      for (Node& n : *depth) levels->back().push_back({n.page, std::move(n.last), n.parent});
      if (levels->size() == 1) continue;
      for (const auto& child : (*levels)[levels->size() - 2]) levels->back()[child.parent].last = child.last;
    }
  }

 private:
  // False for a page seen before (or past the file's end).
  bool See(uint32_t page_no) {
    if (page_no >= seen_.size() || seen_[page_no]) return false;
    seen_[page_no] = true;
    return true;
  }

  const Pager& pager_;
  std::vector<bool> seen_;
  std::vector<std::vector<Node>> by_depth_;
  std::optional<size_t> leaf_depth_;
};

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

// An index of at most this many leaves under its root has its distinct keys
// counted when first changed, which puts right a stale count another
// program left.
constexpr size_t kCountedLeaves = 64;
constexpr size_t kNoParent = SIZE_MAX;

struct IndexContents::NewNode {
  uint32_t page = 0;  // 0: a page is yet to be taken
  std::string last;
  size_t old_parent = kNoParent;  // the parent it came from
  bool changed = false;           // its page or last entry moved: its parent must be written again
  bool rewrite = false;           // its bytes are to be laid out from `entries`
  std::vector<std::string> entries;  // whole entries; on intermediate pages each ends with its child page
  bool relink = false;               // a neighbour of it was given back
};

namespace {

// Appends a node; `dropped` tells that the page before it was given back,
// so both it and the node before that need their links looked at.
void AppendNode(std::vector<IndexContents::NewNode>* level, IndexContents::NewNode node, bool* dropped) {
  if (*dropped) {
    node.relink = true;
    if (!level->empty()) level->back().relink = true;
    *dropped = false;
  }
  level->push_back(std::move(node));
}

// Whether the tree is a leaf, or one page over at most kCountedLeaves leaves.
Status IsSmallTree(const Pager& pager, uint32_t root_page, bool* small) {
  Page raw;
  JET_RETURN_IF_ERROR(pager.ReadPage(root_page, &raw));
  IndexPage root;
  JET_RETURN_IF_ERROR(DecodeIndexPage(raw, pager.is_jet3(), &root));
  *small = root.leaf;
  const size_t children = root.entries.size() + (root.tail_page ? 1 : 0);
  if (root.leaf || children == 0 || children > kCountedLeaves) return Status::OK();
  Page first;
  JET_RETURN_IF_ERROR(pager.ReadPage(root.entries.empty() ? root.tail_page : root.entries[0].child_page, &first));
  *small = first[0] == static_cast<uint8_t>(PageType::kIndexLeaf);
  return Status::OK();
}

}  // namespace

Status IndexContents::Load(const Pager& pager, uint32_t root_page, uint32_t stored_distinct) {
  pager_ = &pager;
  root_ = root_page;
  ClearPending();
  seeker_.reset();
  tree_last_.reset();
  levels_.clear();
  distinct_ = stored_distinct;
  bool small = false;
  JET_RETURN_IF_ERROR(IsSmallTree(pager, root_page, &small));
  if (!small) return Status::OK();
  JET_RETURN_IF_ERROR(LoadShape());
  KeyStarts counter(std::nullopt);
  std::vector<std::string> entries;
  for (const Node& leaf : levels_[0]) {
    JET_RETURN_IF_ERROR(LeafEntries(pager, leaf.page, &entries));
    for (const std::string& e : entries) counter.Add(e);
  }
  distinct_ = static_cast<uint32_t>(counter.Total(std::nullopt));
  return Status::OK();
}

Status IndexContents::LoadShape() {
  if (!levels_.empty()) return Status::OK();
  TreeShape shape(*pager_);
  JET_RETURN_IF_ERROR(shape.Visit(root_, 0, nullptr, 0));
  shape.Levels(&levels_);
  return Status::OK();
}

void IndexContents::Change(const std::string& key, uint32_t row_pointer, int step) {
  const std::string entry = EntryBytes(key, row_pointer);
  auto it = pending_.find(entry);
  if (it == pending_.end()) it = pending_.emplace(std::string_view(entry), 0).first;
  it->second += step;
  if (it->second == 0) pending_.erase(it);
}

void IndexContents::ClearPending() {
  pending_.clear();
  arena_->release();
}

size_t IndexContents::LeafFor(std::string_view entry) const {
  const std::vector<Node>& leaves = levels_[0];
  auto it = std::lower_bound(leaves.begin(), leaves.end(), entry,
                             [](const Node& leaf, std::string_view e) { return !leaf.last.empty() && leaf.last < e; });
  return it == leaves.end() ? leaves.size() - 1 : static_cast<size_t>(it - leaves.begin());
}

Status IndexContents::HasKey(const std::string& key, uint32_t except, bool* found) const {
  *found = false;
  for (auto it = pending_.lower_bound(key); it != pending_.end() && KeyOf(it->first) == key; ++it) {
    if (it->second > 0 && TrailingChild(it->first) != except) return (*found = true, Status::OK());
  }
  // Keys past the tree's last entry (new autonumbers, appended dates) need no look.
  std::string last;
  JET_RETURN_IF_ERROR(TreeLast(&last));
  if (last.empty() || KeyOf(last) < key) return Status::OK();
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

// The leaves with the transaction's changes merged in: a run of changed
// leaves is packed again as one, into pages filled but the last, reusing the
// run's pages in order (new ones when it grew, the rest given back when it
// shrank); an unchanged leaf stays as it is. Packing the run rather than
// each leaf keeps pages full when a commit spreads its keys over many
// leaves, instead of leaving a part-filled page behind every split.
Status IndexContents::ChangeLeaves(Pager* pager, PagePool* pool, std::vector<NewNode>* next) {
  // The old leaves are taken apart as the new ones are made: Write puts the
  // new shape in place, and a failed commit drops this index state whole.
  std::vector<Node>& leaves = levels_[0];
  next->reserve(leaves.size() + 2);
  const size_t capacity = pager->page_size() - kIndexEntryStart;
  std::map<size_t, std::vector<EntryChange>> changes;
  for (const auto& [entry, step] : pending_) changes[LeafFor(entry)].push_back({entry, step});
  const bool has_parents = levels_.size() > 1;
  int64_t distinct_change = 0;
  bool dropped = false;
  for (size_t i = 0; i < leaves.size(); ++i) {
    const size_t parent = has_parents ? leaves[i].parent : kNoParent;
    if (!changes.count(i)) {
      AppendNode(next, {leaves[i].page, std::move(leaves[i].last), parent, false, false, {}}, &dropped);
      continue;
    }
    // The leaf before the run is unchanged: the last node made so far.
    const size_t first = i;
    size_t end = first;
    while (end < leaves.size() && changes.count(end)) ++end;
    const std::string previous_last = first > 0 ? (*next)[next->size() - 1].last : std::string();
    std::optional<std::string_view> before;
    if (first > 0) before = KeyOf(previous_last);
    KeyStarts old_starts(before), new_starts(before);
    // The run's pages are made as its entries come, one leaf read at a time.
    PagePacker packer(RunCapacity(capacity, end - first), true);
    size_t made = 0;
    auto place = [&](std::vector<std::string> load) {
      const Node& source = leaves[first + std::min(made, end - first - 1)];
      const bool reused = first + made < end;
      const bool same = reused && load.back() == source.last;
      std::string last = load.back();
      AppendNode(next, {reused ? source.page : 0, std::move(last), has_parents ? source.parent : kNoParent, !same,
                        true, std::move(load)}, &dropped);
      ++made;
    };
    std::vector<std::string> old_entries, new_entries;
    for (; i < end; ++i) {
      JET_RETURN_IF_ERROR(LeafEntries(*pager, leaves[i].page, &old_entries));
      new_entries.clear();
      MergeChanges(old_entries, changes[i], &new_entries);
      for (const std::string& e : old_entries) old_starts.Add(e);
      for (std::string& e : new_entries) {
        new_starts.Add(e);
        if (auto full = packer.Add(std::move(e))) place(std::move(*full));
      }
    }
    if (std::vector<std::string> rest = packer.Finish(); !rest.empty()) place(std::move(rest));
    // The run counted against the unchanged leaves on either side.
    std::optional<std::string_view> after;
    std::vector<std::string> following;
    if (i < leaves.size()) {
      JET_RETURN_IF_ERROR(LeafEntries(*pager, leaves[i].page, &following));
      if (!following.empty()) after = KeyOf(following.front());
    }
    distinct_change += new_starts.Total(after) - old_starts.Total(after);
    for (size_t k = first + made; k < end; ++k) {
      if (leaves[k].page != root_) pool->Give(leaves[k].page);  // the definition names the root
      dropped = true;
    }
    --i;  // the loop's step moves on to the unchanged leaf after the run
  }
  distinct_ = static_cast<uint32_t>(std::max<int64_t>(0, int64_t{distinct_} + distinct_change));
  if (next->empty()) next->push_back({root_, {}, kNoParent, true, true, {}});
  return Status::OK();
}

// The level above `children`: each parent keeps the children it had (new
// ones join the parent of the page they split from) and is laid out again
// only when one of them moved. A run of such parents is packed again as
// one, reusing its pages in order; those left over are given back. Above
// the old root, one new parent takes every child.
Status IndexContents::ChangeParents(Pager* pager, size_t height, const std::vector<NewNode>& children,
                                    PagePool* pool, std::vector<NewNode>* parents, std::vector<size_t>* child_parent) {
  child_parent->assign(children.size(), 0);
  const size_t capacity = pager->page_size() - kIndexEntryStart;
  const bool existing = height < levels_.size();
  const bool above = existing && height + 1 < levels_.size();
  const std::vector<Node> none;
  const std::vector<Node>& old = existing ? levels_[height] : none;
  std::vector<size_t> old_children(std::max<size_t>(old.size(), 1), 0);
  if (existing)
    for (const Node& child : levels_[height - 1]) ++old_children[child.parent];
  // Where each old parent's children begin among `children`.
  const size_t count = std::max<size_t>(old.size(), 1);
  std::vector<size_t> begins(count + 1, children.size());
  size_t at = 0;
  for (size_t p = 0; p < count; ++p) {
    begins[p] = at;
    while (at < children.size() && (!existing || children[at].old_parent == p)) ++at;
  }
  if (at != children.size()) return Status::Corruption("index pages are not in their parents' order");
  auto moved = [&](size_t p) {
    bool m = !existing || begins[p + 1] - begins[p] != old_children[p] || begins[p + 1] == begins[p];
    for (size_t c = begins[p]; c < begins[p + 1]; ++c) m = m || children[c].changed;
    return m;
  };
  bool dropped = false;
  for (size_t p = 0; p < count; ++p) {
    const size_t grandparent = above ? old[p].parent : kNoParent;
    if (!moved(p)) {
      for (size_t c = begins[p]; c < begins[p + 1]; ++c) (*child_parent)[c] = parents->size();
      AppendNode(parents, {old[p].page, children[begins[p + 1] - 1].last, grandparent, false, false, {}}, &dropped);
      continue;
    }
    const size_t first = p;
    while (p + 1 < count && moved(p + 1)) ++p;
    std::vector<std::string> entries;
    for (size_t c = begins[first]; c < begins[p + 1]; ++c) entries.push_back(ChildEntry(children[c].last, children[c].page));
    std::vector<std::vector<std::string>> loads;
    if (!entries.empty()) loads = Pack(std::move(entries), RunCapacity(capacity, p + 1 - first), false);
    size_t child = begins[first];
    for (size_t k = 0; k < loads.size(); ++k) {
      const size_t source = first + std::min(k, p - first);
      const bool reused = existing && first + k <= p;
      for (size_t n = 0; n < loads[k].size(); ++n) (*child_parent)[child++] = parents->size();
      std::string last = loads[k].back().substr(0, loads[k].back().size() - 4);
      AppendNode(parents, {reused ? old[source].page : 0, std::move(last), above ? old[source].parent : kNoParent, true,
                           true, std::move(loads[k])}, &dropped);
    }
    for (size_t k = first + loads.size(); existing && k <= p; ++k) {
      if (old[k].page != root_) pool->Give(old[k].page);
      dropped = true;
    }
  }
  return Status::OK();
}

// The one page left at the top goes onto the root page, which the table's
// definition names.
Status IndexContents::MoveToRoot(Pager* pager, uint32_t root_page, NewNode* node, PagePool* pool) {
  if (!node->rewrite) {
    Page old;
    JET_RETURN_IF_ERROR(pager->ReadPage(node->page, &old));
    const std::vector<uint8_t> bytes(old.begin(), old.end());
    uint8_t* root = nullptr;
    JET_RETURN_IF_ERROR(pager->MutablePage(root_page, &root));
    std::memcpy(root, bytes.data(), bytes.size());
    Put32(root + kPrevOffset, 0);
    Put32(root + kNextOffset, 0);
  }
  if (node->page != 0) pool->Give(node->page);
  node->page = root_page;
  node->changed = true;
  return Status::OK();
}

// Gives each page of a level its page number and writes the laid-out ones;
// the others only have their links to their neighbours put right.
Status IndexContents::PlaceLevel(Pager* pager, uint32_t owner_page, uint32_t root_page, size_t height,
                                 std::vector<NewNode>* nodes, PagePool* pool) {
  for (NewNode& n : *nodes) {
    if (nodes->size() > 1 && n.page == root_page) n.page = 0;  // the root moves up
    if (n.page == 0) {
      JET_RETURN_IF_ERROR(pool->Take(&n.page));
      n.changed = true;
      if (!n.rewrite) return Status::Corruption("an index page lost its place");
    }
  }
  for (size_t i = 0; i < nodes->size(); ++i) {
    NewNode& n = (*nodes)[i];
    const uint32_t prev = i > 0 ? (*nodes)[i - 1].page : 0;
    const uint32_t next = i + 1 < nodes->size() ? (*nodes)[i + 1].page : 0;
    if (n.rewrite) {
      TreePage tp;
      tp.entries = std::move(n.entries);
      if (height > 0) {  // the last child is the page's tail, named by no entry
        tp.tail = TrailingChild(tp.entries.back());
        tp.entries.pop_back();
      }
      tp.number = n.page;
      tp.prev = prev;
      tp.next = next;
      JET_RETURN_IF_ERROR(PutPage(pager, owner_page, tp, static_cast<int>(height)));
      continue;
    }
    // Links move only beside pages that moved or were given back.
    const bool beside_change = n.changed || n.relink || (i > 0 && (*nodes)[i - 1].changed) ||
                               (i + 1 < nodes->size() && (*nodes)[i + 1].changed);
    if (!beside_change) continue;
    Page current;
    JET_RETURN_IF_ERROR(pager->ReadPage(n.page, &current));
    if (Get32(current.data() + kPrevOffset) == prev && Get32(current.data() + kNextOffset) == next) continue;
    uint8_t* page = nullptr;
    JET_RETURN_IF_ERROR(pager->MutablePage(n.page, &page));
    Put32(page + kPrevOffset, prev);
    Put32(page + kNextOffset, next);
  }
  return Status::OK();
}

Status IndexContents::Write(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer) {
  if (pending_.empty()) return Status::OK();
  bool done = false;
  JET_RETURN_IF_ERROR(WriteInPlace(pager, owner_page, &done));
  if (!done) JET_RETURN_IF_ERROR(WriteByShape(pager, owner_page, root_page, map_pointer));
  // What was read of the tree for the changes is stale once they are in it.
  ClearPending();
  seeker_.reset();
  tree_last_.reset();
  return Status::OK();
}

Status IndexContents::WriteByShape(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer) {
  JET_RETURN_IF_ERROR(LoadShape());
  PagePool pool(pager);
  std::vector<NewNode> level;
  JET_RETURN_IF_ERROR(ChangeLeaves(pager, &pool, &level));
  std::vector<std::vector<Node>> shape;
  for (size_t height = 0;; ++height) {
    if (level.size() == 1 && level[0].page != root_page) JET_RETURN_IF_ERROR(MoveToRoot(pager, root_page, &level[0], &pool));
    JET_RETURN_IF_ERROR(PlaceLevel(pager, owner_page, root_page, height, &level, &pool));
    shape.emplace_back();
    shape.back().reserve(level.size());
    if (level.size() == 1) {
      shape.back().push_back({level[0].page, std::move(level[0].last), 0});
      for (size_t above = height + 1; above < levels_.size(); ++above)
        for (const Node& n : levels_[above])
          if (n.page != root_page) pool.Give(n.page);
      break;
    }
    std::vector<NewNode> parents;
    std::vector<size_t> child_parent;
    JET_RETURN_IF_ERROR(ChangeParents(pager, height + 1, level, &pool, &parents, &child_parent));
    for (size_t c = 0; c < level.size(); ++c) shape.back().push_back({level[c].page, std::move(level[c].last), child_parent[c]});
    level = std::move(parents);
  }
  levels_ = std::move(shape);

  auto grow = [pager](uint32_t* p) { return AllocatePage(pager, p); };
  for (uint32_t page : pool.spare()) {
    JET_RETURN_IF_ERROR(FreePage(pager, page));
    if (map_pointer) JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, false, MapKind::kOwned, grow));
  }
  if (map_pointer) {
    for (uint32_t page : pool.fresh())
      JET_RETURN_IF_ERROR(SetMapBit(pager, map_pointer, page, true, MapKind::kOwned, grow));
  }
  return Status::OK();
}

}  // namespace jet
