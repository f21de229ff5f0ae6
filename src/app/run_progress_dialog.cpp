#include "app/run_progress_dialog.h"

#include <QCoreApplication>
#include <QLocale>

namespace app {

RunProgressDialog::RunProgressDialog(const QString& reportName, QWidget* parent)
    : QProgressDialog(parent) {
  setWindowTitle(QStringLiteral("Running '") + reportName + QStringLiteral("'"));
  setCancelButtonText(QStringLiteral("&Cancel"));
  setWindowModality(Qt::WindowModal);
  setAutoClose(false);
  setAutoReset(false);
  // Shown at once: even a short run shows what it is doing.
  setMinimumDuration(0);
  setMinimumWidth(420);
  setRange(0, 1);
  setValue(0);
  setLabelText(QStringLiteral("Starting..."));
}

void RunProgressDialog::QueryStarted(int number, int count, const QString& queryName) {
  number_ = number;
  count_ = count;
  queryName_ = queryName;
  rows_ = 0;
  setRange(0, std::max(count, 1));
  setValue(number - 1);
  ShowText();
}

void RunProgressDialog::RowsPlaced(long rows) {
  rows_ = rows;
  ShowText();
}

bool RunProgressDialog::CancelRequested() {
  KeepResponsive();
  return wasCanceled();
}

void RunProgressDialog::ShowText() {
  setLabelText(QStringLiteral("Query %1 of %2: %3\nRows placed: %4")
                   .arg(number_)
                   .arg(count_)
                   .arg(queryName_, QLocale(QLocale::English).toString(static_cast<qlonglong>(rows_))));
  KeepResponsive();
}

void RunProgressDialog::KeepResponsive() {
  if (wasCanceled()) setLabelText(QStringLiteral("Cancelling..."));
  QCoreApplication::processEvents();
}

}  // namespace app
