// Keeping an index in step: a transaction's entry changes are held in
// memory, and at commit each leaf they fall into is read, changed and
// written back. A leaf that overflows splits into as many pages as it needs
// (the left ones full and the rest moving on, as Access does for ascending
// keys), an emptied leaf is given back, and when leaves came or went or
// their last entries moved the few intermediate pages are laid out again
// above them, the root staying on its page. Nothing else of the tree is
// read or written, so a commit costs what it changes, not the index's size.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "storage/index_seek.h"
#include "storage/pager.h"

namespace jet {

class PagePool;

class IndexContents {
 public:
  // Reads where the tree's leaves are (their pages and last entries, from
  // the pages above them); no entry is loaded. `stored_distinct` is the
  // distinct count the definition holds, kept in step from here on (a small
  // index is counted afresh).
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
  // The position among the leaves of the leaf an entry belongs in.
  size_t LeafFor(const std::string& entry) const;
  Status ChangeLeaves(Pager* pager, PagePool* pool, std::vector<NewNode>* leaves);
  Status ChangeParents(Pager* pager, size_t height, const std::vector<NewNode>& children, PagePool* pool,
                       std::vector<NewNode>* parents, std::vector<size_t>* child_parent);
  Status PlaceLevel(Pager* pager, uint32_t owner_page, uint32_t root_page, size_t height, std::vector<NewNode>* nodes,
                    PagePool* pool);
  Status MoveToRoot(Pager* pager, uint32_t root_page, NewNode* node, PagePool* pool);

  const Pager* pager_ = nullptr;
  uint32_t root_ = 0;
  std::map<std::string, int> pending_;  // whole entry bytes: +1 inserted, -1 removed
  std::vector<std::vector<Node>> levels_;  // in key order: the leaves first, the root alone last
  uint32_t distinct_ = 0;
  mutable std::unique_ptr<IndexSeeker> seeker_;  // for HasKey; its kept pages last until Write
};

}  // namespace jet
