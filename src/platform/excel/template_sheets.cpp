#include "platform/excel/template_sheets.h"

#include <QFile>
#include <freexl.h>

namespace excel {

QStringList TemplateSheetNames(const QString& path) {
  QStringList names;
  if (path.isEmpty()) return names;
  // Only the workbook directory is parsed, never the cells: a large template
  // lists its sheets at once.
  const void* handle = nullptr;
  const QByteArray file = QFile::encodeName(path);
  if (freexl_open_info(file.constData(), &handle) == FREEXL_OK) {
    unsigned int count = 0;
    if (freexl_get_info(handle, FREEXL_BIFF_SHEET_COUNT, &count) == FREEXL_OK) {
      for (unsigned int i = 0; i < count; ++i) {
        const char* name = nullptr;
        if (freexl_get_worksheet_name(handle, static_cast<unsigned short>(i), &name) == FREEXL_OK && name)
          names << QString::fromUtf8(name);
      }
    }
  }
  freexl_close(handle);  // also after a failed open, as the library asks
  return names;
}

QStringList NewWorkbookSheetNames() {
  return {QStringLiteral("Sheet1"), QStringLiteral("Sheet2"), QStringLiteral("Sheet3")};
}

}  // namespace excel
