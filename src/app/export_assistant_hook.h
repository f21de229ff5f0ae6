// The main window's way into the Export Assistant. The Assistant and the
// editors it opens sit beside the shell, not below it, so the program hands
// the opening in at start-up.
#pragma once

#include <functional>

class QWidget;

namespace app {

using AssistantOpener = std::function<void(QWidget* parent)>;

void SetExportAssistantOpener(AssistantOpener opener);
// Shows the Assistant modally; returns when it is closed.
void OpenExportAssistant(QWidget* parent);

}  // namespace app
