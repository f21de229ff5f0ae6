// basExporter: a user report run into one Excel workbook. Every query of the
// report is run with its stored parameters and pasted at its stored place,
// its macros are run, and an Information sheet describes the whole; every
// outcome is shown to the user, nothing is returned.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>

namespace dao {
class Database;
}

namespace basExporter {

// The status a cancelled run leaves in the window.
inline constexpr char kCancelledStatus[] = "Status: Cancelled.  Nothing was saved.";

// What the run tells the Information sheet about the report.
struct ReportInformation {
  QString Author;
  QDateTime OutputDate;
  QString SourceDatabase;
  QString ReportName;
  QString Description;
  // One element per query, in the order of the run.
  QStringList QueryNames;
  QStringList ParameterNames;
  QStringList ParameterValues;
};

// The last run's, kept for the program's lifetime as the family keeps it.
extern ReportInformation gReportInformation;

class RunProgress;

// What the run needs from the window that started it.
struct RunContext {
  dao::Database& database;
  QString sourceDatabase;  // the open report database's file
  std::function<void(const QString&)> showStatus;  // sets and shows the "Status" panel
  // Someone watching who can stop the run; none for a run nobody watches.
  RunProgress* progress = nullptr;
};

void ExportReport(const QString& reportName, std::int32_t outputId, const RunContext& context);

// How the last run ended, by the message it ended with: what a caller with
// nobody to read the messages (a batch run) goes by. The window ignores it.
enum class RunOutcome { kComplete, kNoFileChosen, kQueryFailed, kWorkbookFailed, kMacroFailed, kFailed, kCancelled };
RunOutcome LastRunOutcome();

// The save dialog, starting where the last output went. The full path
// chosen, or "" on cancel; the folder is remembered for next time.
QString ChooseOutputFileName(const QString& defaultName, const QString& extension, const QString& kind);

// `now` to the minute, as written "dd-mmm-yyyy hh:nn" and read back: the
// same in every locale.
QDateTime OutputDate(const QDateTime& now);

}  // namespace basExporter
