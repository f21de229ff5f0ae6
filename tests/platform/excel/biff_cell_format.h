// How a saved cell looks, from the BIFF records: its font's weight and its
// fill colour, resolved through the workbook's XF, FONT and PALETTE records.
#pragma once

#include <QColor>
#include <optional>

#include "biff_records.h"

namespace biff {

struct CellFormat {
  bool bold = false;
  std::optional<QColor> fill;  // a solid fill's colour; none when unfilled
};

// Row and column 1-based; throws std::runtime_error when the sheet holds no
// record for the cell.
CellFormat FormatOf(const Workbook& book, const Substream& sheet, int row, int column);

}  // namespace biff
