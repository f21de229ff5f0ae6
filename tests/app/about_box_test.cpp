// The About box: the application's description, and what the program runs
// on in a window of its own.
#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include "app/frm_about_qor.h"
#include "app/mglobals.h"
#include "shell_fixture.h"

namespace {

class AboutBoxTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    gApp = std::make_unique<CApplication>();
  }
};

TEST_F(AboutBoxTest, ShowsTheVersionAndListsTheSystemsVersionsInAWindow) {
  frmAboutQor about;
  QStringList labels;
  for (const QLabel* label : about.findChildren<QLabel*>()) labels << label->text();
  EXPECT_TRUE(labels.contains(gApp->Version())) << labels.join('|').toStdString();
  EXPECT_TRUE(gApp->Version().startsWith(QStringLiteral("Version: ")));

  QString shown;
  QTimer::singleShot(0, [&shown] {
    auto* window = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
    if (!window) return;
    shown = window->text();
    window->accept();
  });
  about.cmdSysInfo->click();

  EXPECT_TRUE(script.MessageBoxes().isEmpty());
  EXPECT_TRUE(shown.contains(QStringLiteral("Qt: ") + QString::fromLatin1(qVersion()))) << shown.toStdString();
  EXPECT_TRUE(shown.contains(QStringLiteral("Operating system: "))) << shown.toStdString();
  EXPECT_TRUE(shown.contains(QStringLiteral("Office: LibreOffice"))) << shown.toStdString();
  EXPECT_TRUE(shown.contains(QStringLiteral("Database engine: "))) << shown.toStdString();
}

}  // namespace
