#include "export/excel_slots.h"

#include <QFile>

std::shared_ptr<excel::Application> gExcelApp;
std::shared_ptr<excel::Application> gExcelAppInUse;
std::optional<excel::Workbook> gExcelWorkbook;
std::optional<excel::Worksheet> gExcelWorksheet;
bool gNewExcelInstance = true;
bool gAutoFitExcelColumns = false;
TemplateSearch gTemplateSearch;

namespace {

struct SetAside {
  QString file;
  QString aside;
};
SetAside gReplaced;

}  // namespace

bool SetAsideReplacedFile(const QString& file) {
  DropReplacedFile();
  const QString aside = file + QStringLiteral(".tabulon-replaced");
  QFile::remove(aside);
  if (!QFile::rename(file, aside)) return false;
  gReplaced = {file, aside};
  return true;
}

void DropReplacedFile() {
  if (!gReplaced.aside.isEmpty()) QFile::remove(gReplaced.aside);
  gReplaced = {};
}

void RestoreReplacedFile() {
  if (gReplaced.aside.isEmpty()) return;
  QFile::remove(gReplaced.file);
  QFile::rename(gReplaced.aside, gReplaced.file);
  gReplaced = {};
}

void ReleaseExcelSlots() {
  gExcelWorksheet.reset();
  gExcelWorkbook.reset();
  gExcelAppInUse.reset();
  gExcelApp.reset();
}
