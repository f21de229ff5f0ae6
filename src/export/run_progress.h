// What a run tells a person watching it, and how that person stops it. A
// run started from the window has a watcher; one without (a batch run, the
// family's own callers) behaves as runs always have.
#pragma once

#include <QString>

namespace basExporter {

class RunProgress {
 public:
  virtual ~RunProgress() = default;
  // Query `number` of `count` (from 1) begins.
  virtual void QueryStarted(int number, int count, const QString& queryName) = 0;
  // Rows of the current query's block in the workbook so far.
  virtual void RowsPlaced(long rows) = 0;
  // Asked at each point where the run can stop cleanly.
  virtual bool CancelRequested() = 0;
};

// The watcher of the run under way, or nullptr.
extern RunProgress* gRunProgress;

// Thrown at a safe point once the person asked to stop.
struct RunCancelled {};

// Throws RunCancelled when the watcher asked to stop.
void StopIfCancelled();

}  // namespace basExporter
