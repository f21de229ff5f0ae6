// The data pages of a table with the longest new row each can take: where
// inserts look for room before the file grows. Pages are found by the room
// they have, so a table of many full pages is not walked page by page each
// time the page being filled runs out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <utility>

namespace jet {

class PageRoom {
 public:
  void Set(uint32_t page, size_t longest) {
    auto [it, added] = by_page_.emplace(page, longest);
    if (!added) {
      by_room_.erase({it->second, page});
      it->second = longest;
    }
    by_room_.insert({longest, page});
  }

  // A page that takes a row of `length` bytes (the one with the least room
  // that does), or 0.
  uint32_t Find(size_t length) const {
    auto it = by_room_.lower_bound({length, 0});
    return it == by_room_.end() ? 0 : it->second;
  }

  bool empty() const { return by_page_.empty(); }
  uint32_t last_page() const { return by_page_.empty() ? 0 : by_page_.rbegin()->first; }

 private:
  std::map<uint32_t, size_t> by_page_;
  std::set<std::pair<size_t, uint32_t>> by_room_;
};

}  // namespace jet
