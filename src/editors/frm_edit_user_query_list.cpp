#include "editors/frm_edit_user_query_list.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "editors/bas_edit_user_query_list.h"

frmEditUserQueryList::frmEditUserQueryList(QWidget* parent) : QDialog(parent) {
  setWindowTitle(QStringLiteral("User Query Editor"));
  setModal(true);
  BuildControls();
  ConnectHandlers();
}

void frmEditUserQueryList::BuildControls() {
  lstQueryDefs = new QListWidget(this);
  lstAvailableUserQueries = new QListWidget(this);
  cmdSelect = new QPushButton(QStringLiteral("&Select >"), this);
  cmdDelete = new QPushButton(QStringLiteral("&Remove"), this);
  cmdOK = new QPushButton(QStringLiteral("OK"), this);
  cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
  cmdOK->setDefault(true);

  auto* database = new QLabel(QStringLiteral("Database:"), this);
  database->setBuddy(lstQueryDefs);
  auto* queries = new QLabel(QStringLiteral("Queries:"), this);
  queries->setBuddy(lstAvailableUserQueries);

  auto* moves = new QVBoxLayout;
  moves->addStretch();
  moves->addWidget(cmdSelect);
  moves->addWidget(cmdDelete);
  moves->addStretch();

  auto* lists = new QGridLayout;
  lists->addWidget(database, 0, 0);
  lists->addWidget(queries, 0, 2);
  lists->addWidget(lstQueryDefs, 1, 0);
  lists->addLayout(moves, 1, 1);
  lists->addWidget(lstAvailableUserQueries, 1, 2);

  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cmdOK);
  buttons->addWidget(cmdCancel);

  auto* whole = new QVBoxLayout(this);
  whole->addLayout(lists);
  whole->addLayout(buttons);

  setTabOrder(lstQueryDefs, cmdSelect);
  setTabOrder(cmdSelect, lstAvailableUserQueries);
  setTabOrder(lstAvailableUserQueries, cmdDelete);
  setTabOrder(cmdDelete, cmdOK);
  setTabOrder(cmdOK, cmdCancel);
  resize(560, 400);
}

void frmEditUserQueryList::ConnectHandlers() {
  using namespace basEditUserQueryList;
  connect(cmdSelect, &QPushButton::clicked, this, [this] { frmEditUserQueryList_cmdSelect_OnClick(*this); });
  connect(lstQueryDefs, &QListWidget::itemDoubleClicked, this, [this] { frmEditUserQueryList_cmdSelect_OnClick(*this); });
  connect(cmdDelete, &QPushButton::clicked, this, [this] { frmEditUserQueryList_OnDelete(*this); });
  connect(cmdOK, &QPushButton::clicked, this, [this] { frmEditUserQueryList_cmdOK_OnClick(*this); });
  connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}
