#include "platform/ui/mouse_pointer.h"

#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>

namespace platform {

void SetMousePointer(int shape) {
  if (qGuiApp == nullptr) return;
  if (shape == vbHourglass) {
    if (QGuiApplication::overrideCursor() == nullptr) {
      QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
    } else {
      QGuiApplication::changeOverrideCursor(QCursor(Qt::WaitCursor));
    }
    return;
  }
  while (QGuiApplication::overrideCursor() != nullptr) QGuiApplication::restoreOverrideCursor();
}

int MousePointer() {
  if (qGuiApp == nullptr) return vbDefault;
  const QCursor* cursor = QGuiApplication::overrideCursor();
  return cursor != nullptr && cursor->shape() == Qt::WaitCursor ? vbHourglass : vbDefault;
}

WaitCursor::WaitCursor() : previous_(MousePointer()) { SetMousePointer(vbHourglass); }

WaitCursor::~WaitCursor() { SetMousePointer(previous_); }

void LetWindowsPaint() { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); }

}  // namespace platform
