// Template paths as the database stores them (often Windows paths) resolved to
// files on this machine.
#pragma once

#include <QString>
#include <vector>

#include "jet/path_mapping.h"

namespace excel {

// The local file for a stored template path, found as the engine finds stored
// paths: the path itself with names matched without regard to case, the same
// name beside the database, then the folder mappings. The stored text comes
// back unchanged when nothing matches, so that opening it fails as Excel's would.
QString ResolveTemplatePath(const QString& stored_path, const QString& database_folder,
                            const std::vector<jet::FolderMapping>& mappings);

// Whether a stored template names a workbook the run opens: the family's
// "*.xls" text comparison (".XLS" matches), and the .xlsx and .ods that the
// office writes as well. Any other name gives a new workbook.
bool IsExcelTemplatePath(const QString& path);

}  // namespace excel
