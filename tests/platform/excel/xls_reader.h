// Reads a saved .xls with libfreexl, a reader that shares nothing with the
// office, so a test sees what another program would see in the file.
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <utility>

struct XlsCell {
  enum class Kind { kEmpty, kNumber, kText, kDate, kDateTime, kTime };
  Kind kind = Kind::kEmpty;
  QVariant value;  // double for numbers, text for the rest (freexl renders dates as text)
};

struct XlsSheet {
  QString name;
  int rows = 0;     // used rows
  int columns = 0;  // used columns
  QMap<std::pair<int, int>, XlsCell> cells;  // (row, column), 1-based; empty cells left out

  XlsCell At(int row, int column) const { return cells.value({row, column}); }
  QString Text(int row, int column) const { return At(row, column).value.toString(); }
};

struct XlsBook {
  QList<XlsSheet> sheets;
  QStringList SheetNames() const;
  const XlsSheet& Sheet(const QString& name) const;  // throws when missing
};

// Throws std::runtime_error when the file is not a readable .xls.
XlsBook ReadXls(const QString& path);
