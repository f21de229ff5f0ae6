// frmOutputReport: the report editor. Shows one report (its name chosen in
// a combo box, its description, author, creation date and queries), or in
// new-report mode takes the name and description of a report to create.
// The handlers only pass on to basOutputReport.
#pragma once

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

class frmOutputReport : public QDialog {
  Q_OBJECT

 public:
  explicit frmOutputReport(QWidget* parent = nullptr);

  // The description as stored: lines joined by CR LF, as the family's text
  // boxes hand it over.
  QString DescriptionText() const;
  void SetDescriptionText(const QString& text);

  QComboBox* cboScenName = nullptr;
  QLineEdit* txtNewReportName = nullptr;
  QPlainTextEdit* txtDescription = nullptr;
  QListWidget* lstReportQueries = nullptr;
  QLabel* lblReportQueries = nullptr;
  QLabel* lblOutputID = nullptr;
  QLabel* lblAuthor = nullptr;
  QLabel* lblCreateDate = nullptr;
  QPushButton* cmdNew = nullptr;
  QPushButton* cmdDelete = nullptr;
  QPushButton* cmdAddQueries = nullptr;
  QPushButton* cmdDestination = nullptr;
  QPushButton* cmdParameters = nullptr;
  QPushButton* cmdOK = nullptr;
  QPushButton* cmdCancel = nullptr;

 protected:
  // The first character typed into a yellow field turns it back to the
  // window colour (and, for the name, lets the report be saved).
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void BuildControls();
  void ConnectHandlers();
  void cboScenName_Click();
  void cmdNew_Click();
  void cmdDelete_Click();
  void cmdAddQueries_Click();
  void cmdDestination_Click();
  void cmdParameters_Click();
  void cmdOK_Click();
};
