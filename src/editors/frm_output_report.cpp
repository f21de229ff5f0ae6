#include "editors/frm_output_report.h"

#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "editors/bas_output_report.h"

namespace {

const QString kCrLf = QStringLiteral("\r\n");

QLabel* Caption(const QString& text, QWidget* buddy, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setBuddy(buddy);
  return label;
}

}  // namespace

frmOutputReport::frmOutputReport(QWidget* parent) : QDialog(parent) {
  setWindowTitle(QStringLiteral("User Report"));
  setModal(true);
  BuildControls();
  ConnectHandlers();
}

void frmOutputReport::BuildControls() {
  cboScenName = new QComboBox(this);
  txtNewReportName = new QLineEdit(this);
  txtNewReportName->hide();
  txtDescription = new QPlainTextEdit(this);
  txtDescription->setTabChangesFocus(true);
  lstReportQueries = new QListWidget(this);
  lblReportQueries = Caption(QStringLiteral("Queries:"), lstReportQueries, this);
  lblOutputID = new QLabel(this);
  lblAuthor = new QLabel(this);
  lblCreateDate = new QLabel(this);
  cmdNew = new QPushButton(QStringLiteral("&New..."), this);
  cmdDelete = new QPushButton(QStringLiteral("&Delete"), this);
  cmdAddQueries = new QPushButton(QStringLiteral("&Add/Delete..."), this);
  cmdDestination = new QPushButton(QStringLiteral("&Destination..."), this);
  cmdParameters = new QPushButton(QStringLiteral("&Parameters..."), this);
  cmdOK = new QPushButton(QStringLiteral("OK"), this);
  cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
  cmdOK->setDefault(true);

  auto* properties = new QGridLayout;
  properties->addWidget(cboScenName, 0, 0, 1, 2);
  properties->addWidget(txtNewReportName, 0, 0, 1, 2);
  properties->addWidget(new QLabel(QStringLiteral("ID:"), this), 1, 0);
  properties->addWidget(lblOutputID, 1, 1);
  properties->addWidget(new QLabel(QStringLiteral("Author:"), this), 2, 0);
  properties->addWidget(lblAuthor, 2, 1);
  properties->addWidget(new QLabel(QStringLiteral("Created:"), this), 3, 0);
  properties->addWidget(lblCreateDate, 3, 1);
  properties->addWidget(Caption(QStringLiteral("Description:"), txtDescription, this), 4, 0, 1, 2);
  properties->addWidget(txtDescription, 5, 0, 1, 2);
  properties->setColumnStretch(1, 1);

  auto* queryButtons = new QHBoxLayout;
  queryButtons->addWidget(cmdAddQueries);
  queryButtons->addWidget(cmdDestination);
  queryButtons->addWidget(cmdParameters);

  auto* dialogButtons = new QHBoxLayout;
  dialogButtons->addWidget(cmdNew);
  dialogButtons->addWidget(cmdDelete);
  dialogButtons->addStretch();
  dialogButtons->addWidget(cmdOK);
  dialogButtons->addWidget(cmdCancel);

  auto* whole = new QVBoxLayout(this);
  whole->addLayout(properties);
  whole->addWidget(lblReportQueries);
  whole->addWidget(lstReportQueries);
  whole->addLayout(queryButtons);
  whole->addLayout(dialogButtons);

  setTabOrder(cboScenName, txtNewReportName);
  setTabOrder(txtNewReportName, txtDescription);
  setTabOrder(txtDescription, lstReportQueries);
  setTabOrder(lstReportQueries, cmdAddQueries);
  setTabOrder(cmdAddQueries, cmdDestination);
  setTabOrder(cmdDestination, cmdParameters);
  setTabOrder(cmdParameters, cmdNew);
  setTabOrder(cmdNew, cmdDelete);
  setTabOrder(cmdDelete, cmdOK);
  setTabOrder(cmdOK, cmdCancel);
  resize(460, 480);
}

void frmOutputReport::ConnectHandlers() {
  connect(cboScenName, &QComboBox::currentIndexChanged, this, [this] { cboScenName_Click(); });
  connect(cmdNew, &QPushButton::clicked, this, [this] { cmdNew_Click(); });
  connect(cmdDelete, &QPushButton::clicked, this, [this] { cmdDelete_Click(); });
  connect(cmdAddQueries, &QPushButton::clicked, this, [this] { cmdAddQueries_Click(); });
  connect(cmdDestination, &QPushButton::clicked, this, [this] { cmdDestination_Click(); });
  connect(cmdParameters, &QPushButton::clicked, this, [this] { cmdParameters_Click(); });
  connect(cmdOK, &QPushButton::clicked, this, [this] { cmdOK_Click(); });
  connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
  txtNewReportName->installEventFilter(this);
  txtDescription->installEventFilter(this);
}

QString frmOutputReport::DescriptionText() const {
  return txtDescription->toPlainText().replace(QLatin1Char('\n'), kCrLf);
}

void frmOutputReport::SetDescriptionText(const QString& text) {
  QString lines = text;
  txtDescription->setPlainText(lines.replace(kCrLf, QStringLiteral("\n")));
}

bool frmOutputReport::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress && !static_cast<QKeyEvent*>(event)->text().isEmpty()) {
    if (watched == txtNewReportName) basOutputReport::frmOutputReport_txtNewReportName_OnKeyPress(*this);
    if (watched == txtDescription) basOutputReport::frmOutputReport_txtDescription_OnKeyPress(*this);
  }
  return QDialog::eventFilter(watched, event);
}

void frmOutputReport::cboScenName_Click() { basOutputReport::frmOutputReport_cboScenName_OnClick(*this); }
void frmOutputReport::cmdNew_Click() { basOutputReport::frmOutputReport_cmdNew_OnClick(*this); }
void frmOutputReport::cmdDelete_Click() { basOutputReport::frmOutputReport_cmdDelete_OnClick(*this); }
void frmOutputReport::cmdAddQueries_Click() { basOutputReport::frmOutputReport_cmdAddQueries_OnClick(*this); }
void frmOutputReport::cmdDestination_Click() { basOutputReport::frmOutputReport_cmdDestination_OnClick(*this); }
void frmOutputReport::cmdParameters_Click() { basOutputReport::frmOutputReport_cmdParameters_OnClick(*this); }
void frmOutputReport::cmdOK_Click() { basOutputReport::frmOutputReport_cmdOK_Click(*this); }
