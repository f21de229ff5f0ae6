#include "shell_fixture.h"

#include <QFile>
#include <QListWidget>
#include <QStandardPaths>

#include "app/end_program.h"
#include "app/frm_tabulon.h"
#include "app/mglobals.h"
#include "platform/ui/mouse_pointer.h"

namespace {

void ForgetSharedObjects() {
  delete gMainWindow;
  gMainWindow = nullptr;
  gDatabase.reset();
  gWorkspace = nullptr;
  gDatabaseLoaded = false;
  gRegistry.reset();
  gFile.reset();
  gApp.reset();
  gError.reset();
  platform::SetMousePointer(platform::vbDefault);
}

}  // namespace

void ShellTest::SetUp() {
  ASSERT_TRUE(temp_.isValid());
  qputenv("XDG_CONFIG_HOME", QFile::encodeName(temp_.filePath(QStringLiteral("config"))));
  ForgetSharedObjects();
  platform::setDialogs(&script);
  app::SetEndProgramHandler([] { throw ProgramEnded{}; });
}

void ShellTest::TearDown() {
  ForgetSharedObjects();
  app::SetEndProgramHandler(nullptr);
  platform::setDialogs(nullptr);
  EXPECT_EQ(script.PendingAnswers(), 0);
}

void ShellTest::RecordDatabasePath(const QString& path) {
  CRegistry family;
  family.SetRegMainKey(QString::fromLatin1(kFamilyMainKey));
  family.WriteRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), path);
}

QString ShellTest::CopyOfReportsDatabase(const QString& name) {
  const QString copy = temp_.filePath(name);
  EXPECT_TRUE(QFile::copy(QStringLiteral(TABULON_FIXTURES "/jet/reports-northwind.mdb"), copy));
  QFile(copy).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  return copy;
}

QStringList ShellTest::ListedReports() {
  QStringList listed;
  for (int i = 0; i < gMainWindow->lstAvailableQueries->count(); ++i) {
    const QListWidgetItem* item = gMainWindow->lstAvailableQueries->item(i);
    listed << item->text() + QStringLiteral("=") + item->data(Qt::UserRole).toString();
  }
  return listed;
}

QStringList ShellTest::BoxPrompts() const {
  QStringList prompts;
  for (const auto& box : script.MessageBoxes()) prompts << box.prompt;
  return prompts;
}
