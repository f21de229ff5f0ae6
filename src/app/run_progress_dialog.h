// The window a report run shows while it works: which query of how many is
// running, how many of its rows are in the workbook, and a Cancel button
// that stops the run at its next safe point. The run calls in from the
// window's own thread; each call lets the window repaint and take a click.
#pragma once

#include <QProgressDialog>

#include "export/run_progress.h"

namespace app {

class RunProgressDialog : public QProgressDialog, public basExporter::RunProgress {
  Q_OBJECT

 public:
  RunProgressDialog(const QString& reportName, QWidget* parent);

  void QueryStarted(int number, int count, const QString& queryName) override;
  void RowsPlaced(long rows) override;
  bool CancelRequested() override;

 private:
  void ShowText();
  void KeepResponsive();

  int number_ = 0;
  int count_ = 0;
  QString queryName_;
  long rows_ = 0;
};

}  // namespace app
