#include <QApplication>

#include "app/mmain.h"
#include "app/program_windows.h"
#include "export/excel_slots.h"

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tabulon"));
  QApplication::setOrganizationName(QStringLiteral("Varnel Technologies"));
  // The windows close the program themselves: closing the main window ends
  // it, and a dialog left last must not.
  QApplication::setQuitOnLastWindowClosed(false);
  app::InstallProgramWindows();
  MMain::Main();
  const int status = QApplication::exec();
  // The office is left running for the user; only our hold on it ends here.
  ReleaseExcelSlots();
  return status;
}
