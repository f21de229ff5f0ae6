// The program's windows put together: the main window's way into the
// Export Assistant, with the report editors the Assistant opens.
#pragma once

namespace app {

// Called once at start-up, before the main window is shown.
void InstallProgramWindows();

}  // namespace app
