#include "editors/frm_query_destination.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "editors/bas_query_destination.h"
#include "editors/flex_grid.h"

frmQueryDestination::frmQueryDestination(QWidget* parent)
    : QuerySettingsDialog(QStringLiteral("Query Destination"), parent) {
  BuildControls();
  ConnectHandlers();
}

void frmQueryDestination::BuildControls() {
  txtTemplate = new QLineEdit(this);
  txtTemplate->setPlaceholderText(QStringLiteral("(none: a new workbook)"));
  cmdBrowse = new QPushButton(QStringLiteral("&Browse..."), this);
  cmdBrowse->setAutoDefault(false);
  lblTemplateNote = new QLabel(this);
  lblTemplateNote->setWordWrap(true);
  cboSheetName = new QComboBox(this);
  cboSheetName->setEditable(true);
  cboSheetName->setInsertPolicy(QComboBox::NoInsert);
  txtTargetRow = new QLineEdit(this);
  txtTargetColumn = new QLineEdit(this);
  for (QLineEdit* number : {txtTargetRow, txtTargetColumn}) number->setMaximumWidth(80);
  lblColumnLetter = new QLabel(this);
  msflxExcelMacros = new editors::FlexGrid(this);
  cmdAddMacro = new QPushButton(QStringLiteral("&Add Macro"), this);
  cmdRemoveMacro = new QPushButton(QStringLiteral("&Remove Macro"), this);
  for (QPushButton* button : {cmdAddMacro, cmdRemoveMacro}) button->setAutoDefault(false);

  auto* templateRow = new QHBoxLayout;
  templateRow->addWidget(txtTemplate, 1);
  templateRow->addWidget(cmdBrowse);
  auto* columnRow = new QHBoxLayout;
  columnRow->addWidget(txtTargetColumn);
  columnRow->addWidget(lblColumnLetter, 1);
  const auto label = [this](const char* text, QWidget* buddy) {
    auto* caption = new QLabel(QLatin1String(text), this);
    caption->setBuddy(buddy);
    return caption;
  };
  auto* form = new QFormLayout;
  form->addRow(label("&Template:", txtTemplate), templateRow);
  form->addRow(QString(), lblTemplateNote);
  form->addRow(label("&Sheet:", cboSheetName), cboSheetName);
  form->addRow(label("Target &row:", txtTargetRow), txtTargetRow);
  form->addRow(label("Target co&lumn:", txtTargetColumn), columnRow);

  auto* macroButtons = new QVBoxLayout;
  macroButtons->addWidget(cmdAddMacro);
  macroButtons->addWidget(cmdRemoveMacro);
  macroButtons->addStretch();
  auto* macros = new QHBoxLayout;
  macros->addWidget(msflxExcelMacros, 1);
  macros->addLayout(macroButtons);
  auto* macroLabel = new QLabel(QStringLiteral("&Macros, run in this order after the records are placed:"), this);
  macroLabel->setBuddy(msflxExcelMacros);

  auto* fields = new QVBoxLayout;
  fields->addLayout(form);
  fields->addWidget(macroLabel);
  fields->addLayout(macros, 1);
  SetFields(fields, txtTemplate, cmdRemoveMacro);
  setTabOrder(txtTemplate, cmdBrowse);
  setTabOrder(cmdBrowse, cboSheetName);
  setTabOrder(cboSheetName, txtTargetRow);
  setTabOrder(txtTargetRow, txtTargetColumn);
  setTabOrder(txtTargetColumn, msflxExcelMacros);
  setTabOrder(msflxExcelMacros, cmdAddMacro);
  setTabOrder(cmdAddMacro, cmdRemoveMacro);
  resize(720, 460);
}

void frmQueryDestination::ConnectHandlers() {
  using namespace basQueryDestination;
  EditByKeys(*msflxExcelMacros);
  connect(lstUserQueries, &QListWidget::currentRowChanged, this,
          [this] { frmQueryDestination_lstUserQueries_OnClick(*this); });
  connect(cmdBrowse, &QPushButton::clicked, this, [this] { frmQueryDestination_cmdBrowse_OnClick(*this); });
  connect(txtTemplate, &QLineEdit::editingFinished, this, [this] { frmQueryDestination_ShowTemplateSheets(*this); });
  connect(txtTargetColumn, &QLineEdit::textChanged, this, [this] { frmQueryDestination_ShowColumnLetter(*this); });
  for (QLineEdit* field : {txtTemplate, txtTargetRow, txtTargetColumn})
    connect(field, &QLineEdit::textEdited, this, [this, field] { frmQueryDestination_FieldEdited(*this, *field); });
  connect(cboSheetName, &QComboBox::editTextChanged, this,
          [this] { frmQueryDestination_FieldEdited(*this, *cboSheetName); });
  connect(cmdAddMacro, &QPushButton::clicked, this, [this] { frmQueryDestination_cmdAddMacro_OnClick(*this); });
  connect(cmdRemoveMacro, &QPushButton::clicked, this, [this] { frmQueryDestination_cmdRemoveMacro_OnClick(*this); });
  connect(cmdOK, &QPushButton::clicked, this, [this] { frmQueryDestination_cmdOK_OnClick(*this); });
}
