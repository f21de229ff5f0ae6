// The editors' journey into a workbook: one QApplication on the offscreen
// platform and one office, started on the main thread, which it dies with.
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
