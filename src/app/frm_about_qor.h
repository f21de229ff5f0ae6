// frmAboutQor: the About box. The application's own description, an OK
// button and a button that shows what the program runs on.
#pragma once

#include <QDialog>

class QPushButton;

class frmAboutQor : public QDialog {
  Q_OBJECT

 public:
  explicit frmAboutQor(QWidget* parent = nullptr);

  void cmdSysInfo_Click();

  QPushButton* cmdOK = nullptr;
  QPushButton* cmdSysInfo = nullptr;
};
