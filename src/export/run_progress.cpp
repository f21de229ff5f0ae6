#include "export/run_progress.h"

namespace basExporter {

RunProgress* gRunProgress = nullptr;

void StopIfCancelled() {
  if (gRunProgress && gRunProgress->CancelRequested()) throw RunCancelled{};
}

}  // namespace basExporter
