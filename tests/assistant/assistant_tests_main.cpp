// The Export Assistant's tests: one QApplication on the offscreen platform.
#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
