// basQueryDestination: reading a user query's destination into the query
// destination editor, checking what was typed and saving it. Values the
// export run could not use are refused before anything is written.
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>

class QWidget;
class frmQueryDestination;

namespace basQueryDestination {

// The largest target row the report tables can hold (a 16-bit field) and
// the last column of an Excel 97-2003 sheet.
constexpr int kLastTargetRow = 32767;
constexpr int kLastTargetColumn = 256;

// The destination as the editor shows it; what UpdateQueryDestination saves.
struct QueryDestination {
  QString templatePath;
  QString sheetName;
  std::int16_t targetRow = 1;
  std::int16_t targetColumn = 1;
  QStringList macros;
};

// The editor, modal, with the query `queryId` shown; returns when closed.
void frmQueryDestination_OnShow(std::int32_t queryId);

// Reads the query's stored destination into the window; false after
// reporting that it could not.
bool frmQueryDestination_ShowQuery(frmQueryDestination& form, std::int32_t queryId);
// The destination in the window, or nullopt after refusing a value (its
// field or cell marked red, the problem told).
std::optional<QueryDestination> frmQueryDestination_UpdateUDT(frmQueryDestination& form);
// Saves the shown destination; false when a value was refused or the save failed.
bool frmQueryDestination_Save(frmQueryDestination& form);

void frmQueryDestination_lstUserQueries_OnClick(frmQueryDestination& form);
void frmQueryDestination_cmdBrowse_OnClick(frmQueryDestination& form);
// Offers the sheets of the template named (or of a new workbook).
void frmQueryDestination_ShowTemplateSheets(frmQueryDestination& form);
void frmQueryDestination_ShowColumnLetter(frmQueryDestination& form);
void frmQueryDestination_FieldEdited(frmQueryDestination& form, QWidget& field);
void frmQueryDestination_cmdAddMacro_OnClick(frmQueryDestination& form);
void frmQueryDestination_cmdRemoveMacro_OnClick(frmQueryDestination& form);
void frmQueryDestination_cmdOK_OnClick(frmQueryDestination& form);

// "A" for 1, "Z" for 26, "AA" for 27, "IV" for 256.
QString ColumnLetters(int column);

}  // namespace basQueryDestination
