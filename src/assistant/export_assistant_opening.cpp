#include "assistant/export_assistant_opening.h"

#include "app/mglobals.h"
#include "assistant/cexport_assistant.h"
#include "assistant/frm_export_assistant.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/mouse_pointer.h"

namespace assistant {

std::unique_ptr<CExportAssistant> gExportAssistant;

namespace {

reportdb::StoreServices ProgramServices() {
  reportdb::StoreServices services;
  services.programDatabase = [] { return gDatabase.get(); };
  // The store words its failures itself (what went wrong, whom to tell).
  services.reportError = [](const QString& message, const platform::AppError&) {
    platform::dialogs().MsgBox(message, platform::vbExclamation, QStringLiteral("Excel Export Assistant"));
  };
  return services;
}

}  // namespace

void OpenExportAssistant(const ReportEditors& editors, const PrepareWindow& prepare, QWidget* parent) {
  platform::SetMousePointer(platform::vbHourglass);
  gExportAssistant = std::make_unique<CExportAssistant>(ProgramServices());
  const QString path = gDatabase ? gDatabase->Name() : QString();
  frmExportAssistant window(*gExportAssistant, editors, parent);
  gExportAssistant->SetNode(window.tvReports, window.lvReports);
  gExportAssistant->InitializeReportNode(path);
  gExportAssistant->SetNode(window.tvTopLevelTables, window.lvTopLevelTables);
  gExportAssistant->InitializeTopLevelTableNode(path);
  if (prepare) prepare(window);
  window.setModal(true);
  window.show();
  platform::SetMousePointer(platform::vbDefault);
  window.exec();
  gExportAssistant.reset();
}

}  // namespace assistant
