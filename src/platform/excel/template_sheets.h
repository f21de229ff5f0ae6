// The worksheet names of a template workbook, read from the file itself so
// that an editor can offer them without starting the office.
#pragma once

#include <QString>
#include <QStringList>

namespace excel {

// The sheets of the .xls workbook or template at `path`, in the workbook's
// order; empty when the file is missing or is not a readable .xls.
QStringList TemplateSheetNames(const QString& path);

// The sheets a new workbook starts with: Excel 97-2003 opens one with
// Sheet1 to Sheet3, whatever the language, and so do ours.
QStringList NewWorkbookSheetNames();

}  // namespace excel
