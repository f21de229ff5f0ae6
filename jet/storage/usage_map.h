// Usage maps: which pages a table (or index) owns. Stored in a row, either
// inline as a bitmap from a start page, or as a list of bitmap pages.
#pragma once

#include <vector>

#include "storage/pager.h"

namespace jet {

// The pages set in the map stored at row pointer `map_pointer`, ascending.
Status ReadUsageMap(const Pager& pager, uint32_t map_pointer, std::vector<uint32_t>* pages);

}  // namespace jet
