#include "platform/settings/application_settings.h"

#include <QFile>

#include "platform/errors/app_error.h"
#include "scratch_config.h"

using platform::WindowPlacement;
using ApplicationSettingsTest = ScratchConfig;

TEST_F(ApplicationSettingsTest, PlacementsAreKeptPerApplicationTitle) {
  const WindowPlacement defaults{1000, 1000, 6500, 6500};
  EXPECT_EQ(
      platform::ReadWindowPlacement(QStringLiteral("TabulonExportAssistant"), QStringLiteral("Settings"), defaults),
      defaults);

  platform::SaveWindowPlacement(QStringLiteral("Tabulon"), QStringLiteral("Settings"), {120, -45, 9600.5f, 7200});
  EXPECT_EQ(platform::ReadWindowPlacement(QStringLiteral("Tabulon"), QStringLiteral("Settings"), defaults),
            (WindowPlacement{120, -45, 9600.5f, 7200}));
  EXPECT_EQ(platform::GetSetting(QStringLiteral("Tabulon"), QStringLiteral("Settings"), QStringLiteral("MainWidth")),
            QStringLiteral("9600.5"));
  // The assistant's title is another application: still at its defaults.
  EXPECT_EQ(
      platform::ReadWindowPlacement(QStringLiteral("TabulonExportAssistant"), QStringLiteral("Settings"), defaults),
      defaults);
  EXPECT_TRUE(QFile::exists(FamilyFile(QStringLiteral("Tabulon"))));
  EXPECT_FALSE(QFile::exists(FamilyFile(QStringLiteral("TabulonExportAssistant"))));
}

TEST_F(ApplicationSettingsTest, AStoredPlacementThatIsNotANumberIsATypeMismatch) {
  platform::SaveSetting(QStringLiteral("Tabulon"), QStringLiteral("Settings"), QStringLiteral("MainTop"),
                        QStringLiteral("wide"));
  try {
    platform::ReadWindowPlacement(QStringLiteral("Tabulon"), QStringLiteral("Settings"), {});
    ADD_FAILURE() << "a placement of \"wide\" was read as a number";
  } catch (const platform::AppError& error) {
    EXPECT_EQ(error.Number(), 13);
    EXPECT_EQ(error.Description(), QStringLiteral("Type mismatch"));
  }
}
