#include <QFileInfo>
#include <gtest/gtest.h>

#include "platform/excel/desktop_opener.h"

// The finished workbook goes to the desktop's handler when there is one, and
// to a window of the installed office when there is none.
TEST(DesktopOpener, TheHandlerWhenThereIsOneElseTheInstalledOffice) {
  const excel::OpenCommand handler = excel::CommandToOpen(QStringLiteral("/tmp/w.xls"), QStringLiteral("/usr/bin/xdg-open"));
  EXPECT_EQ(handler.program, QStringLiteral("/usr/bin/xdg-open"));
  EXPECT_EQ(handler.arguments, QStringList{QStringLiteral("/tmp/w.xls")});

  const excel::OpenCommand office = excel::CommandToOpen(QStringLiteral("/tmp/w.xls"), QString());
  EXPECT_TRUE(QFileInfo(office.program).isExecutable()) << office.program.toStdString();
  EXPECT_EQ(office.arguments.last(), QStringLiteral("/tmp/w.xls"));
  EXPECT_FALSE(office.arguments.contains(QStringLiteral("--headless")));
}
