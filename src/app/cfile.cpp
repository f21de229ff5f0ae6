#include "app/cfile.h"

#include <QFileInfo>

#include "app/end_program.h"
#include "app/mglobals.h"
#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"

namespace {

// The family's pickers ignore a folder of one character: it is never a
// usable place to start.
constexpr int kShortestUsableFolder = 2;
constexpr int kSaveFlags = platform::cdlOFNPathMustExist;

QString ApplicationTitle() { return gApp ? gApp->Title() : QStringLiteral("Tabulon"); }

}  // namespace

QString CFile::FileOpen(const QString& title, const QString& filter, const QString& initialFolder,
                        const QString& cancelQuestion, const QString& fileName) {
  try {
    platform::FileDialogRequest request;
    request.title = title;
    request.filter = filter;
    if (initialFolder.size() >= kShortestUsableFolder) request.initialDir = initialFolder;
    request.fileName = fileName;
    for (;;) {
      const std::optional<QString> chosen = platform::dialogs().ShowOpen(request);
      if (chosen && !chosen->isEmpty()) return *chosen;
      const int answer = platform::dialogs().MsgBox(
          cancelQuestion, platform::vbYesNo | platform::vbQuestion | platform::vbDefaultButton2, ApplicationTitle());
      if (answer == platform::vbYes) {
        app::EndProgramNow();
        return QString();
      }
    }
  } catch (const platform::AppError& error) {
    platform::dialogs().MsgBox(
        QStringLiteral("Error attempting to open file.") + QStringLiteral("  Error is: ") + error.Description(),
        platform::vbExclamation, QStringLiteral("CFile:FileOpen"));
    return QString();
  }
}

void CFile::FileSaveAs(QString& fileName, const QString& title, const QString& filter) {
  platform::FileDialogRequest request;
  request.title = title;
  request.filter = filter;
  request.flags = kSaveFlags;
  request.initialDir = FilePath(fileName);
  for (;;) {
    request.fileName.clear();
    fileName = platform::dialogs().ShowSave(request).value_or(QString()).trimmed();
    if (fileName.isEmpty() || !QFileInfo::exists(fileName)) return;
    platform::dialogs().MsgBox(
        QStringLiteral("The filename you have selected already exists. Please enter a new filename for the Database."),
        platform::vbInformation, QStringLiteral("Duplication error"));
  }
}

QString CFile::FilePath(const QString& fullFileName) {
  const qsizetype cut = std::max(fullFileName.lastIndexOf(QLatin1Char('\\')), fullFileName.lastIndexOf(QLatin1Char('/')));
  return cut < 0 ? QString() : fullFileName.left(cut);
}
