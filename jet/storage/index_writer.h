// Keeping an index in step: its entries are held in memory while a
// transaction changes the table, and at commit the tree is written again.
// Each leaf keeps the key range it had, so a commit rewrites only the leaves
// whose entries changed; a leaf that overflows splits into as many pages as
// it needs (a leaf at the right edge stays full and the rest moves on, as
// Access does for ascending keys), an emptied leaf is given back, and the
// intermediate levels are laid out again above the leaves with the root
// staying on its page. Pages whose bytes come out the same are not touched.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "storage/pager.h"

namespace jet {

struct IndexRowEntry {
  std::string key;
  uint32_t row_pointer = 0;  // data page << 8 | row
  bool operator<(const IndexRowEntry& o) const {
    return key != o.key ? key < o.key : row_pointer < o.row_pointer;
  }
};

class IndexContents {
 public:
  Status Load(const Pager& pager, uint32_t root_page);
  // Writes the tree rooted at `root_page` of the table whose definition is on
  // `owner_page` to hold exactly entries(); the pages it uses are marked in
  // the index's usage map at `map_pointer` (when not 0).
  Status Write(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer);

  void Insert(const std::string& key, uint32_t row_pointer) { entries_.insert({key, row_pointer}); }
  void Remove(const std::string& key, uint32_t row_pointer) { entries_.erase({key, row_pointer}); }
  // Whether some row other than `except` has this key.
  bool HasKey(const std::string& key, uint32_t except) const;
  uint32_t DistinctKeys() const;
  const std::set<IndexRowEntry>& entries() const { return entries_; }

 private:
  struct Leaf {
    uint32_t page = 0;
    std::string last;  // its greatest entry (key and row pointer); empty for an empty leaf
  };

  std::set<IndexRowEntry> entries_;
  std::vector<Leaf> leaves_;           // in key order, as the file has them
  std::vector<uint32_t> inner_pages_;  // intermediate pages other than the root
};

}  // namespace jet
