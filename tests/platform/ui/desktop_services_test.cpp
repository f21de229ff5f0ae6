#include <gtest/gtest.h>

#include <QClipboard>
#include <QDesktopServices>
#include <QFile>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProcess>
#include <QPushButton>
#include <QTemporaryDir>
#include <QUrl>
#include <QVBoxLayout>

#include "modal_driver.h"
#include "platform/errors/app_error.h"
#include "platform/ui/clipboard_edit.h"
#include "platform/ui/desktop_window.h"
#include "platform/ui/login_name.h"
#include "platform/ui/mouse_pointer.h"

using namespace platform;

namespace {

// Receives what the desktop would have been asked to open.
class UrlCatcher : public QObject {
  Q_OBJECT
 public:
  QList<QUrl> opened;
 public slots:
  void open(const QUrl& url) { opened.append(url); }
};

void ExpectError(const std::function<void()>& operation, int number, const QString& source) {
  try {
    operation();
    ADD_FAILURE() << "no error from " << source.toStdString();
  } catch (const AppError& error) {
    EXPECT_EQ(error.Number(), number);
    EXPECT_EQ(error.Source(), source);
  }
}

}  // namespace

TEST(MousePointer, IsOneSettingNotAStack) {
  EXPECT_EQ(MousePointer(), vbDefault);
  SetMousePointer(vbHourglass);
  SetMousePointer(vbHourglass);
  EXPECT_EQ(MousePointer(), vbHourglass);
  SetMousePointer(vbDefault);
  EXPECT_EQ(MousePointer(), vbDefault);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  {
    WaitCursor busy;
    EXPECT_EQ(MousePointer(), vbHourglass);
    { WaitCursor inner; }
    EXPECT_EQ(MousePointer(), vbHourglass);
  }
  EXPECT_EQ(MousePointer(), vbDefault);
}

TEST(LoginName, IsTheProcessOwnerWithinTheBuffer) {
  QProcess whoami;
  whoami.start(QStringLiteral("id"), {QStringLiteral("-un")});
  ASSERT_TRUE(whoami.waitForFinished());
  const QString owner = QString::fromLocal8Bit(whoami.readAllStandardOutput()).trimmed();
  EXPECT_EQ(LoginName(), owner.size() < 25 ? owner : QString());

  EXPECT_EQ(LoginNameFittingBuffer(QByteArray(24, 'a')), QString(24, QLatin1Char('a')));
  EXPECT_EQ(LoginNameFittingBuffer(QByteArray(25, 'a')), QString());
  EXPECT_EQ(LoginNameFittingBuffer(QByteArray("ann\0rest", 8)), QStringLiteral("ann"));
  EXPECT_EQ(LoginNameFittingBuffer(QByteArray()), QString());
}

TEST(ClipboardEdit, CopyCutAndPasteTheFocusedSelection) {
  QWidget window;
  auto* layout = new QVBoxLayout(&window);
  auto* name = new QLineEdit(QStringLiteral("O'Neil catch"));
  auto* notes = new QPlainTextEdit(QStringLiteral("line one\nline two"));
  auto* button = new QPushButton(QStringLiteral("OK"));
  layout->addWidget(name);
  layout->addWidget(notes);
  layout->addWidget(button);
  window.show();
  QApplication::setActiveWindow(&window);

  name->setFocus();
  name->setSelection(0, 6);
  EditCopy();
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("O'Neil"));
  EditCut();
  EXPECT_EQ(name->text(), QStringLiteral(" catch"));
  name->setCursorPosition(6);
  EditPaste();
  EXPECT_EQ(name->text(), QStringLiteral(" catchO'Neil"));

  notes->setFocus();
  notes->selectAll();
  EditCopy();
  EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("line one\nline two"));

  // A control without text to select is the error the caller reports.
  button->setFocus();
  ExpectError(EditCopy, kObjectErrorBase + 515, QStringLiteral("CWindow::EditCopy"));
  ExpectError(EditCut, kObjectErrorBase + 515, QStringLiteral("CWindow::EditCut"));
  ExpectError(EditPaste, kObjectErrorBase + 516, QStringLiteral("CWindow::EditPaste"));
}

TEST(DesktopWindow, OnTopChangesOnlyTheStacking) {
  QWidget window;
  window.setGeometry(40, 50, 300, 200);
  window.show();
  const QRect before = window.geometry();
  OnTop(&window, true);
  EXPECT_TRUE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(window.geometry(), before);
  OnTop(&window, false);
  EXPECT_FALSE(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_TRUE(window.isVisible());

  QWidget hidden;
  OnTop(&hidden, true);
  EXPECT_FALSE(hidden.isVisible());
  EXPECT_TRUE(hidden.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
}

TEST(DesktopWindow, HelpOpensTheFileWithTheDesktop) {
  UrlCatcher desktop;
  QDesktopServices::setUrlHandler(QStringLiteral("file"), &desktop, "open");
  QTemporaryDir folder;
  const QString helpFile = folder.path() + QStringLiteral("/tabulon.html");
  QFile file(helpFile);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.close();

  EXPECT_TRUE(DisplayHelp(nullptr, helpFile));
  EXPECT_FALSE(DisplayHelp(nullptr, folder.path() + QStringLiteral("/missing.html")));
  QDesktopServices::unsetUrlHandler(QStringLiteral("file"));
  ASSERT_EQ(desktop.opened.size(), 1);
  EXPECT_EQ(desktop.opened.first(), QUrl::fromLocalFile(helpFile));
}

TEST(DesktopWindow, PlacementRoundTripsInTwips) {
  QWidget window;
  window.show();
  const double twipsPerPixel = 1440.0 / window.screen()->logicalDotsPerInchX();
  ApplyPlacementInTwips(window, {1000, 1000, 6500, 6500});
  const WindowPlacement placement = PlacementInTwips(window);
  // Whole pixels: within one pixel's worth of twips.
  EXPECT_NEAR(placement.left, 1000, twipsPerPixel);
  EXPECT_NEAR(placement.top, 1000, twipsPerPixel);
  EXPECT_NEAR(placement.width, 6500, twipsPerPixel);
  EXPECT_NEAR(placement.height, 6500, twipsPerPixel);
  EXPECT_NEAR(window.frameGeometry().width(), 6500 / twipsPerPixel, 1);
}

#include "desktop_services_test.moc"
