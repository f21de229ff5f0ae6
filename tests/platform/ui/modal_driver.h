// Acts on the next modal window once it is on screen, the way a person
// would, while the code under test waits in the window's own event loop.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

// `act` runs on the first modal window other than `besides`; after five
// seconds without one the test fails and the window still open is rejected.
inline void WhenModalShows(std::function<void(QWidget*)> act, QWidget* besides = nullptr) {
  auto* timer = new QTimer;
  auto* clock = new QElapsedTimer;
  clock->start();
  QPointer<QWidget> skip(besides);
  QObject::connect(timer, &QTimer::timeout, [timer, clock, skip, act] {
    QWidget* modal = QApplication::activeModalWidget();
    if (modal != nullptr && modal != skip && modal->isVisible()) {
      timer->stop();
      timer->deleteLater();
      delete clock;
      act(modal);
    } else if (clock->elapsed() > 5000) {
      timer->stop();
      timer->deleteLater();
      delete clock;
      ADD_FAILURE() << "no modal window appeared";
      if (modal != nullptr) modal->close();
    }
  });
  timer->start(10);
}
