// What an index tree is written from. The writer handles an entry as one
// byte string: the key, the row pointer big-endian (data page and row), and
// on intermediate pages the child page, big-endian too; byte order is then
// index order. A page is laid out from such entries.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jet/status.h"
#include "storage/index_page.h"
#include "storage/pager.h"

namespace jet {

// Where a Jet 4 index page's entries begin; the page's room for entries is
// the rest of it.
constexpr size_t kIndexEntryStart = 0x1E0;

std::string EntryBytes(const std::string& key, uint32_t row_pointer);
std::string EntryBytes(const IndexEntry& e);
// An intermediate page's entry for a child: the child's last entry, then its page.
std::string ChildEntry(const std::string& last, uint32_t child_page);
// The page an intermediate entry names (its last four bytes).
uint32_t TrailingChild(std::string_view entry);
// An entry's key: its bytes without the row pointer.
std::string_view KeyOf(std::string_view entry);

// The entries of leaf page `page_no`. Corruption when it is not a leaf.
Status LeafEntries(const Pager& pager, uint32_t page_no, std::vector<std::string>* entries);

// A change to one entry: +1 inserted, -1 removed.
using EntryChange = std::pair<std::string_view, int>;
// Appends to `out` the entries of `old` (in order) with `changes` (in order)
// made to them.
void MergeChanges(const std::vector<std::string>& old, const std::vector<EntryChange>& changes,
                  std::vector<std::string>* out);

// Counts the entries of a run that begin a key different from the entry
// before them (the one before the run has key `before`), plus the entry
// after the run when it does: the run's share of the distinct count. The
// entries are given one by one, so a long run need not be held to be counted.
class KeyStarts {
 public:
  explicit KeyStarts(std::optional<std::string_view> before);
  void Add(const std::string& entry);
  int64_t Total(std::optional<std::string_view> after) const;

 private:
  std::optional<std::string> previous_;
  int64_t starts_ = 0;
};

// One page of a tree being written. `entries` are whole entries; on an
// intermediate page the last child is the page's tail, named by no entry.
struct TreePage {
  std::vector<std::string> entries;
  uint32_t tail = 0;
  uint32_t number = 0;
  uint32_t prev = 0, next = 0;
};

// Splits entries into page loads as they come: as many as fit `capacity`
// bytes each once the bytes every entry shares with the page's first are
// left out (leaves only; Access writes intermediate pages uncompressed).
// Only the page being filled is held.
class PagePacker {
 public:
  PagePacker(size_t capacity, bool compress) : capacity_(capacity), compress_(compress) {}
  // Adds the next entry; when it does not fit, the page before it is full
  // and is handed back.
  std::optional<std::vector<std::string>> Add(std::string entry);
  // The last page's entries (none when nothing was added).
  std::vector<std::string> Finish() { return std::move(page_); }

 private:
  size_t capacity_;
  bool compress_;
  std::vector<std::string> page_;
  size_t sum_ = 0;     // the page's entry bytes, uncompressed
  size_t prefix_ = 0;  // the bytes all its entries share with its first
};

// All of `entries` packed so.
std::vector<std::vector<std::string>> Pack(std::vector<std::string> entries, size_t capacity, bool compress);

// The bytes `entries` take on a page, compressed as Pack does.
size_t TreePageBytes(const std::vector<std::string>& entries, bool compress);

// Lays `tp` out as a page of the table whose definition is on `owner`, at
// `level` above the leaves. Corruption when its entries do not fit.
Status BuildTreePage(uint8_t* page, size_t page_size, uint32_t owner, const TreePage& tp, int level);
// Puts a laid-out page in place of page `number`, writing only when its
// bytes change.
Status StoreTreePage(Pager* pager, uint32_t number, const std::vector<uint8_t>& image);

}  // namespace jet
