#include "assistant/splitter_handle.h"

#include <QMouseEvent>

namespace assistant {

SplitterHandle::SplitterHandle(QWidget* parent, Handlers handlers, std::function<float()> twipsPerPixel)
    : QWidget(parent), handlers_(std::move(handlers)), twipsPerPixel_(std::move(twipsPerPixel)) {
  setCursor(Qt::SplitHCursor);
  setAttribute(Qt::WA_NoSystemBackground);
}

void SplitterHandle::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) handlers_.down();
}

void SplitterHandle::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() & Qt::LeftButton) handlers_.move(static_cast<float>(event->position().x()) * twipsPerPixel_());
}

void SplitterHandle::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) handlers_.up();
}

}  // namespace assistant
