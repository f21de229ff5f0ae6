// Excel's ColorIndex: positions in the default 56-colour palette of Excel 97-2003.
#pragma once

#include <cstdint>

namespace excel {

// 0xRRGGBB for index 1..56; error 9 outside, as Excel raises for a bad index.
uint32_t ColorOfIndex(int index);
// The first index with that colour, or 0 when the palette has none.
int IndexOfColor(uint32_t rgb);

}  // namespace excel
