// Index pages: the B-tree pages of a physical index. Leaf pages (type 0x04)
// hold one entry per row; intermediate pages (0x03) one entry per child page,
// carrying the child's last key. Entries are stored back to back, their ends
// marked in a bitmask, and all but a page's first entry omit the bytes they
// share with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jet/status.h"
#include "storage/pager.h"

namespace jet {

// Far beyond any real tree's height: a walk that goes deeper has met a cycle.
constexpr int kMaxIndexDepth = 32;

struct IndexEntry {
  std::string key;         // the entry's key bytes (flag bytes and codes)
  uint32_t data_page = 0;  // the row: data page and row number on it
  uint8_t data_row = 0;
  uint32_t child_page = 0;  // intermediate pages: the page below
};

struct IndexPage {
  bool leaf = true;
  uint32_t prev_page = 0;  // siblings on the same level, 0 when none
  uint32_t next_page = 0;
  uint32_t tail_page = 0;  // intermediate pages: a last child beyond the entries
  std::vector<IndexEntry> entries;
};

// Decodes one index page. Corruption for a page that is not an index page or
// whose entries do not fit.
Status DecodeIndexPage(Page page, bool jet3, IndexPage* out);

// Every leaf entry of the index whose root is `root_page`, in index order.
// Corruption on a malformed page or a cycle in the tree.
Status ReadIndexEntries(const Pager& pager, uint32_t root_page, std::vector<IndexEntry>* entries);

}  // namespace jet
