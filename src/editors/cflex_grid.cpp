#include "editors/cflex_grid.h"

#include <QApplication>
#include <QFont>
#include <QHeaderView>
#include <limits>

#include "editors/flex_grid.h"
#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"
#include "reportdb/report_store.h"

namespace editors {

namespace {

constexpr unsigned kWindowBackground = 0x80000005u;
constexpr unsigned kSelectedBlue = 0xFF0000u;
constexpr int kOverflow = 6;
constexpr int kSubscriptOutOfRange = 9;

enum Key : std::int16_t { kBackspace = 8, kEnter = 13, kEsc = 27, kSpace = 32, kDot = 46 };

bool IsNumericKey(std::int16_t key) { return key == kBackspace || key == kDot || (key >= '0' && key <= '9'); }

void RefuseNonNumericKey(std::int16_t& keyCode) {
  QApplication::beep();
  QApplication::beep();
  keyCode = 0;
  platform::dialogs().MsgBox(QStringLiteral("Only numeric values are allowed in this cell"), platform::vbExclamation,
                             QStringLiteral("Format Error"));
}

void EditCell(FlexGrid& grid, std::int16_t keyCode) {
  const QString text = grid.Text();
  if (keyCode == kBackspace) {
    if (!text.isEmpty()) grid.SetText(text.left(text.size() - 1));
    return;
  }
  grid.SetText(text + QChar(static_cast<char16_t>(static_cast<unsigned char>(keyCode))));
}

}  // namespace

void CFlexGrid::AddRow(FlexGrid& grid, std::int16_t rowCount, bool& numberRow) {
  if (rowCount == std::numeric_limits<std::int16_t>::max()) {
    throw platform::AppError(kOverflow, QStringLiteral("Overflow"), QStringLiteral("CFlexGrid"));
  }
  grid.SetRows(rowCount + 1);
  if (numberRow) grid.SetTextMatrix(grid.Rows() - 1, 0, QString::number(grid.Rows() - 1));
}

void CFlexGrid::DeleteRow(FlexGrid& grid, std::int16_t row) {
  if (grid.Rows() >= 2) grid.RemoveItem(row);
}

void CFlexGrid::FreeInCellEdit(FlexGrid& grid, const QVariant& restore, std::int32_t /*row*/,
                               std::int32_t /*col*/, std::int16_t& keyCode, bool numericOnly) {
  const QString restoreText = restore.toString();
  grid.SetCellBackColor(kWindowBackground);
  // At most two dots in a cell, in either mode.
  if (keyCode == kDot && grid.TextMatrix(grid.Row(), grid.Col()).count(QLatin1Char('.')) >= 2) {
    keyCode = 0;
    return;
  }
  if (keyCode == kEnter) {
    CommitAndMove(grid);
    return;
  }
  // Numeric cells take Space back as a second Esc.
  if (keyCode == kEsc || (numericOnly && keyCode == kSpace)) {
    grid.SetText(restoreText);
    return;
  }
  if (numericOnly && !IsNumericKey(keyCode)) {
    RefuseNonNumericKey(keyCode);
    return;
  }
  EditCell(grid, keyCode);
}

void CFlexGrid::CommitAndMove(FlexGrid& grid) {
  grid.SetText(grid.Text());
  if (grid.Row() == grid.Rows() - 1) {
    if (grid.Col() == grid.Cols() - 1) {
      grid.SetRow(1);
      grid.SetCol(1);
    } else {
      grid.SetCol(grid.Col() + 1);
      grid.SetRow(1);
    }
    return;
  }
  grid.SetRow(grid.Row() + 1);
}

QVariant CFlexGrid::HeaderString(std::int16_t& labelCount, QStringList& labels, std::int16_t& leadingEmptyColumn) {
  QString result = leadingEmptyColumn != 0 ? QStringLiteral("| ") : QString();
  for (int i = 1; i <= labelCount; ++i) {
    if (i >= labels.size()) {
      throw platform::AppError(kSubscriptOutOfRange, QStringLiteral("Subscript out of range"),
                               QStringLiteral("CFlexGrid"));
    }
    result += labels[i];
    if (i != labelCount) result += QStringLiteral(" | ");
  }
  return result;
}

void CFlexGrid::BasicStyle(FlexGrid& grid) {
  QFont font(QStringLiteral("Arial"));
  font.setPointSize(9);
  grid.setFont(font);
  grid.SetBackColorSel(kSelectedBlue);
  // A row-numbered editing grid: one line a cell, the current cell chosen alone.
  grid.setWordWrap(false);
  grid.setSelectionBehavior(QAbstractItemView::SelectItems);
}

void CFlexGrid::PopulateGridSQL(FlexGrid& grid, dao::Database& database, const QString& sql, bool numberRows) {
  std::unique_ptr<dao::Recordset> records;
  try {
    records = database.OpenRecordset(sql);
  } catch (const platform::AppError& error) {
    throw platform::AppError(error.Number(), reportdb::StoreFailureMessage(error.Description()), error.Source());
  }
  if (records->IsEOF()) return;
  grid.SetRows(static_cast<int>(records->RecordCount()) + 1);
  int row = 1;
  for (records->MoveFirst(); !records->IsEOF(); records->MoveNext(), ++row) {
    const bool fromColumnZero = records->FieldCount() > grid.Cols() - 1;
    const int first = fromColumnZero ? 0 : 1;
    for (int col = first; col < grid.Cols(); ++col) {
      const int field = col - first;
      // A value that cannot be read leaves its cell as it was.
      if (field >= records->FieldCount() || !records->Value(field).isValid()) continue;
      grid.SetTextMatrix(row, col, records->Value(field).toString());
    }
  }
  if (numberRows) {
    for (int n = 1; n < grid.Rows(); ++n) grid.SetTextMatrix(n, 0, QString::number(n));
  }
}

}  // namespace editors
