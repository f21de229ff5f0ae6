#include "editors/frm_edit_report_queries.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "editors/bas_edit_report_queries.h"

frmEditReportQueries::frmEditReportQueries(QWidget* parent) : QDialog(parent) {
  setWindowTitle(QStringLiteral("User Report Queries"));
  setModal(true);
  BuildControls();
  ConnectHandlers();
}

void frmEditReportQueries::BuildControls() {
  cboScenName = new QComboBox(this);
  lstAvailableUserQueries = new QListWidget(this);
  lstSelectedQueries = new QListWidget(this);
  lblOutputID = new QLabel(this);
  lblCreateDate = new QLabel(this);
  txtDescription = new QPlainTextEdit(this);
  txtDescription->setReadOnly(true);
  txtDescription->setTabChangesFocus(true);
  txtDescription->setMaximumHeight(90);
  cmdSelect = new QPushButton(QStringLiteral("&Select >"), this);
  cmdUnselect = new QPushButton(QStringLiteral("< &Unselect"), this);
  cmdAdd = new QPushButton(QStringLiteral("List..."), this);
  cmdOK = new QPushButton(QStringLiteral("OK"), this);
  cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
  cmdOK->setDefault(true);

  auto* name = new QLabel(QStringLiteral("Name:"), this);
  name->setBuddy(cboScenName);
  auto* properties = new QGridLayout;
  properties->addWidget(name, 0, 0);
  properties->addWidget(cboScenName, 0, 1);
  properties->addWidget(new QLabel(QStringLiteral("ID:"), this), 1, 0);
  properties->addWidget(lblOutputID, 1, 1);
  properties->addWidget(new QLabel(QStringLiteral("Created:"), this), 2, 0);
  properties->addWidget(lblCreateDate, 2, 1);
  properties->addWidget(new QLabel(QStringLiteral("Description:"), this), 3, 0, Qt::AlignTop);
  properties->addWidget(txtDescription, 3, 1);
  properties->setColumnStretch(1, 1);

  auto* moves = new QVBoxLayout;
  moves->addStretch();
  moves->addWidget(cmdSelect);
  moves->addWidget(cmdUnselect);
  moves->addStretch();
  auto* lists = new QHBoxLayout;
  lists->addWidget(lstAvailableUserQueries);
  lists->addLayout(moves);
  lists->addWidget(lstSelectedQueries);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(cmdAdd);
  buttons->addStretch();
  buttons->addWidget(cmdOK);
  buttons->addWidget(cmdCancel);

  auto* queries = new QLabel(QStringLiteral("Queries:"), this);
  queries->setBuddy(lstAvailableUserQueries);
  auto* whole = new QVBoxLayout(this);
  whole->addLayout(properties);
  whole->addWidget(queries);
  whole->addLayout(lists);
  whole->addLayout(buttons);

  setTabOrder(cboScenName, txtDescription);
  setTabOrder(txtDescription, lstAvailableUserQueries);
  setTabOrder(lstAvailableUserQueries, cmdSelect);
  setTabOrder(cmdSelect, cmdUnselect);
  setTabOrder(cmdUnselect, lstSelectedQueries);
  setTabOrder(lstSelectedQueries, cmdAdd);
  setTabOrder(cmdAdd, cmdOK);
  setTabOrder(cmdOK, cmdCancel);
  resize(560, 440);
}

void frmEditReportQueries::ConnectHandlers() {
  using namespace basEditReportQueries;
  connect(cboScenName, &QComboBox::currentIndexChanged, this, [this] { frmEditReportQueries_cboScenName_OnClick(*this); });
  connect(cmdSelect, &QPushButton::clicked, this, [this] { frmEditReportQueries_SelectHighlighted(*this); });
  connect(lstAvailableUserQueries, &QListWidget::itemDoubleClicked, this,
          [this] { frmEditReportQueries_SelectHighlighted(*this); });
  connect(cmdUnselect, &QPushButton::clicked, this, [this] { frmEditReportQueries_UnselectHighlighted(*this); });
  connect(lstSelectedQueries, &QListWidget::itemDoubleClicked, this,
          [this] { frmEditReportQueries_UnselectHighlighted(*this); });
  connect(cmdAdd, &QPushButton::clicked, this, [this] { frmEditReportQueries_cmdAdd_OnClick(*this); });
  connect(cmdOK, &QPushButton::clicked, this, [this] { frmEditReportQueries_cmdOK_OnClick(*this); });
  connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}
