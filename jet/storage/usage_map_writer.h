// Changing usage maps: a table's or index's owned pages, a table's pages
// with free space, and the file's free pages (page 1). Inline maps keep
// their length, as Access keeps them: an owned map that must reach a page
// outside its window becomes a page-referenced map; a free-space map slides
// its 512-page window instead, since it only needs to know about the pages
// being filled now.
#pragma once

#include <cstdint>
#include <functional>

#include "storage/pager.h"

namespace jet {

// kFreeSpace marks the page being filled: its map may slide and forget the
// others. kFreedRoom marks room a delete released: that must outlast the
// session, so the map grows into a page-referenced one rather than slide.
enum class MapKind { kOwned, kFreeSpace, kFreedRoom };

// Sets or clears the bit of `page` in the map stored at row pointer `map_pointer`.
// New bitmap pages of a reference map come from `allocate`.
Status SetMapBit(Pager* pager, uint32_t map_pointer, uint32_t page, bool value, MapKind kind,
                 const std::function<Status(uint32_t*)>& allocate);

// The first page at or after `from` whose bit is set, or 0 when none is.
Status FindSetBit(const Pager& pager, uint32_t map_pointer, uint32_t from, uint32_t* page);

// Page allocation through the free-page map: a free page is reused (its bit
// cleared) before the file grows. The page's contents are left to the caller.
Status AllocatePage(Pager* pager, uint32_t* page);
// Gives a page back to the free-page map (and zeroes it).
Status FreePage(Pager* pager, uint32_t page);

}  // namespace jet
