// The process-wide Excel slots of the workbook writer. They outlive each
// CExcelExporter object, so one run's state passes from query to query.
#pragma once

#include <QString>
#include <memory>
#include <optional>
#include <vector>

#include "jet/path_mapping.h"
#include "platform/excel/application.h"

// The Excel application in use.
extern std::shared_ptr<excel::Application> gExcelApp;
// A second reference to the same application; the export run releases it at its end.
extern std::shared_ptr<excel::Application> gExcelAppInUse;
// The output workbook.
extern std::optional<excel::Workbook> gExcelWorkbook;
// The worksheet last selected for writing.
extern std::optional<excel::Worksheet> gExcelWorksheet;
// The next CreateExcelFile must create a new application.
extern bool gNewExcelInstance;

// A file the output replaces is set aside, not deleted, until the run
// ends: kept for good when the run is cancelled, dropped otherwise.
bool SetAsideReplacedFile(const QString& file);
void DropReplacedFile();
void RestoreReplacedFile();

// Lets go of the office's objects, the worksheet first and the application
// last. Called before the program ends: static destruction would otherwise
// release them after the connection to the office has already gone.
void ReleaseExcelSlots();

// Kept in step with the main window's "AutoFit Excel Columns" menu item
// (mnuOptionsAutoFitExcelColumns), which DoExport consults.
extern bool gAutoFitExcelColumns;

// Where stored template paths are looked for: beside the report database and
// through the engine's folder mappings. Set when a database is opened.
struct TemplateSearch {
  QString database_folder;
  std::vector<jet::FolderMapping> mappings;
};
extern TemplateSearch gTemplateSearch;
