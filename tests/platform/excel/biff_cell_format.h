// How a saved cell looks, from the BIFF records: its font, fill, borders,
// alignment and number format, resolved through the workbook's XF,
// FONT, FORMAT and PALETTE records.
#pragma once

#include <QColor>
#include <QString>
#include <optional>

#include "biff_records.h"

namespace biff {

struct CellFormat {
  bool bold = false;
  std::optional<QColor> fill;  // a solid fill's colour; none when unfilled
  QColor font_colour;
  // Line styles, 0 for none (1 thin, 2 medium, 5 thick).
  int left_border = 0;
  int right_border = 0;
  int top_border = 0;
  int bottom_border = 0;
  int horizontal_align = 0;  // 0 general, 1 left, 2 centre, 3 right
  QString number_format;

  bool operator==(const CellFormat&) const = default;
};

// Row and column 1-based; throws std::runtime_error when the sheet holds no
// record for the cell.
CellFormat FormatOf(const Workbook& book, const Substream& sheet, int row, int column);

}  // namespace biff
