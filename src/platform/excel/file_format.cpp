#include "platform/excel/file_format.h"

#include <QFileInfo>

namespace excel {

FileFormat FormatOfFile(const QString& path) {
  const QString extension = QFileInfo(path).suffix().toLower();
  if (extension == QStringLiteral("xlsx")) return FileFormat::kXlsx;
  if (extension == QStringLiteral("ods")) return FileFormat::kOds;
  return FileFormat::kXls;
}

QString ExtensionOf(FileFormat format) {
  switch (format) {
    case FileFormat::kXlsx: return QStringLiteral("xlsx");
    case FileFormat::kOds: return QStringLiteral("ods");
    case FileFormat::kXls: break;
  }
  return QStringLiteral("xls");
}

SheetSize SheetSizeOf(FileFormat format) {
  // The newer formats hold Excel 2007's grid, which the office has too.
  return format == FileFormat::kXls ? SheetSize{65536, 256} : SheetSize{1048576, 16384};
}

const char* OfficeFilterOf(FileFormat format) {
  switch (format) {
    case FileFormat::kXlsx: return "Calc MS Excel 2007 XML";
    case FileFormat::kOds: return "calc8";
    case FileFormat::kXls: break;
  }
  return "MS Excel 97";
}

}  // namespace excel
