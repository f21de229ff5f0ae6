#include "app/capplication.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include "app/end_program.h"
#include "app/instance_channel.h"
#include "app/version_info.h"

QString CApplication::Company() const { return QStringLiteral(TABULON_COMPANY); }
QString CApplication::Copyright() const { return QStringLiteral(TABULON_COPYRIGHT); }
QString CApplication::Description() const { return QStringLiteral(TABULON_DESCRIPTION); }
QString CApplication::ProductName() const { return QStringLiteral(TABULON_PRODUCT_NAME); }

QString CApplication::Title() const { return title_; }

QString CApplication::Path() const {
  QString path = QDir::toNativeSeparators(QCoreApplication::applicationDirPath());
  if (!path.endsWith(QDir::separator())) path += QDir::separator();
  return path;
}

QString CApplication::HelpFile() const { return app::FindHelpFile(Path()); }

namespace app {

QString FindHelpFile(const QString& programFolder) {
  const QDir folder(programFolder);
  const QString beside = QDir::toNativeSeparators(folder.filePath(QStringLiteral(TABULON_HELP_FILE)));
  if (QFileInfo::exists(beside)) return beside;
  return QDir::toNativeSeparators(QDir::cleanPath(
      folder.filePath(QStringLiteral(TABULON_HELP_FOLDER_FROM_PROGRAM "/" TABULON_HELP_FILE))));
}

}  // namespace app

QString CApplication::Version() const {
  return QStringLiteral("Version: %1.%2.%3")
      .arg(TABULON_VERSION_MAJOR)
      .arg(TABULON_VERSION_MINOR)
      .arg(TABULON_VERSION_REVISION);
}

void CApplication::ActivatePrevInstance() {
  const QString productName = ProductName();
  title_ = QStringLiteral("unwanted instance");
  if (!app::AskRunningInstanceToActivate(productName)) return;
  app::EndProgramNow();
}
