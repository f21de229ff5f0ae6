// The office suite's entry: one QCoreApplication and one office for all tests.
// The office is started here, on the main thread, because the child dies with
// the thread that started it.
#include <QCoreApplication>
#include <gtest/gtest.h>

#include "platform/excel/application.h"

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  // Nothing may open on a developer's desktop while the suite runs.
  excel::Application::SetDesktopOpener([](const QString&) {});
  excel::Application::Create();
  return RUN_ALL_TESTS();
}
