#include "export/bas_exporter_messages.h"

#include <QLocale>

#include "export/bas_exporter.h"
#include "export/cexcel_exporter.h"
#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"

namespace basExporter {
namespace {

const QString kTitle = QStringLiteral("Excel Exporter");
const QString kCrLf = QStringLiteral("\r\n");

RunOutcome gOutcome = RunOutcome::kComplete;

void Show(const QString& text, int icon, RunOutcome outcome) {
  gOutcome = outcome;
  platform::dialogs().MsgBox(text, icon, kTitle);
}

QString TemplateOrTargetText() {
  return QStringLiteral(
             "Cannot access the template or create the target Excel file.  An Excel file with the same name may be "
             "open, or the path and file name for the template may be out of date.  ") +
         QStringLiteral(
             "This error may also occur when there is a problem with User Query settings (e.g., an Excel Macro is "
             "referenced that does not exist in the template).  ") +
         kCrLf + kCrLf +
         QStringLiteral(
             "First try closing open Excel applications, ensure template path and file names are correct, and then "
             "repeat the Export.  ") +
         kCrLf + kCrLf +
         QStringLiteral(
             "If this doesn't resolve the problem, you can also use the Excel Export Assistant to verify other "
             "settings for the User Report.");
}

QString MacroText() {
  return QStringLiteral("Cannot execute a macro in the Excel file.  ") +
         QStringLiteral("Ensure that the Excel Macro exists.  ") + kCrLf + kCrLf +
         QStringLiteral(
             "Alternatively, the default settings for the template in the applicaton's database may be incorrect.");
}

// Errors raised by the database layer come from running a query.
RunOutcome OutcomeOf(const platform::AppError& error) {
  return error.Source().startsWith(QStringLiteral("DAO")) ? RunOutcome::kQueryFailed : RunOutcome::kFailed;
}

// The runtime names the program itself when an error carries no source.
QString SourceOf(const platform::AppError& error) {
  return error.Source().isEmpty() ? QStringLiteral("Tabulon") : error.Source();
}

}  // namespace

RunOutcome LastRunOutcome() { return gOutcome; }
void ResetRunOutcome() { gOutcome = RunOutcome::kComplete; }
void NoteRunCancelled() { gOutcome = RunOutcome::kCancelled; }

void ShowMissingParameters(const QString& queryName) {
  Show(QStringLiteral("Missing query parameters for: '") + queryName +
           QStringLiteral("'.  Operation cancelled.  Please check defaults."),
       platform::vbCritical, RunOutcome::kQueryFailed);
}

void ShowWrongParameterCount(const QString& queryName) {
  Show(QStringLiteral("Wrong number of query parameters for: '") + queryName +
           QStringLiteral("'.  Operation cancelled.  Please check defaults."),
       platform::vbCritical, RunOutcome::kQueryFailed);
}

void ShowNoResults() {
  Show(QStringLiteral("Operation cancelled.  No results available for the specified parameter(s).  Use valid "
                      "parameter value(s) and try again."),
       platform::vbInformation, RunOutcome::kQueryFailed);
}

void ShowTooManyRows(long recordCount, long rowLimit) {
  Show(QStringLiteral("The maximum number or rows allowed per worksheet is ") +
           QLocale(QLocale::English).toString(static_cast<qlonglong>(rowLimit)) + QStringLiteral(".  ") +
           QStringLiteral("Your query contains ") + QString::number(recordCount) + QStringLiteral(" records.") +
           kCrLf + kCrLf + QStringLiteral("Operation cancelled by system."),
       platform::vbCritical, RunOutcome::kWorkbookFailed);
}

void ShowRunError(const platform::AppError& error) {
  switch (error.Number()) {
    case kErrNoFileName:
      return Show(QStringLiteral("A new file name must be specified to Export results.  Operation cancelled by user."),
                  platform::vbInformation, RunOutcome::kNoFileChosen);
    case kErrTemplateOrTarget:
      return Show(TemplateOrTargetText(), platform::vbExclamation, RunOutcome::kWorkbookFailed);
    case kErrMacro:
      // Which macro stopped, where and why follow the family's words.
      return Show(error.Description().isEmpty() ? MacroText() : MacroText() + kCrLf + kCrLf + error.Description(),
                  platform::vbExclamation, RunOutcome::kMacroFailed);
    case kErrBadInstruction:
      return Show(QStringLiteral("Export incomplete.  Invalid instruction encountered during export.  Ensure template "
                                 "is in the expected directory, and that the worksheet name for the template was "
                                 "specified correctly (etc.)."),
                  platform::vbExclamation, RunOutcome::kWorkbookFailed);
    default:
      return Show(QStringLiteral("Unexpected Error: ") + error.Description() + QStringLiteral(" in ") +
                      SourceOf(error) + QStringLiteral("  Operation cancelled."),
                  platform::vbCritical, OutcomeOf(error));
  }
}

}  // namespace basExporter
