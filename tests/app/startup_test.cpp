// From an empty process to the main window: which database is opened, what
// the person is asked when none is recorded, and what a bad choice gives.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <functional>
#include <random>
#include <QListWidget>

#include "app/frm_tabulon.h"
#include "app/mglobals.h"
#include "app/mmain.h"
#include "platform/ui/login_name.h"
#include "platform/ui/mouse_pointer.h"
#include "shell_fixture.h"

using platform::ScriptedDialogs;

namespace {

const QStringList kFixtureReports = {
    QStringLiteral("Broken Parameters=5"), QStringLiteral("Contacts=2"),      QStringLiteral("Empty Report=4"),
    QStringLiteral("Missing Query=6"),     QStringLiteral("O'Neil catch=3"),  QStringLiteral("Quarterly=7"),
    QStringLiteral("Sales Review=1")};
constexpr int kExitQuestionStyle = 292;

class StartupTest : public ShellTest {
 protected:
  void ExpectDatabaseDialogs(int count, const QString& initialDir) {
    ASSERT_EQ(script.FileDialogsShown().size(), count);
    for (const auto& shown : script.FileDialogsShown()) {
      EXPECT_EQ(shown.kind, ScriptedDialogs::FileDialogKind::kOpen);
      EXPECT_EQ(shown.request.title, QStringLiteral("Location of database"));
      EXPECT_EQ(shown.request.filter, QStringLiteral("Access Database (*.mdb)|*.mdb"));
      EXPECT_EQ(shown.request.initialDir, initialDir);
    }
  }
  void ExpectExitQuestions(int count) {
    ASSERT_EQ(script.MessageBoxes().size(), count);
    for (const auto& box : script.MessageBoxes()) {
      EXPECT_EQ(box.prompt, QStringLiteral("Exit?"));
      EXPECT_EQ(box.style, kExitQuestionStyle);
      EXPECT_EQ(box.title, QStringLiteral("Tabulon"));
    }
  }
};

TEST_F(StartupTest, RecordedDatabaseIsOpenedAndItsReportsListedByName) {
  const QString database = CopyOfReportsDatabase();
  RecordDatabasePath(database);

  MMain::Main();

  EXPECT_TRUE(script.MessageBoxes().isEmpty());
  EXPECT_TRUE(script.FileDialogsShown().isEmpty());
  ASSERT_NE(gMainWindow, nullptr);
  EXPECT_TRUE(gMainWindow->isVisible());
  EXPECT_EQ(ListedReports(), kFixtureReports);
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + database);
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("User")), QStringLiteral("User: ") + platform::LoginName());
  EXPECT_TRUE(gDatabaseLoaded);
  EXPECT_EQ(gFile->CurrentFile(), database);
  EXPECT_EQ(gApp->UserName(), platform::LoginName());
  EXPECT_EQ(platform::MousePointer(), platform::vbDefault);
}

// As the file manager starts it: the named file for this session, the
// recorded one left as it was.
TEST_F(StartupTest, ADatabaseNamedOnTheCommandLineOpensForThisSessionOnly) {
  const QString recorded = CopyOfReportsDatabase();
  RecordDatabasePath(recorded);
  const QString named = TempFile(QStringLiteral("named.mdb"));
  ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), named));
  QFile(named).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  gCommandLineDatabase = named;

  MMain::Main();
  gCommandLineDatabase.clear();

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << BoxPrompts().join('|').toStdString();
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + named);
  EXPECT_EQ(ListedReports().size(), 4);
  EXPECT_EQ(gRegistry->ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")), recorded);
}

// The database ./run records on a first start.
TEST_F(StartupTest, TheBundledSampleDatabaseOpensWithItsReports) {
  const QString sample = TempFile(QStringLiteral("survey.mdb"));
  ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), sample));
  QFile(sample).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  RecordDatabasePath(sample);

  MMain::Main();

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << BoxPrompts().join('|').toStdString();
  EXPECT_EQ(ListedReports(), (QStringList{QStringLiteral("Effort=3"), QStringLiteral("Estimates=4"),
                                          QStringLiteral("Site summary=2"), QStringLiteral("Weekly catch=1")}));
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QStringLiteral("Source: ") + sample);
  EXPECT_TRUE(gDatabaseLoaded);
}

TEST_F(StartupTest, WithoutARecordedDatabaseCancellingAsksExitUntilYesEndsTheProgram) {
  script.AnswerFileDialog(std::nullopt);
  script.AnswerMessageBox(platform::vbNo);
  script.AnswerFileDialog(std::nullopt);
  script.AnswerMessageBox(platform::vbYes);

  EXPECT_THROW(MMain::Main(), ProgramEnded);

  ExpectDatabaseDialogs(2, QString());
  ExpectExitQuestions(2);
  ASSERT_NE(gMainWindow, nullptr);
  EXPECT_FALSE(gMainWindow->isVisible());
}

TEST_F(StartupTest, WithoutARecordedDatabaseNoAsksAgainAndTheChosenFileIsOpenedButNotRecorded) {
  const QString database = CopyOfReportsDatabase();
  script.AnswerFileDialog(std::nullopt);
  script.AnswerMessageBox(platform::vbNo);
  script.AnswerFileDialog(database);

  MMain::Main();

  ExpectDatabaseDialogs(2, QString());
  ExpectExitQuestions(1);
  EXPECT_EQ(ListedReports(), kFixtureReports);
  EXPECT_TRUE(gDatabaseLoaded);
  EXPECT_EQ(gRegistry->ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")), QString());
}

TEST_F(StartupTest, ShortRecordedPathIsAskedForAndAShortChoiceLeavesAnEmptyWindow) {
  RecordDatabasePath(QStringLiteral("C:"));
  script.AnswerFileDialog(QStringLiteral("ab"));

  MMain::Main();

  ExpectDatabaseDialogs(1, QStringLiteral("C:"));
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt, QStringLiteral("Please locate a valid Access database"));
  EXPECT_EQ(script.MessageBoxes()[0].style, platform::vbExclamation);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Tabulon"));
  EXPECT_TRUE(gMainWindow->isVisible());
  EXPECT_EQ(gMainWindow->lstAvailableQueries->count(), 0);
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QString());
  EXPECT_FALSE(gDatabaseLoaded);
}

TEST_F(StartupTest, OneCharacterRecordedFolderIsNotOfferedAsTheStartFolder) {
  RecordDatabasePath(QStringLiteral("C"));
  script.AnswerFileDialog(QStringLiteral("x"));

  MMain::Main();

  ExpectDatabaseDialogs(1, QString());
  EXPECT_EQ(BoxPrompts(), QStringList{QStringLiteral("Please locate a valid Access database")});
}

// What start-up leaves when the recorded database cannot be opened: the
// one launch error with the engine's reason, and a window without a list.
void ExpectLaunchErrorAndAnEmptyWindow(const platform::ScriptedDialogs& script) {
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  const auto& box = script.MessageBoxes()[0];
  const QString launch = QStringLiteral("There was an error launching this application. Please try again.");
  EXPECT_TRUE(box.prompt.startsWith(launch)) << box.prompt.toStdString();
  const qsizetype reason = box.prompt.indexOf(QStringLiteral("System Description: ")) + 20;
  const qsizetype reasonEnd = box.prompt.indexOf(QStringLiteral("\r\n\r\nPlease contact"));
  EXPECT_GT(reasonEnd, reason) << "no reason given: " << box.prompt.toStdString();
  EXPECT_EQ(box.style, platform::vbCritical);
  EXPECT_EQ(box.title, QStringLiteral("Tabulon"));
  EXPECT_TRUE(script.FileDialogsShown().isEmpty());
  ASSERT_NE(gMainWindow, nullptr);
  EXPECT_TRUE(gMainWindow->isVisible());
  EXPECT_EQ(gMainWindow->lstAvailableQueries->count(), 0);
  EXPECT_EQ(gMainWindow->PanelText(QStringLiteral("Source")), QString());
  EXPECT_FALSE(gDatabaseLoaded);
  EXPECT_EQ(platform::MousePointer(), platform::vbDefault);
}

TEST_F(StartupTest, MissingRecordedDatabaseIsReportedOnceAndNotCreated) {
  const QString missing = TempFile(QStringLiteral("moved-away.mdb"));
  RecordDatabasePath(missing);

  MMain::Main();

  ExpectLaunchErrorAndAnEmptyWindow(script);
  EXPECT_FALSE(QFile::exists(missing));
}

// Files named .mdb that are not whole databases.
struct DamagedFile {
  const char* name;
  std::function<QByteArray()> bytes;
};

QByteArray SeededRandomBytes(int size) {
  std::mt19937 generator(20261122);
  QByteArray bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(generator() & 0xff);
  return bytes;
}

QByteArray StartOfTheReportsFixture(int size) {
  QFile fixture(QStringLiteral(TABULON_FIXTURES "/jet/reports-northwind.mdb"));
  if (!fixture.open(QIODevice::ReadOnly)) return {};
  return fixture.read(size);
}

const DamagedFile kDamagedFiles[] = {
    {"OneRepeatedByte", [] { return QByteArray(4096, '\x5a'); }},
    {"RandomBytes", [] { return SeededRandomBytes(16384); }},
    {"Empty", [] { return QByteArray(); }},
    {"HeaderPageOnly", [] { return StartOfTheReportsFixture(4096); }},
    {"CutAfterTheCatalogue", [] { return StartOfTheReportsFixture(64 * 4096); }},
};

class DamagedDatabaseStartupTest : public StartupTest, public ::testing::WithParamInterface<DamagedFile> {};

TEST_P(DamagedDatabaseStartupTest, IsReportedOnceTheWindowStillOpensAndTheFileIsLeftAsItWas) {
  const QByteArray bytes = GetParam().bytes();
  const QString damaged = TempFile(QStringLiteral("damaged.mdb"));
  QFile file(damaged);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  ASSERT_EQ(file.write(bytes), bytes.size());
  file.close();
  RecordDatabasePath(damaged);

  MMain::Main();

  ExpectLaunchErrorAndAnEmptyWindow(script);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_TRUE(file.readAll() == bytes) << "the damaged file was changed";
  EXPECT_EQ(QDir(QFileInfo(damaged).path()).entryList({QStringLiteral("damaged*")}, QDir::Files),
            QStringList{QStringLiteral("damaged.mdb")});
}

INSTANTIATE_TEST_SUITE_P(Files, DamagedDatabaseStartupTest, ::testing::ValuesIn(kDamagedFiles),
                         [](const ::testing::TestParamInfo<DamagedFile>& info) { return info.param.name; });

}  // namespace
