// imgSplitter: the invisible strip between the trees and the lists that the
// user drags. It hands its mouse to the window in twips from its own left.
#pragma once

#include <QWidget>
#include <functional>

namespace assistant {

class SplitterHandle : public QWidget {
 public:
  struct Handlers {
    std::function<void()> down;
    std::function<void(float twipsFromLeft)> move;
    std::function<void()> up;
  };
  SplitterHandle(QWidget* parent, Handlers handlers, std::function<float()> twipsPerPixel);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  Handlers handlers_;
  std::function<float()> twipsPerPixel_;
};

}  // namespace assistant
