// The common commit, a row or a few, changes one leaf of each index: it is
// found by going down from the root, and when it takes the changes as it
// stands only it is written, with the entries above it that carry its last
// entry when that moved. A handful of pages are read and written however
// large the index is, and the tree's shape is never read.
#include <algorithm>
#include <optional>
#include <string_view>

#include "storage/index_tree_page.h"
#include "storage/index_writer.h"

namespace jet {
namespace {

// A page on the way down, with the child taken from it (its entry count for
// the tail).
struct PathStep {
  uint32_t page = 0;
  IndexPage node;
  size_t child = 0;
};

// A laid-out page waiting to be written.
struct PageImage {
  uint32_t page = 0;
  std::vector<uint8_t> bytes;
};

// The child an entry belongs under: the first whose last entry is not
// before it; past them all, the tail, or the last child when there is none.
size_t ChildFor(const IndexPage& page, std::string_view entry) {
  size_t low = 0, high = page.entries.size();
  while (low < high) {
    const size_t mid = (low + high) / 2;
    if (EntryBytes(page.entries[mid]) < entry) low = mid + 1; else high = mid;
  }
  if (low < page.entries.size() || page.tail_page) return low;
  return page.entries.size() - 1;
}

// The pages from the root down to a leaf, each step taking the child
// `pick` names (its entry count for the tail).
template <typename Pick>
Status Descend(const Pager& pager, uint32_t root, Pick pick, std::vector<PathStep>* path) {
  path->clear();
  uint32_t page_no = root;
  for (int depth = 0; depth <= kMaxIndexDepth; ++depth) {
    PathStep step;
    step.page = page_no;
    Page raw;
    JET_RETURN_IF_ERROR(pager.ReadPage(page_no, &raw));
    JET_RETURN_IF_ERROR(DecodeIndexPage(raw, pager.is_jet3(), &step.node));
    if (step.node.leaf) {
      path->push_back(std::move(step));
      return Status::OK();
    }
    if (step.node.entries.empty() && !step.node.tail_page) {
      return Status::Corruption("index page " + std::to_string(page_no) + " has no pages below it");
    }
    step.child = pick(step.node);
    page_no = step.child < step.node.entries.size() ? step.node.entries[step.child].child_page : step.node.tail_page;
    path->push_back(std::move(step));
  }
  return Status::Corruption("index tree is deeper than any valid index");
}

// The pages from the root down to the leaf `entry` belongs in.
Status PathTo(const Pager& pager, uint32_t root, std::string_view entry, std::vector<PathStep>* path) {
  return Descend(pager, root, [entry](const IndexPage& page) { return ChildFor(page, entry); }, path);
}

// The last entry of the tree, down its right edge; empty for an empty tree.
Status LastEntry(const Pager& pager, uint32_t root, std::string* last) {
  std::vector<PathStep> path;
  auto rightmost = [](const IndexPage& page) { return page.tail_page ? page.entries.size() : page.entries.size() - 1; };
  JET_RETURN_IF_ERROR(Descend(pager, root, rightmost, &path));
  const std::vector<IndexEntry>& entries = path.back().node.entries;
  *last = entries.empty() ? std::string() : EntryBytes(entries.back());
  return Status::OK();
}

// Lays a page out when its entries fit it; false when they do not.
bool LayOut(const Pager& pager, uint32_t owner, const TreePage& tp, int level, std::vector<PageImage>* images) {
  if (TreePageBytes(tp.entries, level == 0) > pager.page_size() - kIndexEntryStart) return false;
  PageImage image{tp.number, std::vector<uint8_t>(pager.page_size())};
  if (!BuildTreePage(image.bytes.data(), image.bytes.size(), owner, tp, level).ok()) return false;
  images->push_back(std::move(image));
  return true;
}

// The pages above the leaf whose entries carry its new last entry: going up
// while the page changed is its parent's last child, whose last entry is
// the parent's own. False when one no longer fits its page.
bool LayOutParents(const Pager& pager, uint32_t owner, const std::vector<PathStep>& path, const std::string& last,
                   std::vector<PageImage>* images) {
  for (size_t d = path.size() - 1; d-- > 0;) {
    const PathStep& step = path[d];
    const size_t count = step.node.entries.size();
    const bool named = step.child < count;
    if (named) {
      TreePage tp{{}, step.node.tail_page, step.page, step.node.prev_page, step.node.next_page};
      for (size_t i = 0; i < count; ++i) {
        const IndexEntry& e = step.node.entries[i];
        tp.entries.push_back(ChildEntry(i == step.child ? last : EntryBytes(e), e.child_page));
      }
      if (!LayOut(pager, owner, tp, static_cast<int>(path.size() - 1 - d), images)) return false;
    }
    const bool last_child = !named || (!step.node.tail_page && step.child + 1 == count);
    if (!last_child) break;
  }
  return true;
}

// How the distinct count moves when a leaf's entries `old` become `now`.
// Only the keys at the leaf's ends meet its neighbours' keys, so a
// neighbour is read only when the key at its end changed.
Status DistinctChange(const Pager& pager, const IndexPage& leaf, const std::vector<std::string>& old,
                      const std::vector<std::string>& now, int64_t* change) {
  std::vector<std::string> before_leaf, after_leaf;
  std::optional<std::string_view> before, after;
  if (leaf.prev_page && (old.empty() || KeyOf(old.front()) != KeyOf(now.front()))) {
    JET_RETURN_IF_ERROR(LeafEntries(pager, leaf.prev_page, &before_leaf));
    if (!before_leaf.empty()) before = KeyOf(before_leaf.back());
  }
  if (leaf.next_page && (old.empty() || KeyOf(old.back()) != KeyOf(now.back()))) {
    JET_RETURN_IF_ERROR(LeafEntries(pager, leaf.next_page, &after_leaf));
    if (!after_leaf.empty()) after = KeyOf(after_leaf.front());
  }
  KeyStarts old_starts(before), new_starts(before);
  for (const std::string& e : old) old_starts.Add(e);
  for (const std::string& e : now) new_starts.Add(e);
  *change = new_starts.Total(after) - old_starts.Total(after);
  return Status::OK();
}

}  // namespace

Status IndexContents::WriteInPlace(Pager* pager, uint32_t owner_page, bool* done) {
  *done = false;
  // A commit of more changes than a leaf has bytes for entries is a bulk
  // load's: it goes by the shape, without first merging it all into a leaf.
  if (pending_.size() > pager->page_size() - kIndexEntryStart) return Status::OK();
  std::vector<PathStep> path, end_path;
  JET_RETURN_IF_ERROR(PathTo(*pager, root_, pending_.begin()->first, &path));
  JET_RETURN_IF_ERROR(PathTo(*pager, root_, pending_.rbegin()->first, &end_path));
  if (end_path.back().page != path.back().page) return Status::OK();
  const PathStep& leaf = path.back();
  std::vector<std::string> old_entries, entries;
  for (const IndexEntry& e : leaf.node.entries) old_entries.push_back(EntryBytes(e));
  std::vector<EntryChange> changes;
  for (const auto& [entry, step] : pending_) changes.push_back({entry, step});
  MergeChanges(old_entries, changes, &entries);
  if (entries.empty()) return Status::OK();  // an emptied leaf is given back
  std::vector<PageImage> images;
  if (!LayOut(*pager, owner_page, {entries, 0, leaf.page, leaf.node.prev_page, leaf.node.next_page}, 0, &images)) {
    return Status::OK();  // it splits
  }
  const bool last_moved = old_entries.empty() || old_entries.back() != entries.back();
  if (last_moved && !LayOutParents(*pager, owner_page, path, entries.back(), &images)) return Status::OK();
  int64_t distinct_change = 0;
  JET_RETURN_IF_ERROR(DistinctChange(*pager, leaf.node, old_entries, entries, &distinct_change));
  for (const PageImage& image : images) JET_RETURN_IF_ERROR(StoreTreePage(pager, image.page, image.bytes));
  distinct_ = static_cast<uint32_t>(std::max<int64_t>(0, int64_t{distinct_} + distinct_change));
  if (last_moved) NoteLeafLast(leaf.page, pending_.begin()->first, entries.back());
  *done = true;
  return Status::OK();
}

Status IndexContents::TreeLast(std::string* last) const {
  if (!levels_.empty()) {
    *last = levels_[0].back().last;
    return Status::OK();
  }
  if (!tree_last_) {
    std::string found;
    JET_RETURN_IF_ERROR(LastEntry(*pager_, root_, &found));
    tree_last_ = std::move(found);
  }
  *last = *tree_last_;
  return Status::OK();
}

void IndexContents::NoteLeafLast(uint32_t leaf_page, std::string_view entry_in_it, const std::string& last) {
  if (levels_.empty()) return;
  size_t i = LeafFor(entry_in_it);
  if (levels_[0][i].page != leaf_page) {  // not the shape the tree has: read it again when needed
    levels_.clear();
    return;
  }
  for (size_t height = 0; height < levels_.size(); ++height) {
    std::vector<Node>& level = levels_[height];
    level[i].last = last;
    const bool last_child = i + 1 == level.size() || level[i + 1].parent != level[i].parent;
    if (height + 1 == levels_.size() || !last_child) break;
    i = level[i].parent;
  }
}

}  // namespace jet
