#include "platform/excel/template_path.h"

#include <QFile>

namespace excel {

QString ResolveTemplatePath(const QString& stored_path, const QString& database_folder,
                            const std::vector<jet::FolderMapping>& mappings) {
  if (stored_path.isEmpty()) return stored_path;
  const auto found = jet::ResolveStoredPath(QFile::encodeName(stored_path).toStdString(),
                                            QFile::encodeName(database_folder).toStdString(), mappings);
  return found ? QFile::decodeName(QByteArray::fromStdString(*found)) : stored_path;
}

bool IsExcelTemplatePath(const QString& path) {
  for (const char* extension : {".xls", ".xlsx", ".ods"}) {
    if (path.endsWith(QLatin1String(extension), Qt::CaseInsensitive)) return true;
  }
  return false;
}

}  // namespace excel
