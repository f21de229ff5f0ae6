// The windows with a real office behind them: one QApplication on the
// offscreen platform and one office for all tests, started here on the main
// thread because the office dies with the thread that started it.
#include <QApplication>
#include <gtest/gtest.h>

#include "platform/excel/application.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  // Nothing may open on a developer's desktop while the tests run.
  excel::Application::SetDesktopOpener([](const QString&) {});
  excel::Application::Create();
  return RUN_ALL_TESTS();
}
