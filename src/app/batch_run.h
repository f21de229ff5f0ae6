// Runs without a window, for scheduled jobs:
//   tabulon --run "REPORT" --output FILE [--database FILE] [--overwrite]
//   tabulon --list [--database FILE]
//   tabulon --check-macros [REPORT] [--database FILE]
// A run is the main window's run with nobody at the screen: the report's
// stored parameters, templates and macros, no question asked, every message
// printed on standard error, and an exit status that says what failed.
#pragma once

#include <QStringList>

namespace app {

// Exit statuses: one a kind of failure, so that a job can tell them apart.
enum BatchStatus : int {
  kBatchOk = 0,
  kBatchUsage = 1,
  kBatchDatabase = 2,
  kBatchReportNotFound = 3,
  kBatchQuery = 4,
  kBatchWorkbook = 5,
  kBatchMacro = 6,
  kBatchFileExists = 7,
  kBatchFailed = 8,
};

// True when the arguments (the program's own first) ask for --run, --list or
// --check-macros.
bool IsBatchInvocation(const QStringList& arguments);

// Carries out --run, --list or --check-macros; needs the core application object only (no
// window is shown). Returns the exit status.
int RunBatch(const QStringList& arguments);

}  // namespace app
