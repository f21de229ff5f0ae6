// A second copy hands over to the running one: the running window comes
// back from the task bar and the second copy ends at once.
#include <QCoreApplication>
#include <QElapsedTimer>

#include "app/frm_tabulon.h"
#include "app/mglobals.h"
#include "shell_fixture.h"

namespace {

class SingleInstanceTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    gApp = std::make_unique<CApplication>();
  }
};

TEST_F(SingleInstanceTest, WithoutARunningCopyItReturnsUnderAnotherTitle) {
  gApp->ActivatePrevInstance();
  EXPECT_EQ(gApp->Title(), QStringLiteral("unwanted instance"));
}

TEST_F(SingleInstanceTest, ARunningCopyIsRestoredAndThisOneEnds) {
  gMainWindow = new frmTabulon();
  gMainWindow->showMinimized();
  ASSERT_TRUE(gMainWindow->isMinimized());

  CApplication second;
  EXPECT_THROW(second.ActivatePrevInstance(), ProgramEnded);

  QElapsedTimer waited;
  waited.start();
  while (gMainWindow->isMinimized() && waited.elapsed() < 2000) QCoreApplication::processEvents();
  EXPECT_FALSE(gMainWindow->isMinimized());
  EXPECT_TRUE(gMainWindow->isVisible());
}

}  // namespace
