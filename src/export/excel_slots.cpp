#include "export/excel_slots.h"

std::shared_ptr<excel::Application> gExcelApp;
std::shared_ptr<excel::Application> gExcelAppInUse;
std::optional<excel::Workbook> gExcelWorkbook;
std::optional<excel::Worksheet> gExcelWorksheet;
bool gNewExcelInstance = true;
bool gAutoFitExcelColumns = false;
TemplateSearch gTemplateSearch;

void ReleaseExcelSlots() {
  gExcelWorksheet.reset();
  gExcelWorkbook.reset();
  gExcelAppInUse.reset();
  gExcelApp.reset();
}
