// Reading a key range of an index tree: the walk goes down only into the
// pages whose keys can lie in the range and stops at the first entry past
// it, so a narrow range costs a few pages however large the table is.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/table_cursor.h"
#include "storage/index_page.h"

namespace jet {

// One end of a key range. A bound compares with an entry's key over the
// bound's own length, so the key bytes of an index's leading columns bound
// every entry that starts with them.
struct KeyBound {
  bool present = false;
  std::string key;
  bool inclusive = true;
};

class IndexSeeker {
 public:
  IndexSeeker(const Pager& pager, uint32_t root_page) : pager_(pager), root_(root_page) {}

  // The rows whose keys lie between `low` and `high`, in index order.
  // Corruption on a malformed page or a cycle in the tree.
  Status Find(const KeyBound& low, const KeyBound& high, std::vector<RowId>* rows);

 private:
  enum class Walk { kGoOn, kPastHigh };
  Status Visit(uint32_t page_number, int depth, Walk* walk);
  // Intermediate pages are decoded once and kept: every seek passes them.
  Status InnerPage(uint32_t page_number, const IndexPage** page);

  const Pager& pager_;
  uint32_t root_;
  std::unordered_map<uint32_t, IndexPage> inner_pages_;
  // The seek under way.
  const KeyBound* low_ = nullptr;
  const KeyBound* high_ = nullptr;
  std::vector<RowId>* rows_ = nullptr;
  uint32_t pages_seen_ = 0;
};

}  // namespace jet
