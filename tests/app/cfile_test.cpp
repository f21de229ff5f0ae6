// CFile's dialogs: the save-as question about an existing file, and the
// start folder an open dialog is given.
#include <QFile>

#include "app/cfile.h"
#include "app/mglobals.h"
#include "shell_fixture.h"

namespace {

class CFileTest : public ShellTest {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    gApp = std::make_unique<CApplication>();
  }
  CFile file;
};

TEST_F(CFileTest, SaveAsAsksAgainForAnExistingNameAndACancelLeavesTheNameEmpty) {
  const QString existing = CopyOfReportsDatabase(QStringLiteral("taken.mdb"));
  script.AnswerFileDialog(existing);
  script.AnswerFileDialog(QStringLiteral("  ") + TempFile(QStringLiteral("new.mdb")) + QStringLiteral(" "));
  QString name = existing;
  file.FileSaveAs(name, QStringLiteral("Save Database As"), QStringLiteral("Access Database (*.mdb)|*.mdb"));

  EXPECT_EQ(name, TempFile(QStringLiteral("new.mdb")));
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt, QStringLiteral("The filename you have selected already exists. Please "
                                                             "enter a new filename for the Database."));
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Duplication error"));
  EXPECT_EQ(script.MessageBoxes()[0].style, 64);
  ASSERT_EQ(script.FileDialogsShown().size(), 2);
  EXPECT_EQ(script.FileDialogsShown()[0].request.initialDir, CFile::FilePath(existing));
  EXPECT_EQ(script.FileDialogsShown()[0].request.fileName, QString());
  EXPECT_EQ(script.FileDialogsShown()[0].request.flags, 2048);

  script.AnswerFileDialog(std::nullopt);
  file.FileSaveAs(name, QStringLiteral("Save Database As"), QStringLiteral("Access Database (*.mdb)|*.mdb"));
  EXPECT_EQ(name, QString());
}

TEST_F(CFileTest, FolderOfAPathIsCutAtTheLastSeparatorOfEitherKind) {
  EXPECT_EQ(CFile::FilePath(QStringLiteral("C:\\Data\\Survey.mdb")), QStringLiteral("C:\\Data"));
  EXPECT_EQ(CFile::FilePath(QStringLiteral("/srv/data/survey.mdb")), QStringLiteral("/srv/data"));
  EXPECT_EQ(CFile::FilePath(QStringLiteral("survey.mdb")), QString());
}

}  // namespace
