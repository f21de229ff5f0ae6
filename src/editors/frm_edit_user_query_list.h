// frmEditUserQueryList ("User Query Editor"): the saved queries of the
// database beside the user queries. A saved query is taken in as a pending
// entry and written by OK; a user query is removed at once, after asking.
// The handlers only pass on to basEditUserQueryList.
#pragma once

#include <QDialog>

class QListWidget;
class QPushButton;

class frmEditUserQueryList : public QDialog {
  Q_OBJECT

 public:
  explicit frmEditUserQueryList(QWidget* parent = nullptr);

  QListWidget* lstQueryDefs = nullptr;
  QListWidget* lstAvailableUserQueries = nullptr;
  QPushButton* cmdSelect = nullptr;
  QPushButton* cmdDelete = nullptr;
  QPushButton* cmdOK = nullptr;
  QPushButton* cmdCancel = nullptr;

 private:
  void BuildControls();
  void ConnectHandlers();
};
