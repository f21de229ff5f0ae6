#include "app/export_assistant_hook.h"

namespace app {

namespace {
AssistantOpener& Opener() {
  static AssistantOpener opener;
  return opener;
}
}  // namespace

void SetExportAssistantOpener(AssistantOpener opener) { Opener() = std::move(opener); }

void OpenExportAssistant(QWidget* parent) {
  if (Opener()) Opener()(parent);
}

}  // namespace app
