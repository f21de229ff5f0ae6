#include <QApplication>
#include <QFileInfo>
#include <memory>

#include "app/batch_run.h"
#include "app/mglobals.h"
#include "app/mmain.h"
#include "app/program_windows.h"
#include "export/excel_slots.h"

namespace {

QStringList Arguments(int argc, char** argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << QString::fromLocal8Bit(argv[i]);
  return arguments;
}

int RunDesktopProgram() {
  // A database given on the command line (as the file manager gives one) is
  // opened for this session only; the recorded path stays as it is. Qt has
  // taken its own options out of the arguments by now.
  const QStringList arguments = QApplication::arguments();
  if (arguments.size() > 1 && !arguments.at(1).startsWith(QLatin1Char('-')))
    gCommandLineDatabase = QFileInfo(arguments.at(1)).absoluteFilePath();
  // The windows close the program themselves: closing the main window ends
  // it, and a dialog left last must not.
  QApplication::setQuitOnLastWindowClosed(false);
  app::InstallProgramWindows();
  MMain::Main();
  return QApplication::exec();
}

// A scheduled job shows nothing, so it runs on the core application alone:
// a GUI application would start a window-system platform for nothing, and
// that start looks into the session's runtime folder (XDG_RUNTIME_DIR) for a
// sandbox's mark. Cron gives no such folder, so Qt would warn on standard
// error, and cron mail the warning, on every run.
std::unique_ptr<QCoreApplication> MakeApplication(bool batch, int& argc, char** argv) {
  if (batch) return std::make_unique<QCoreApplication>(argc, argv);
  return std::make_unique<QApplication>(argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
  const QStringList arguments = Arguments(argc, argv);
  const bool batch = app::IsBatchInvocation(arguments);
  const std::unique_ptr<QCoreApplication> application = MakeApplication(batch, argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("Tabulon"));
  QCoreApplication::setOrganizationName(QStringLiteral("Varnel Technologies"));
  const int status = batch ? app::RunBatch(arguments) : RunDesktopProgram();
  // The office is left running for the user; only our hold on it ends here.
  ReleaseExcelSlots();
  return status;
}
