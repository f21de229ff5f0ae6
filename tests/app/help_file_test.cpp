// Where the program looks for its help: beside itself in the build tree, and
// in the data folder of whatever prefix it was installed under.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "app/capplication.h"

namespace {

class HelpFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(prefix_.isValid());
    ASSERT_TRUE(QDir().mkpath(ProgramFolder()));
  }

  QString ProgramFolder() const { return prefix_.filePath(QStringLiteral(TABULON_INSTALL_BINDIR)); }
  QString Beside() const { return ProgramFolder() + QStringLiteral("/tabulon.html"); }
  QString Installed() const {
    return prefix_.filePath(QStringLiteral(TABULON_INSTALL_DATADIR "/tabulon/tabulon.html"));
  }

  static void Touch(const QString& path) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }

  QTemporaryDir prefix_{QStringLiteral(HELP_TEST_SCRATCH "/help_file_test-XXXXXX")};
};

TEST_F(HelpFileTest, TheHelpBesideTheProgramIsTakenFirstAsInTheBuildTree) {
  Touch(Beside());
  EXPECT_EQ(app::FindHelpFile(ProgramFolder()), Beside());
  // A copy installed under the same prefix does not hide the one being built.
  Touch(Installed());
  EXPECT_EQ(app::FindHelpFile(ProgramFolder()), Beside());
}

TEST_F(HelpFileTest, AnInstalledProgramFindsTheHelpInItsPrefixsDataFolder) {
  Touch(Installed());
  // The program folder as CApplication::Path gives it, with its separator,
  // and without; the answer is a plain path, fit for a message to the user.
  for (const QString& folder : {ProgramFolder() + QDir::separator(), ProgramFolder()}) {
    SCOPED_TRACE(folder.toStdString());
    const QString help = app::FindHelpFile(folder);
    EXPECT_EQ(help, Installed());
    EXPECT_TRUE(QFile::exists(help));
    EXPECT_FALSE(help.contains(QStringLiteral("..")));
  }
}

TEST_F(HelpFileTest, WithNoHelpAnywhereTheAnswerIsWhereAnInstallPutsIt) {
  EXPECT_EQ(app::FindHelpFile(ProgramFolder()), Installed());
}

}  // namespace
