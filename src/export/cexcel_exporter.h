// CExcelExporter: the program's only gateway to Excel. It creates the output
// workbook, writes one query result as a header row and data block, runs
// macros, adds the report information sheet and hands the workbook to the
// user. It has no fields: all Excel state lives in the slots of excel_slots.h.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <cstdint>

#include "platform/errors/app_error.h"

namespace dao {
class Recordset;
}

// Errors raised to the export run, above the automation object-error base.
constexpr int kErrNoFileName = platform::kObjectErrorBase + 513;
constexpr int kErrTemplateOrTarget = platform::kObjectErrorBase + 514;
constexpr int kErrMacro = platform::kObjectErrorBase + 515;
constexpr int kErrBadInstruction = platform::kObjectErrorBase + 516;

class CExcelExporter {
 public:
  bool CreateExcelFile(const QString& fileName, const QString& templatePath, bool newInstance);
  void DoExport(dao::Recordset& records, int16_t column, int16_t row, const QString& sheetName);
  void ExcelVisible(int32_t sheetIndex);
  // The arrays hold one element per exported query, in the order of the run.
  void PasteReportInformation(const QString& author, const QDateTime& outputDate, const QString& sourceDatabase,
                              const QString& reportName, const QString& description, const QStringList& queryNames,
                              const QStringList& parameterNames, const QStringList& parameterValues);
  void RunExcelMacro(const QString& macroName);
  void TerminateExcelProcess();
  // Filters the block at `rangeAddress` ("A1:D20" or a defined name) of the
  // named sheet by its `field`-th column (1-based).
  void ApplyAutoFilter(const QString& sheetName, const QString& rangeAddress, int field, const QString& criteria1);
  bool CreateExcelInstance(const QString& templatePath);
};
