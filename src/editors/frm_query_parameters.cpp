#include "editors/frm_query_parameters.h"

#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "editors/bas_query_parameters.h"
#include "editors/flex_grid.h"

frmQueryParameters::frmQueryParameters(QWidget* parent)
    : QuerySettingsDialog(QStringLiteral("Query Parameters"), parent) {
  BuildControls();
  ConnectHandlers();
}

void frmQueryParameters::BuildControls() {
  msflxQueryParameters = new editors::FlexGrid(this);
  lblParameterType = new QLabel(this);
  lblNotParameterQuery = new QLabel(QStringLiteral("This is not a parameter query"), this);
  lblNotParameterQuery->setAlignment(Qt::AlignCenter);
  auto* valuesLabel = new QLabel(QStringLiteral("&Values handed to the saved query when the report runs:"), this);
  valuesLabel->setBuddy(msflxQueryParameters);

  auto* fields = new QVBoxLayout;
  fields->addWidget(valuesLabel);
  fields->addWidget(msflxQueryParameters, 1);
  fields->addWidget(lblNotParameterQuery, 1);
  fields->addWidget(lblParameterType);
  SetFields(fields, msflxQueryParameters, msflxQueryParameters);
  resize(640, 360);
}

void frmQueryParameters::ConnectHandlers() {
  using namespace basQueryParameters;
  EditByKeys(*msflxQueryParameters);
  connect(lstUserQueries, &QListWidget::currentRowChanged, this,
          [this] { frmQueryParameters_lstUserQueries_OnClick(*this); });
  connect(msflxQueryParameters, &QTableWidget::currentCellChanged, this,
          [this] { frmQueryParameters_ShowParameterType(*this); });
  connect(cmdOK, &QPushButton::clicked, this, [this] { frmQueryParameters_cmdOK_OnClick(*this); });
}
