// The output file choice: the save dialog and the folder remembered for it.
#include <QDir>

#include "export/bas_exporter.h"
#include "platform/errors/app_error.h"
#include "platform/settings/cregistry.h"
#include "platform/ui/dialogs.h"

namespace basExporter {
namespace {

const QString kFamilyMainKey = QStringLiteral("Software\\Varnel Technologies\\Ondara3\\");
const QString kSection = QStringLiteral("Tabulon");
const QString kLatestFolder = QStringLiteral("LatestReportTargetPath");

CRegistry FamilyRegistry() {
  CRegistry registry;
  registry.SetRegMainKey(kFamilyMainKey);
  return registry;
}

// The folder keeps its trailing separator, as the family stores it.
QString FolderOf(const QString& fullPath) {
  const qsizetype cut = std::max(fullPath.lastIndexOf(QLatin1Char('/')), fullPath.lastIndexOf(QDir::separator()));
  return fullPath.left(cut + 1);
}

}  // namespace

QString ChooseOutputFileName(const QString& defaultName, const QString& extension, const QString& kind) {
  try {
    CRegistry registry = FamilyRegistry();
    platform::FileDialogRequest request;
    request.cancelError = true;
    request.flags = platform::cdlOFNOverwritePrompt | platform::cdlOFNPathMustExist;
    request.initialDir = registry.ReadRegistry(kSection, kLatestFolder, QString());
    request.title = QStringLiteral("Specify a New Name for the ") + kind + QStringLiteral(" Output File");
    request.filter = QStringLiteral("All Files (*.*)|*.*|") + kind + QStringLiteral(" Files ") + QStringLiteral("(*.") +
                     extension + QStringLiteral(")|*.") + extension;
    request.filterIndex = 2;
    request.fileName = defaultName;
    const QString chosen = platform::dialogs().ShowSave(request).value_or(QString());
    if (chosen.isEmpty()) return QString();
    registry.WriteRegistry(kSection, kLatestFolder, FolderOf(chosen));
    return chosen;
  } catch (const platform::AppError&) {
    return QString();
  }
}

}  // namespace basExporter
