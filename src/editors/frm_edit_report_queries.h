// frmEditReportQueries: which user queries belong to each report. Queries
// move between the available list and the selected list; the choice for
// every report is kept until OK writes them all or Cancel drops them.
// The handlers only pass on to basEditReportQueries.
#pragma once

#include <QDialog>

class QComboBox;
class QLabel;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

class frmEditReportQueries : public QDialog {
  Q_OBJECT

 public:
  explicit frmEditReportQueries(QWidget* parent = nullptr);

  QComboBox* cboScenName = nullptr;
  QListWidget* lstAvailableUserQueries = nullptr;
  QListWidget* lstSelectedQueries = nullptr;
  QLabel* lblOutputID = nullptr;
  QLabel* lblCreateDate = nullptr;
  QPlainTextEdit* txtDescription = nullptr;
  QPushButton* cmdSelect = nullptr;
  QPushButton* cmdUnselect = nullptr;
  QPushButton* cmdAdd = nullptr;
  QPushButton* cmdOK = nullptr;
  QPushButton* cmdCancel = nullptr;

 private:
  void BuildControls();
  void ConnectHandlers();
};
