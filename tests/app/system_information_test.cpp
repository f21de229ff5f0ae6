// The About box's system information: one line per thing the program runs
// on, and the plain message when the machine cannot tell.
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QSysInfo>
#include <QTimer>

#include "app/frm_about_qor.h"
#include "app/mglobals.h"
#include "app/system_information.h"
#include "app/version_info.h"
#include "platform/ui/mouse_pointer.h"
#include "shell_fixture.h"

namespace {

class SystemInformationTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    gApp = std::make_unique<CApplication>();
  }
  void TearDown() override {
    app::SetSystemInformationSource(nullptr);
    ShellTest::TearDown();
  }

  // Clicks the button and answers the information window, if one comes up;
  // its text, or "" when none came.
  static QString ClickSystemInfo(frmAboutQor& about) {
    QString shown;
    QTimer::singleShot(0, [&shown] {
      if (auto* window = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
        shown = window->text();
        window->accept();
      }
    });
    about.cmdSysInfo->click();
    QApplication::processEvents();
    return shown;
  }
};

TEST_F(SystemInformationTest, WhenNothingCanBeGatheredOnePlainBoxSaysSo) {
  app::SetSystemInformationSource([] { return std::optional<QString>(); });
  frmAboutQor about;

  const QString window = ClickSystemInfo(about);

  EXPECT_EQ(window, QString());
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt, QStringLiteral("System Information Is Unavailable At This Time"));
  EXPECT_EQ(script.MessageBoxes()[0].style, platform::vbOKOnly);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Tabulon"));
  EXPECT_EQ(platform::MousePointer(), platform::vbDefault);
}

TEST_F(SystemInformationTest, ByDefaultTheSystemQtOfficeAndEngineVersionsAreListedInThatOrder) {
  const std::optional<QString> info = app::SystemInformation();

  ASSERT_TRUE(info.has_value());
  const QStringList lines = info->split(QLatin1Char('\n'));
  ASSERT_EQ(lines.size(), 4) << info->toStdString();
  EXPECT_TRUE(lines[0].startsWith(QStringLiteral("Operating system: ") + QSysInfo::prettyProductName()))
      << lines[0].toStdString();
  EXPECT_TRUE(lines[0].contains(QSysInfo::kernelVersion())) << lines[0].toStdString();
  EXPECT_EQ(lines[1], QStringLiteral("Qt: ") + QString::fromLatin1(qVersion()));
  EXPECT_TRUE(lines[2].contains(QRegularExpression(QStringLiteral("^Office: LibreOffice \\d+\\.\\d+"))))
      << lines[2].toStdString();
  EXPECT_EQ(lines[3], QStringLiteral("Database engine: Tabulon Jet engine %1.%2.%3")
                          .arg(TABULON_VERSION_MAJOR)
                          .arg(TABULON_VERSION_MINOR)
                          .arg(TABULON_VERSION_REVISION));
}

}  // namespace
