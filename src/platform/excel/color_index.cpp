#include "platform/excel/color_index.h"

#include <array>

#include "platform/excel/excel_errors.h"

namespace excel {
namespace {

// Excel's default palette (the BIFF8 default colour table, as listed in
// Microsoft's documentation of the ColorIndex property), index 1 first.
constexpr std::array<uint32_t, 56> kPalette = {
    0x000000, 0xFFFFFF, 0xFF0000, 0x00FF00, 0x0000FF, 0xFFFF00, 0xFF00FF, 0x00FFFF,
    0x800000, 0x008000, 0x000080, 0x808000, 0x800080, 0x008080, 0xC0C0C0, 0x808080,
    0x9999FF, 0x993366, 0xFFFFCC, 0xCCFFFF, 0x660066, 0xFF8080, 0x0066CC, 0xCCCCFF,
    0x000080, 0xFF00FF, 0xFFFF00, 0x00FFFF, 0x800080, 0x800000, 0x008080, 0x0000FF,
    0x00CCFF, 0xCCFFFF, 0xCCFFCC, 0xFFFF99, 0x99CCFF, 0xFF99CC, 0xCC99FF, 0xFFCC99,
    0x3366FF, 0x33CCCC, 0x99CC00, 0xFFCC00, 0xFF9900, 0xFF6600, 0x666699, 0x969696,
    0x003366, 0x339966, 0x003300, 0x333300, 0x993300, 0x993366, 0x333399, 0x333333,
};

}  // namespace

uint32_t ColorOfIndex(int index) {
  if (index < 1 || index > static_cast<int>(kPalette.size())) RaiseSubscriptOutOfRange();
  return kPalette[index - 1];
}

int IndexOfColor(uint32_t rgb) {
  for (size_t i = 0; i < kPalette.size(); ++i)
    if (kPalette[i] == (rgb & 0xFFFFFF)) return static_cast<int>(i) + 1;
  return 0;
}

}  // namespace excel
