// CExcelExporter::PasteReportInformation: the protected "Information" sheet
// that tells who made the report, when, from which database, and which
// queries and parameter values produced each block.

#include "export/cexcel_exporter.h"
#include "export/excel_slots.h"
#include "platform/excel/excel_errors.h"

namespace {

constexpr int kRed = 3;  // Font.ColorIndex

// The information rows are counted in a 16-bit integer.
int16_t NextBlockRow(int16_t row) {
  if (row > 32767 - 2) throw platform::AppError(6, QStringLiteral("Overflow"));
  return static_cast<int16_t>(row + 2);
}

void WriteSheet(excel::Worksheet& sheet, const QString& author, const QDateTime& outputDate,
                const QString& sourceDatabase, const QString& reportName, const QString& description,
                const QStringList& queryNames, const QStringList& parameterNames, const QStringList& parameterValues) {
  sheet.Cells(2, 2).SetValue(QStringLiteral("User:"));
  sheet.Cells(2, 3).SetValue(author);
  sheet.Cells(3, 2).SetValue(QStringLiteral("Output Date:"));
  sheet.Cells(3, 3).SetValue(outputDate);
  sheet.Cells(4, 2).SetValue(QStringLiteral("Source Database:"));
  sheet.Cells(4, 3).SetValue(sourceDatabase);
  sheet.Cells(6, 2).SetValue(QStringLiteral("Report Name:"));
  sheet.Cells(6, 3).SetValue(reportName);
  sheet.Cells(7, 2).SetValue(QStringLiteral("Description:"));
  sheet.Cells(7, 3).SetValue(description);
  sheet.Range(sheet.Cells(2, 2), sheet.Cells(7, 3)).AutoFitColumns();

  sheet.Cells(9, 2).SetValue(QStringLiteral("Queries:"));
  sheet.Cells(10, 3).SetValue(QStringLiteral("Names:"));
  sheet.Cells(10, 7).SetValue(QStringLiteral("Parameters:"));
  int16_t row = 11;
  const QString prefix = QStringLiteral("'- ");
  for (qsizetype i = 0; i < queryNames.size(); ++i) {
    sheet.Cells(row, 3).SetValue(prefix + queryNames.value(i));
    sheet.Cells(row, 7).SetValue(prefix + parameterNames.value(i));
    sheet.Cells(row + 1, 7).SetValue(prefix + parameterValues.value(i));
    row = NextBlockRow(row);
  }
  auto footnote = sheet.Cells(row + 1, 2);
  footnote.SetValue(QStringLiteral("*Use Excel Export Assistant to review further details"));
  footnote.SetFontColorIndex(kRed);
  sheet.Protect(true, true, true);
}

}  // namespace

void CExcelExporter::PasteReportInformation(const QString& author, const QDateTime& outputDate,
                                            const QString& sourceDatabase, const QString& reportName,
                                            const QString& description, const QStringList& queryNames,
                                            const QStringList& parameterNames, const QStringList& parameterValues) {
  try {
    if (!gExcelWorkbook) throw platform::AppError(91, QStringLiteral("Object variable or With block variable not set"));
    auto added = gExcelWorkbook->Worksheets().Add();
    added.SetName(QStringLiteral("Information"));
    auto sheet = gExcelWorkbook->Worksheets().Item(QStringLiteral("Information"));
    sheet.Activate();
    WriteSheet(sheet, author, outputDate, sourceDatabase, reportName, description, queryNames, parameterNames,
               parameterValues);
  } catch (const platform::AppError& e) {
    throw platform::AppError(
        e.Number(),
        e.Description() + QStringLiteral("\r\n\r\n") +
            QStringLiteral("Unable to paste information about the output report.  A worksheet named ''Information'' "
                           "or ''Sheet1'' may already exist in your template."),
        e.Source());
  }
}
