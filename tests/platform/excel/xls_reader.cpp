#include "xls_reader.h"

#include <QFile>
#include <stdexcept>

#include <freexl.h>

namespace {

XlsCell ToCell(const FreeXL_CellValue& v) {
  XlsCell cell;
  switch (v.type) {
    case FREEXL_CELL_INT: cell = {XlsCell::Kind::kNumber, double(v.value.int_value)}; break;
    case FREEXL_CELL_DOUBLE: cell = {XlsCell::Kind::kNumber, v.value.double_value}; break;
    case FREEXL_CELL_TEXT:
    case FREEXL_CELL_SST_TEXT: cell = {XlsCell::Kind::kText, QString::fromUtf8(v.value.text_value)}; break;
    case FREEXL_CELL_DATE: cell = {XlsCell::Kind::kDate, QString::fromUtf8(v.value.text_value)}; break;
    case FREEXL_CELL_DATETIME: cell = {XlsCell::Kind::kDateTime, QString::fromUtf8(v.value.text_value)}; break;
    case FREEXL_CELL_TIME: cell = {XlsCell::Kind::kTime, QString::fromUtf8(v.value.text_value)}; break;
    default: break;
  }
  return cell;
}

XlsSheet ReadSheet(const void* handle, unsigned short index) {
  XlsSheet sheet;
  const char* name = nullptr;
  freexl_get_worksheet_name(handle, index, &name);
  sheet.name = QString::fromUtf8(name);
  freexl_select_active_worksheet(handle, index);
  unsigned int rows = 0;
  unsigned short columns = 0;
  freexl_worksheet_dimensions(handle, &rows, &columns);
  sheet.rows = static_cast<int>(rows);
  sheet.columns = columns;
  for (unsigned int r = 0; r < rows; ++r) {
    for (unsigned short c = 0; c < columns; ++c) {
      FreeXL_CellValue value;
      if (freexl_get_cell_value(handle, r, c, &value) != FREEXL_OK) continue;
      const XlsCell cell = ToCell(value);
      if (cell.kind != XlsCell::Kind::kEmpty) sheet.cells.insert({int(r) + 1, int(c) + 1}, cell);
    }
  }
  return sheet;
}

}  // namespace

QStringList XlsBook::SheetNames() const {
  QStringList names;
  for (const auto& s : sheets) names << s.name;
  return names;
}

const XlsSheet& XlsBook::Sheet(const QString& name) const {
  for (const auto& s : sheets)
    if (s.name == name) return s;
  throw std::runtime_error("no sheet " + name.toStdString());
}

XlsBook ReadXls(const QString& path) {
  const void* handle = nullptr;
  const QByteArray file = QFile::encodeName(path);
  if (freexl_open(file.constData(), &handle) != FREEXL_OK) {
    freexl_close(handle);
    throw std::runtime_error("freexl cannot read " + path.toStdString());
  }
  XlsBook book;
  unsigned int count = 0;
  freexl_get_info(handle, FREEXL_BIFF_SHEET_COUNT, &count);
  for (unsigned short i = 0; i < count; ++i) book.sheets << ReadSheet(handle, i);
  freexl_close(handle);
  return book;
}
