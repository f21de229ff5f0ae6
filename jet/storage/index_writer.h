// Keeping an index in step: its entries are held in memory while a
// transaction changes the table, and at commit the tree is written anew —
// leaves packed with prefix compression, intermediate levels above them,
// the root staying on its page — reusing the tree's pages before taking
// new ones and giving back those no longer needed.
#pragma once

#include <cstdint>
#include <set>
#include <string>

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

  void Insert(const std::string& key, uint32_t row_pointer) { entries_.insert({key, row_pointer}); }
  void Remove(const std::string& key, uint32_t row_pointer) { entries_.erase({key, row_pointer}); }
  // Whether some row other than `except` has this key.
  bool HasKey(const std::string& key, uint32_t except) const;
  uint32_t DistinctKeys() const;
  const std::set<IndexRowEntry>& entries() const { return entries_; }

 private:
  std::set<IndexRowEntry> entries_;
};

// Writes the tree rooted at `root_page` of the table whose definition is on
// `owner_page` to hold exactly `entries`; the pages it uses are marked in the
// index's usage map at `map_pointer` (when not 0).
Status WriteIndexTree(Pager* pager, uint32_t owner_page, uint32_t root_page, uint32_t map_pointer,
                      const std::set<IndexRowEntry>& entries);

}  // namespace jet
