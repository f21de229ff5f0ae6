// Damaged databases chosen through File > Open while a good one is open,
// the menu driven as a person drives it. Every file of the fixtures'
// hostile folder is tried, read where it lies, so a newly found one is
// checked here as soon as it is added there.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QTest>
#include <string>
#include <vector>

#include "app/frm_tabulon.h"
#include "app/mglobals.h"
#include "app/mmain.h"
#include "shell_fixture.h"

namespace {

const QString kHostileFolder = QStringLiteral(TABULON_FIXTURES "/hostile");
const QString kDatabaseError = QStringLiteral(
    "Unexpected error accessing the database.  Contact system provider if you are unable to resolve this problem.  "
    "Operation cancelled.");

std::vector<std::string> HostileFiles() {
  std::vector<std::string> names;
  for (const QString& name : QDir(kHostileFolder).entryList({QStringLiteral("*.mdb")}, QDir::Files, QDir::Name)) {
    names.push_back(name.toStdString());
  }
  return names;
}

QByteArray Contents(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class HostileFileOpenTest : public ShellTest, public ::testing::WithParamInterface<std::string> {
 protected:
  void SetUp() override {
    ShellTest::SetUp();
    database_ = CopyOfReportsDatabase();
    RecordDatabasePath(database_);
    MMain::Main();
    ASSERT_NE(gMainWindow, nullptr);
    reports_ = ListedReports();
    ASSERT_EQ(reports_.size(), 7);
  }

  // A click on the menu bar's File, then O (the Open item's mnemonic) in
  // the menu that drops down; the file dialog answers `path`.
  void OpenThroughTheFileMenu(const QString& path) {
    QMenuBar* bar = gMainWindow->menuBar();
    QAction* title = nullptr;
    for (QAction* action : bar->actions()) {
      if (action->menu() && action->menu()->actions().contains(gMainWindow->mnuFileOpen)) title = action;
    }
    ASSERT_NE(title, nullptr) << "no menu holds File > Open";
    QMenu* file = title->menu();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(gMainWindow));
    const qsizetype dialogsBefore = script.FileDialogsShown().size();
    script.AnswerFileDialog(path);
    QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(title).center());
    ASSERT_TRUE(QTest::qWaitFor([file] { return file->isVisible(); })) << "the File menu did not drop down";
    QTest::keyClick(file, Qt::Key_O);
    ASSERT_TRUE(QTest::qWaitFor([&] { return script.FileDialogsShown().size() > dialogsBefore; }))
        << "choosing Open showed no file dialog";
    EXPECT_FALSE(file->isVisible());
  }

  QString database_;
  QStringList reports_;
};

TEST_P(HostileFileOpenTest, IsRefusedWithTheDatabaseMessageAndTheOpenDatabaseStaysUntouched) {
  const QString hostile = kHostileFolder + QLatin1Char('/') + QString::fromStdString(GetParam());
  const QByteArray before = Contents(hostile);
  ASSERT_FALSE(before.isEmpty()) << hostile.toStdString();
  const QStringList folderBefore = QDir(kHostileFolder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);

  ASSERT_NO_FATAL_FAILURE(OpenThroughTheFileMenu(hostile));

  ASSERT_EQ(script.MessageBoxes().size(), 1) << BoxPrompts().join(QStringLiteral(" | ")).toStdString();
  EXPECT_EQ(script.MessageBoxes()[0].prompt, kDatabaseError);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Excel Export Assistant"));
  ASSERT_NE(gMainWindow, nullptr);
  EXPECT_TRUE(gMainWindow->isVisible());
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + database_);
  EXPECT_EQ(ListedReports(), reports_);
  ASSERT_NE(gDatabase, nullptr);
  EXPECT_EQ(gDatabase->Name(), database_);
  EXPECT_TRUE(Contents(hostile) == before) << "the damaged file was changed";
  EXPECT_EQ(QDir(kHostileFolder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), folderBefore)
      << "files were left beside the damaged one";

  // The program goes on: the same menu still opens a good database.
  const QString second = CopyOfReportsDatabase(QStringLiteral("second.mdb"));
  ASSERT_NO_FATAL_FAILURE(OpenThroughTheFileMenu(second));
  EXPECT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + second);
  EXPECT_EQ(ListedReports(), reports_);
}

INSTANTIATE_TEST_SUITE_P(Fixtures, HostileFileOpenTest, ::testing::ValuesIn(HostileFiles()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           return QFileInfo(QString::fromStdString(info.param))
                               .completeBaseName()
                               .replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9]")), QStringLiteral("_"))
                               .toStdString();
                         });

}  // namespace
