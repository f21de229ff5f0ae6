#include "platform/ui/dialogs.h"

#include "platform/errors/app_error.h"
#include "platform/ui/qt_dialogs.h"

namespace platform {
namespace {

Dialogs* installed = nullptr;

}  // namespace

std::optional<QString> AnswerToCancel(const FileDialogRequest& request) {
  if (request.cancelError) {
    throw AppError(cdlCancel, QStringLiteral("Cancel was selected."), QStringLiteral("CommonDialog"));
  }
  return std::nullopt;
}

Dialogs& dialogs() {
  static QtDialogs qtDialogs;
  return installed != nullptr ? *installed : qtDialogs;
}

void setDialogs(Dialogs* service) { installed = service; }

}  // namespace platform
