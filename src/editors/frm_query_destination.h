// frmQueryDestination ("Query Destination"): where a user query's records
// go in the workbook (template, sheet, target row and column) and the
// macros run after them. The handlers only pass on to basQueryDestination.
#pragma once

#include <QStringList>

#include "editors/query_settings_dialog.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace editors {
class FlexGrid;
}

class frmQueryDestination : public editors::QuerySettingsDialog {
  Q_OBJECT

 public:
  explicit frmQueryDestination(QWidget* parent = nullptr);

  QLineEdit* txtTemplate = nullptr;
  QPushButton* cmdBrowse = nullptr;
  QLabel* lblTemplateNote = nullptr;
  QComboBox* cboSheetName = nullptr;
  QLineEdit* txtTargetRow = nullptr;
  QLineEdit* txtTargetColumn = nullptr;
  QLabel* lblColumnLetter = nullptr;
  editors::FlexGrid* msflxExcelMacros = nullptr;
  // The template and macros as last read: macros added since are checked.
  QString storedTemplate;
  QStringList storedMacros;
  QPushButton* cmdAddMacro = nullptr;
  QPushButton* cmdRemoveMacro = nullptr;

 private:
  void BuildControls();
  void ConnectHandlers();
};
