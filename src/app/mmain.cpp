#include "app/mmain.h"

#include "app/error_guard.h"
#include "app/frm_tabulon.h"
#include "app/mglobals.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/login_name.h"
#include "platform/ui/mouse_pointer.h"

namespace MMain {

void Main() {
  gError = std::make_unique<CError>(QStringLiteral("Tabulon"));
  const app::ErrorReport report = app::ReportWithErrorDisplay(
      *gError, QStringLiteral("There was an error launching this application. Please try again."),
      platform::vbCritical);
  app::Guarded(
      [] {
        gApp = std::make_unique<CApplication>();
        gFile = std::make_unique<CFile>();
        platform::SetMousePointer(platform::vbHourglass);
        gApp->SetUserName(platform::LoginName());
        gApp->Startup();
        gMainWindow = new frmTabulon();
        gMainWindow->setAttribute(Qt::WA_DeleteOnClose);
        gMainWindow->Load();
        gMainWindow->show();
        platform::SetMousePointer(platform::vbDefault);
      },
      report);
  // A load that failed half-way still leaves a window from which another
  // database can be opened.
  if (gMainWindow && !gMainWindow->isVisible()) gMainWindow->show();
  platform::SetMousePointer(platform::vbDefault);
}

}  // namespace MMain
