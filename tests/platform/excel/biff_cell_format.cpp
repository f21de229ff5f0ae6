#include "biff_cell_format.h"

#include <algorithm>
#include <stdexcept>

#include "platform/excel/color_index.h"

namespace biff {
namespace {

constexpr uint16_t kXf = 0x00E0;
constexpr uint16_t kFont = 0x0031;
constexpr uint16_t kPalette = 0x0092;
constexpr uint16_t kFormat = 0x041E;
constexpr uint16_t kMulRk = 0x00BD;
constexpr uint16_t kMulBlank = 0x00BE;
// Records of one cell: row, column, then the cell's XF index.
constexpr uint16_t kSingleCells[] = {0x00FD, 0x0203, 0x027E, 0x0201, 0x0006, 0x0204, 0x0205};
constexpr int kBoldWeight = 700;
constexpr int kSolidFill = 1;
constexpr int kFirstPaletteColour = 8;

std::optional<int> XfIndexOf(const Substream& sheet, int row, int column) {
  for (const Record& r : sheet.records) {
    if (r.data.size() < 6 || r.U16(0) != row) continue;
    if (std::find(std::begin(kSingleCells), std::end(kSingleCells), r.id) != std::end(kSingleCells)) {
      if (r.U16(2) == column) return r.U16(4);
    } else if (r.id == kMulRk || r.id == kMulBlank) {
      const int first = r.U16(2);
      const int step = r.id == kMulRk ? 6 : 2;
      const int count = (static_cast<int>(r.data.size()) - 6) / step;
      if (column >= first && column < first + count) return r.U16(4 + (column - first) * step);
    }
  }
  return std::nullopt;
}

// Colours 0 to 7 are fixed; from 8 on they come from the workbook's palette,
// or from Excel's default one (ColorIndex = icv - 7) when it has none.
QColor PaletteColour(const Workbook& book, int icv) {
  static const QColor kFixed[] = {Qt::black, Qt::white, Qt::red, Qt::green, Qt::blue, Qt::yellow, Qt::magenta, Qt::cyan};
  if (icv < kFirstPaletteColour) return kFixed[icv];
  const auto palette = book.globals.First(kPalette);
  if (!palette) return QColor::fromRgb(excel::ColorOfIndex(icv - kFirstPaletteColour + 1));
  const int at = 2 + 4 * (icv - kFirstPaletteColour);
  return QColor(uint8_t(palette->data.at(at)), uint8_t(palette->data.at(at + 1)), uint8_t(palette->data.at(at + 2)));
}

// The format's code: a FORMAT record's, or one of the built-in codes a
// writer may leave without a record.
QString NumberFormat(const Workbook& book, int index) {
  for (const Record& format : book.globals.All(kFormat))
    if (format.U16(0) == index) return StringNoCount(format.data, 4, format.U16(2));
  static const char* kBuiltIn[] = {"General", "0", "0.00", "#,##0", "#,##0.00"};
  return index < 5 ? QString::fromLatin1(kBuiltIn[index]) : QStringLiteral("#%1").arg(index);
}

}  // namespace

CellFormat FormatOf(const Workbook& book, const Substream& sheet, int row, int column) {
  const auto xf_index = XfIndexOf(sheet, row - 1, column - 1);
  if (!xf_index) throw std::runtime_error("no record for the cell");
  const Record xf = book.globals.All(kXf).at(*xf_index);
  const int font_index = xf.U16(0);
  // Font 4 does not exist in the file: the index skips it.
  const Record font = book.globals.All(kFont).at(font_index >= 4 ? font_index - 1 : font_index);
  CellFormat format;
  format.bold = font.U16(6) >= kBoldWeight;
  // From 64 on the colour is the system's window text: black.
  format.font_colour = font.U16(4) >= 64 ? QColor(Qt::black) : PaletteColour(book, font.U16(4));
  format.left_border = xf.U32(10) & 0x0F;
  format.right_border = (xf.U32(10) >> 4) & 0x0F;
  format.top_border = (xf.U32(10) >> 8) & 0x0F;
  format.bottom_border = (xf.U32(10) >> 12) & 0x0F;
  format.horizontal_align = static_cast<uint8_t>(xf.data.at(6)) & 0x07;
  format.number_format = NumberFormat(book, xf.U16(2));
  if (((xf.U32(14) >> 26) & 0x3F) == kSolidFill) format.fill = PaletteColour(book, xf.U16(18) & 0x7F);
  return format;
}

}  // namespace biff
