#include "platform/settings/cregistry.h"

#include <QFile>
#include <QSettings>

#include "platform/errors/app_error.h"
#include "scratch_config.h"

namespace {

const QString kFamilyKey = QStringLiteral("Software\\Varnel Technologies\\Ondara3\\");

void ExpectMainKeyError(const std::function<void()>& access) {
  try {
    access();
    ADD_FAILURE() << "no error without a main key";
  } catch (const platform::AppError& error) {
    EXPECT_EQ(error.Number(), 25000);
    EXPECT_EQ(error.Source(), QStringLiteral("Nalt_Registry"));
    EXPECT_EQ(error.Description(), QStringLiteral("The main registry key must be set before accessing the registry"));
  }
}

}  // namespace

using CRegistryTest = ScratchConfig;

TEST_F(CRegistryTest, MainKeyMustBeSetAndEndsInOneBackslash) {
  CRegistry registry;
  ExpectMainKeyError([&] { registry.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")); });
  registry.SetRegMainKey(QStringLiteral("   "));
  ExpectMainKeyError(
      [&] { registry.WriteRegistry(QStringLiteral("Tabulon"), QStringLiteral("X"), QStringLiteral("1")); });
  EXPECT_FALSE(QFile::exists(FamilyFile(QStringLiteral("Ondara3"))));

  registry.SetRegMainKey(QStringLiteral("Software\\Varnel Technologies\\Ondara3"));
  EXPECT_EQ(registry.RegMainKey(), kFamilyKey);
  registry.SetRegMainKey(kFamilyKey);
  EXPECT_EQ(registry.RegMainKey(), kFamilyKey);
  EXPECT_EQ(registry.RegRootkey(), platform::HKEY_CURRENT_USER);
}

TEST_F(CRegistryTest, ReadsGiveTheDefaultForAbsentAndEmptyValues) {
  CRegistry registry;
  registry.SetRegMainKey(kFamilyKey);
  EXPECT_EQ(registry.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")), QString());
  EXPECT_EQ(registry.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), QStringLiteral("d")),
            QStringLiteral("d"));
  // Reading creates nothing.
  EXPECT_FALSE(QFile::exists(FamilyFile(QStringLiteral("Ondara3"))));

  registry.WriteRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestReportTargetPath"), QString());
  EXPECT_EQ(registry.ReadRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestReportTargetPath"),
                                  QStringLiteral("/home")),
            QStringLiteral("/home"));
  // A section that was never written reads as absent even when the file exists.
  EXPECT_EQ(
      registry.ReadRegistry(QStringLiteral("File"), QStringLiteral("LatestReportTargetPath"), QStringLiteral("d")),
      QStringLiteral("d"));
}

TEST_F(CRegistryTest, WritesLandInTheFamilyFileAndReadBack) {
  CRegistry registry;
  registry.SetRegMainKey(kFamilyKey);
  const QString awkward = QStringLiteral("C:\\Survey, 2001\\O'Neil \"catch\"; é/ü.mdb");
  registry.WriteRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), awkward);
  EXPECT_EQ(registry.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")), awkward);

  // Other programs of the family find it where QSettings puts "Varnel
  // Technologies"/"Ondara3": one section per group.
  ASSERT_TRUE(QFile::exists(FamilyFile(QStringLiteral("Ondara3"))));
  QSettings family(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Varnel Technologies"),
                   QStringLiteral("Ondara3"));
  EXPECT_EQ(family.fileName(), FamilyFile(QStringLiteral("Ondara3")));
  EXPECT_EQ(family.value(QStringLiteral("StartUp/DatabasePath")).toString(), awkward);

  // A second object sees what the first wrote.
  CRegistry other;
  other.SetRegMainKey(kFamilyKey);
  EXPECT_EQ(other.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")), awkward);
}

TEST_F(CRegistryTest, ValuesLongerThan2047CharactersDoNotReadBack) {
  CRegistry registry;
  registry.SetRegMainKey(kFamilyKey);
  const QString longest(2047, QLatin1Char('x'));
  registry.WriteRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestTemplatePath"), longest);
  EXPECT_EQ(registry.ReadRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestTemplatePath")), longest);
  registry.WriteRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestTemplatePath"), longest + QLatin1Char('y'));
  EXPECT_EQ(registry.ReadRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestTemplatePath"), QStringLiteral("d")),
            QStringLiteral("d"));
}

TEST_F(CRegistryTest, RootsKeepTheirValuesApart) {
  CRegistry user;
  user.SetRegMainKey(kFamilyKey);
  user.WriteRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), QStringLiteral("/user.mdb"));

  CRegistry machine;
  machine.SetRegRootkey(platform::HKEY_LOCAL_MACHINE);
  machine.SetRegMainKey(kFamilyKey);
  EXPECT_EQ(machine.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")), QString());
  machine.WriteRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), QStringLiteral("/machine.mdb"));
  EXPECT_EQ(machine.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")),
            QStringLiteral("/machine.mdb"));
  EXPECT_EQ(user.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath")), QStringLiteral("/user.mdb"));

  // A root with no store here reads as absent and loses writes quietly.
  CRegistry classes;
  classes.SetRegRootkey(platform::HKEY_CLASSES_ROOT);
  classes.SetRegMainKey(kFamilyKey);
  classes.WriteRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), QStringLiteral("/lost.mdb"));
  EXPECT_EQ(classes.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), QStringLiteral("d")),
            QStringLiteral("d"));
}
