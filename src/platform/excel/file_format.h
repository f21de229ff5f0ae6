// The workbook file formats a run can write, told apart by the file's
// extension: Excel 97-2003 (.xls, the family's own and the default for any
// other name), Excel 2007-365 (.xlsx) and OpenDocument (.ods). Each has its
// own sheet size and its own filter in the office.
#pragma once

#include <QString>

namespace excel {

enum class FileFormat { kXls, kXlsx, kOds };

struct SheetSize {
  long rows;
  int columns;
};

FileFormat FormatOfFile(const QString& path);
QString ExtensionOf(FileFormat format);
SheetSize SheetSizeOf(FileFormat format);
// The office's export filter for the format.
const char* OfficeFilterOf(FileFormat format);

}  // namespace excel
