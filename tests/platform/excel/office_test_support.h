// Shared helpers of the office suite's tests.
#pragma once

#include <QDir>
#include <QTemporaryDir>
#include <QString>

inline QString FixturePath(const QString& name) {
  return QStringLiteral(TABULON_FIXTURES "/excel/") + name;
}

// A fresh folder per test for the workbooks it saves.
class OutputFolder {
 public:
  QString File(const QString& name) const { return dir_.filePath(name); }
  QString Path() const { return dir_.path(); }

 private:
  QTemporaryDir dir_;
};
