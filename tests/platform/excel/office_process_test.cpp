#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>

#include "office_test_support.h"
#include "platform/errors/app_error.h"
#include "platform/excel/application.h"

TEST(OfficeProcess, ReusedWhileAliveReplacedWhenKilledOrHung) {
  auto first = excel::Application::Create();
  auto second = excel::Application::Create();
  const long pid = first->OfficePid();
  ASSERT_GT(pid, 0);
  EXPECT_EQ(second->OfficePid(), pid) << "one office serves every application object";
  EXPECT_EQ(::getpgid(pid), pid) << "the office leads its own process group";

  // An office killed from outside: the next application gets a new one.
  ::kill(-pid, SIGKILL);
  QElapsedTimer wait;
  wait.start();
  while (first->IsAlive() && wait.elapsed() < 5000) {}
  EXPECT_FALSE(first->IsAlive());
  auto third = excel::Application::Create();
  EXPECT_TRUE(third->IsAlive());
  EXPECT_NE(third->OfficePid(), pid);
  EXPECT_EQ(third->Workbooks().Add().Worksheets().Count(), 3);

  // An office that hangs: the watchdog kills it and the call fails instead of blocking.
  auto book = third->Workbooks().Add(FixturePath("calamine-vba.xls"));
  book.AddCodeModule(QStringLiteral("Spin"), QStringLiteral("Sub Forever()\n  Do\n  Loop\nEnd Sub\n"));
  qputenv("TABULON_OFFICE_CALL_LIMIT", "3");
  QElapsedTimer timer;
  timer.start();
  int number = 0;
  try {
    third->Run(QStringLiteral("Spin.Forever"));
  } catch (const platform::AppError& e) {
    number = e.Number();
  }
  qunsetenv("TABULON_OFFICE_CALL_LIMIT");
  EXPECT_EQ(number, static_cast<int>(0x800706BEu));
  EXPECT_LT(timer.elapsed(), 20000);
  EXPECT_FALSE(third->IsAlive());

  // The next office starts from an empty cache folder: a first start with a
  // new profile (the office may ask for its one restart) and our settings in it.
  static QTemporaryDir cache;  // lives as long as the office that uses it
  qputenv("XDG_CACHE_HOME", cache.path().toLocal8Bit());
  auto fresh = excel::Application::Create();
  qunsetenv("XDG_CACHE_HOME");
  EXPECT_TRUE(fresh->IsAlive()) << "and the next run starts a new office";
  QFile settings(cache.filePath("Tabulon/office-profile-0/user/registrymodifications.xcu"));
  ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
  EXPECT_TRUE(settings.readAll().contains("/org.openoffice.Office.Calc/Filter/Import/VBA"));
  EXPECT_EQ(fresh->Workbooks().Add(FixturePath("calamine-vba.xls")).Worksheets().Count(), 3);
}
