// The output file choice: the save dialog and the folder remembered for it.
#include <QDir>

#include "export/bas_exporter.h"
#include "platform/errors/app_error.h"
#include "platform/excel/file_format.h"
#include "platform/settings/cregistry.h"
#include "platform/ui/dialogs.h"

namespace basExporter {
namespace {

const QString kFamilyMainKey = QStringLiteral("Software\\Varnel Technologies\\Ondara3\\");
const QString kSection = QStringLiteral("Tabulon");
const QString kLatestFolder = QStringLiteral("LatestReportTargetPath");
const QString kLatestFormat = QStringLiteral("LatestReportFormat");
// Beside Excel 97-2003, the formats the office also writes; the chosen
// name's extension decides which one a run writes.
const QString kNewerFormats =
    QStringLiteral("|Excel 2007-365 Files (*.xlsx)|*.xlsx|OpenDocument Spreadsheet Files (*.ods)|*.ods");

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
                     extension + QStringLiteral(")|*.") + extension + kNewerFormats;
    // The format chosen last is offered first; the family's own otherwise.
    const QString latest = registry.ReadRegistry(kSection, kLatestFormat, extension);
    request.filterIndex = latest == QStringLiteral("xlsx") ? 3 : latest == QStringLiteral("ods") ? 4 : 2;
    request.fileName = defaultName;
    const QString chosen = platform::dialogs().ShowSave(request).value_or(QString());
    if (chosen.isEmpty()) return QString();
    registry.WriteRegistry(kSection, kLatestFolder, FolderOf(chosen));
    registry.WriteRegistry(kSection, kLatestFormat, excel::ExtensionOf(excel::FormatOfFile(chosen)));
    return chosen;
  } catch (const platform::AppError&) {
    return QString();
  }
}

}  // namespace basExporter
