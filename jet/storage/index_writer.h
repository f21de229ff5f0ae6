// Keeping an index in step: a transaction's entry changes are held in
// memory, and at commit each leaf they fall into is read, changed and
// written back. A commit whose changes one leaf takes as it stands goes down
// to that leaf from the root and writes it, with the entries above that
// carry its last entry when that moved. Otherwise the tree's shape (where
// its leaves are, from the pages above them) is read once and kept: a leaf
// that overflows splits into as many pages as it needs (the left ones full
// and the rest moving on, as Access does for ascending keys), an emptied
// leaf is given back, and when leaves came or went or their last entries
// moved the few intermediate pages are laid out again above them, the root
// staying on its page. No entry outside the changed leaves is read or
// written, so a commit costs what it changes, not the index's size.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "storage/index_seek.h"
#include "storage/pager.h"

namespace jet {

class PagePool;

class IndexContents {
 public:
  // Takes the tree rooted at `root_page`; no entry is loaded, and the shape
  // of a large tree only when a commit first needs it. `stored_distinct` is
  // the distinct count the definition holds, kept in step from here on (a
  // small index is counted afresh).
  Status Load(const Pager& pager, uint32_t root_page, uint32_t stored_distinct);
  // Writes the transaction's changes into the tree rooted at `root_page` of
  // the table whose definition is on `owner_page`: only the leaves they fall
  // into, their neighbours' links, and the pages above when the leaves'
  // pages or last entries moved. New and freed pages are marked in the
  // index's usage map at `map_pointer` (when not 0).
  Status Write(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer);

  void Insert(const std::string& key, uint32_t row_pointer) { Change(key, row_pointer, +1); }
  void Remove(const std::string& key, uint32_t row_pointer) { Change(key, row_pointer, -1); }
  // Whether some row other than `except` has this key, the transaction's
  // changes counted.
  Status HasKey(const std::string& key, uint32_t except, bool* found) const;
  uint32_t DistinctKeys() const { return distinct_; }

  // A page of the tree as its parent sees it.
  struct Node {
    uint32_t page = 0;
    std::string last;   // the greatest entry below it (key and row pointer); empty for an empty root leaf
    size_t parent = 0;  // its parent's position one level up
  };
  struct NewNode;  // a page of the tree being written

 private:
  void Change(const std::string& key, uint32_t row_pointer, int step);
  // Writes the changes through the tree's shape: any number of leaves,
  // split, emptied and given back, and the pages above laid out again.
  Status WriteByShape(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer);
  // Reads where the tree's leaves are, when not known yet.
  Status LoadShape();
  // Writes the changes when they all fall into one leaf that takes them
  // without splitting or emptying; `done` false (nothing written) otherwise.
  Status WriteInPlace(Pager* pager, uint32_t owner_page, bool* done);
  // The tree's last entry as the file holds it (empty for an empty tree).
  Status TreeLast(std::string* last) const;
  // Keeps the known shape in step with a leaf's new last entry.
  void NoteLeafLast(uint32_t leaf_page, std::string_view entry_in_it, const std::string& last);
  // Drops the transaction's changes.
  void ClearPending();
  // The position among the leaves of the leaf an entry belongs in.
  size_t LeafFor(std::string_view entry) const;
  Status ChangeLeaves(Pager* pager, PagePool* pool, std::vector<NewNode>* leaves);
  Status ChangeParents(Pager* pager, size_t height, const std::vector<NewNode>& children, PagePool* pool,
                       std::vector<NewNode>* parents, std::vector<size_t>* child_parent);
  Status PlaceLevel(Pager* pager, uint32_t owner_page, uint32_t root_page, size_t height, std::vector<NewNode>* nodes,
                    PagePool* pool);
  Status MoveToRoot(Pager* pager, uint32_t root_page, NewNode* node, PagePool* pool);

  const Pager* pager_ = nullptr;
  uint32_t root_ = 0;
  struct EntryOrder {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const { return a < b; }
  };
  // A large transaction's entries are many small strings that all go at
  // commit: they are kept in one arena, released whole.
  std::unique_ptr<std::pmr::monotonic_buffer_resource> arena_ = std::make_unique<std::pmr::monotonic_buffer_resource>();
  std::pmr::map<std::pmr::string, int, EntryOrder> pending_{arena_.get()};  // whole entry bytes: +1 inserted, -1 removed
  std::vector<std::vector<Node>> levels_;  // in key order: the leaves first, the root alone last; empty till read
  uint32_t distinct_ = 0;
  mutable std::unique_ptr<IndexSeeker> seeker_;  // for HasKey; its kept pages last until Write
  mutable std::optional<std::string> tree_last_;  // TreeLast when the shape is not read; till Write
};

}  // namespace jet
