// frmQueryParameters ("Query Parameters"): the values a user query hands
// to its saved query's parameters when the report runs, one row a
// parameter. The handlers only pass on to basQueryParameters.
#pragma once

#include <QVector>

#include "editors/query_settings_dialog.h"
#include "jet/types.h"

class QLabel;

namespace editors {
class FlexGrid;
}

class frmQueryParameters : public editors::QuerySettingsDialog {
  Q_OBJECT

 public:
  explicit frmQueryParameters(QWidget* parent = nullptr);

  editors::FlexGrid* msflxQueryParameters = nullptr;
  QLabel* lblParameterType = nullptr;
  QLabel* lblNotParameterQuery = nullptr;
  // The shown saved query's parameter types, in its parameters' order.
  QVector<jet::ColumnType> parameterTypes;

 private:
  void BuildControls();
  void ConnectHandlers();
};
