#include "export/cexcel_exporter.h"

#include <QFile>
#include <limits>

#include "export/excel_slots.h"
#include "export/run_progress.h"
#include "platform/dao/recordset.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/template_path.h"
#include "platform/ui/dialogs.h"

namespace {

// The title of a box that names none: the application's.
const QString kApplicationTitle = QStringLiteral("Tabulon");

// Runs one step whose failure is to be passed over (VB's On Error Resume Next).
template <class Step>
void IgnoringErrors(Step&& step) {
  try {
    step();
  } catch (const platform::AppError&) {
  }
}

// Row and column arithmetic is 16-bit and checked, as the program's integers are.
int16_t Add16(int16_t a, int b) {
  const int sum = a + b;
  if (sum > std::numeric_limits<int16_t>::max() || sum < std::numeric_limits<int16_t>::min())
    throw platform::AppError(6, QStringLiteral("Overflow"));
  return static_cast<int16_t>(sum);
}

bool FileExists(const QString& fileName) {
  QFile file(fileName);
  const bool opened = file.open(QIODevice::ReadOnly);
  file.close();
  return opened;
}

excel::Workbook AddWorkbook(excel::Application& app, const QString& templatePath) {
  if (!templatePath.isEmpty() && excel::IsExcelTemplatePath(templatePath))
    return app.Workbooks().Add(
        excel::ResolveTemplatePath(templatePath, gTemplateSearch.database_folder, gTemplateSearch.mappings));
  return app.Workbooks().Add();
}

bool IsDead(const std::shared_ptr<excel::Application>& app) { return !app || !app->IsAlive(); }

// An empty slot is VB's "Nothing": using it raises error 91.
[[noreturn]] void RaiseNothing() {
  throw platform::AppError(91, QStringLiteral("Object variable or With block variable not set"));
}

excel::Application& App() {
  if (!gExcelApp) RaiseNothing();
  return *gExcelApp;
}

excel::Workbook& Workbook() {
  if (!gExcelWorkbook) RaiseNothing();
  return *gExcelWorkbook;
}

excel::Worksheet& Worksheet() {
  if (!gExcelWorksheet) RaiseNothing();
  return *gExcelWorksheet;
}

}  // namespace

bool CExcelExporter::CreateExcelFile(const QString& fileName, const QString& templatePath, bool newInstance) {
  const QString source = QStringLiteral("CExcelExporter::CreateExcelFile");
  if (fileName.isEmpty()) throw platform::AppError(kErrNoFileName, QStringLiteral("Zero lengthed file name passed."), source);
  if (FileExists(fileName)) {
    const int answer = platform::dialogs().MsgBox(
        QStringLiteral("A file named '") + fileName + QStringLiteral("' already exists for the given path. ") +
            QStringLiteral("Do you want to replace it?"),
        platform::vbYesNo + platform::vbExclamation, kApplicationTitle);
    if (answer != platform::vbYes) {
      platform::dialogs().MsgBox(QStringLiteral("Output request cancelled.  Try again using a different name."),
                                 platform::vbInformation, kApplicationTitle);
      return false;
    }
    if (!SetAsideReplacedFile(fileName)) throw platform::AppError(75, QStringLiteral("Path/File access error"), source);
  }
  try {
    // An office that was released or has died cannot serve this run, whatever
    // the caller believes; a new one takes its place.
    if (newInstance || IsDead(gExcelApp)) {
      gExcelApp = excel::Application::Create();
      gExcelAppInUse = gExcelApp;
      gNewExcelInstance = false;
    } else {
      gExcelAppInUse = gExcelApp;
    }
    gExcelApp->SetDisplayAlerts(false);
    gExcelWorkbook = AddWorkbook(*gExcelApp, templatePath);
    gExcelWorkbook->SaveAs(fileName);
    return true;
  } catch (const platform::AppError& e) {
    if (e.Number() == excel::kApplicationDefined) throw platform::AppError(kErrTemplateOrTarget, e.Description(), source);
    return false;
  }
}

bool CExcelExporter::CreateExcelInstance(const QString& templatePath) {
  try {
    gExcelApp = excel::Application::Create();
    gExcelApp->SetDisplayAlerts(false);
    gExcelWorkbook = AddWorkbook(*gExcelApp, templatePath);
    return true;
  } catch (const platform::AppError& e) {
    if (e.Number() == excel::kApplicationDefined)
      throw platform::AppError(kErrTemplateOrTarget, e.Description(), QStringLiteral("CExcelExporter::CreateExcelInstance"));
    return false;
  }
}

void CExcelExporter::DoExport(dao::Recordset& records, int16_t column, int16_t row, const QString& sheetName) {
  const int fields = records.FieldCount();
  try {
    auto sheet = sheetName.isEmpty() ? Workbook().Worksheets().Item(1) : Workbook().Worksheets().Item(sheetName);
    sheet.Activate();
    gExcelWorksheet = Workbook().ActiveSheet();
    if (fields > 0) gExcelWorksheet->Cells(row, column).SetValue(records.Field(0).name);
  } catch (const platform::AppError& e) {
    const QString source = QStringLiteral("CExcelExporter::DoExport");
    if (e.Number() == excel::kApplicationDefined) throw platform::AppError(kErrTemplateOrTarget, e.Description(), source);
    if (e.Number() == excel::kSubscriptOutOfRange) throw platform::AppError(kErrBadInstruction, e.Description(), source);
    return;
  }
  // From the first caption on, the original passes over every error.
  auto& sheet = *gExcelWorksheet;
  for (int i = 0; i < fields; ++i) {
    if (i > 0) IgnoringErrors([&] { sheet.Cells(row, Add16(column, i)).SetValue(records.Field(i).name); });
    if (!records.Field(i).caption.isEmpty())
      IgnoringErrors([&] { sheet.Cells(row, Add16(column, i)).SetValue(records.Field(i).caption); });
  }
  IgnoringErrors([&] {
    const auto first = sheet.Cells(Add16(row, 1), column);
    if (!basExporter::gRunProgress) {
      sheet.Range(first, first).CopyFromRecordset(records);
      return;
    }
    sheet.Range(first, first).CopyFromRecordset(records, [](long placed) {
      basExporter::gRunProgress->RowsPlaced(placed);
      return !basExporter::gRunProgress->CancelRequested();
    });
  });
  if (gAutoFitExcelColumns)
    for (int i = 0; i < fields; ++i) IgnoringErrors([&] { sheet.Columns(Add16(column, i)).AutoFitColumns(); });
  IgnoringErrors([&] { sheet.Select(); });
}

void CExcelExporter::ExcelVisible(int32_t sheetIndex) {
  // The sheet is chosen before the application becomes visible: showing the
  // workbook hands it to the desktop's spreadsheet application, after which
  // the office can no longer change what the user sees.
  IgnoringErrors([&] { Workbook().Activate(); });
  IgnoringErrors([&] {
    if (sheetIndex < 1) Worksheet().Select();
    else Workbook().Worksheets().Item(sheetIndex).Activate();
  });
  IgnoringErrors([&] { App().SetVisible(true); });
  IgnoringErrors([&] { App().SetScreenUpdating(true); });
}

void CExcelExporter::RunExcelMacro(const QString& macroName) {
  try {
    App().Run(macroName);
  } catch (const platform::AppError& e) {
    throw platform::AppError(kErrMacro, e.Description(), QStringLiteral("CExcelExporter::RunExcelMacro"));
  }
}

void CExcelExporter::TerminateExcelProcess() {
  // A cancelled run ends here; nothing on the way out may stop it. The office
  // itself keeps running for the next run, as a reused Excel would.
  IgnoringErrors([&] { App().SetDisplayAlerts(false); });
  IgnoringErrors([&] { Workbook().Save(); });
  IgnoringErrors([&] {
    if (auto active = App().ActiveWorkbook()) active->Close();
  });
  ReleaseExcelSlots();
}

void CExcelExporter::ApplyAutoFilter(const QString& sheetName, const QString& rangeAddress, int field,
                                     const QString& criteria1) {
  auto sheet = Workbook().Worksheets().Item(sheetName);
  sheet.Activate();
  sheet.Range(rangeAddress).AutoFilter(field, criteria1);
}
