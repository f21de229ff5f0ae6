#include "platform/ui/desktop_window.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QScreen>
#include <QUrl>
#include <QWidget>
#include <cmath>

namespace platform {
namespace {

constexpr double kTwipsPerInch = 1440.0;

}  // namespace

double TwipsPerPixel(const QWidget& window) {
  const QScreen* screen = window.screen();
  const double dotsPerInch = screen != nullptr ? screen->logicalDotsPerInchX() : 96.0;
  return kTwipsPerInch / (dotsPerInch > 0 ? dotsPerInch : 96.0);
}

void OnTop(QWidget* window, bool on) {
  if (window == nullptr) return;
  const bool wasVisible = window->isVisible();
  const QRect geometry = window->geometry();
  const bool showedWithoutActivating = window->testAttribute(Qt::WA_ShowWithoutActivating);
  // Changing window flags recreates the window hidden; show it again as it was.
  window->setWindowFlag(Qt::WindowStaysOnTopHint, on);
  if (!wasVisible) return;
  window->setAttribute(Qt::WA_ShowWithoutActivating, true);
  window->setGeometry(geometry);
  window->show();
  window->setAttribute(Qt::WA_ShowWithoutActivating, showedWithoutActivating);
}

bool DisplayHelp(QWidget* /*window*/, const QString& helpFile, int /*command*/) {
  if (!QFileInfo(helpFile).isFile()) return false;
  return QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(helpFile).absoluteFilePath()));
}

WindowPlacement PlacementInTwips(const QWidget& window) {
  const double scale = TwipsPerPixel(window);
  const QRect frame = window.frameGeometry();
  return {static_cast<float>(std::round(frame.x() * scale)), static_cast<float>(std::round(frame.y() * scale)),
          static_cast<float>(std::round(frame.width() * scale)),
          static_cast<float>(std::round(frame.height() * scale))};
}

void ApplyPlacementInTwips(QWidget& window, const WindowPlacement& placement) {
  const double scale = TwipsPerPixel(window);
  // The stored size is the outer one; the frame's share is not ours to set.
  const QSize frameExtra = window.frameGeometry().size() - window.geometry().size();
  window.move(static_cast<int>(std::lround(placement.left / scale)),
              static_cast<int>(std::lround(placement.top / scale)));
  window.resize(static_cast<int>(std::lround(placement.width / scale)) - frameExtra.width(),
                static_cast<int>(std::lround(placement.height / scale)) - frameExtra.height());
}

}  // namespace platform
