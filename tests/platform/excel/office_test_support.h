// Shared helpers of the office suite's tests.
#pragma once

#include <QDir>
#include <QTemporaryDir>
#include <QString>
#include <functional>

#include "platform/errors/app_error.h"

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

// The number of the AppError the call raised, 0 when it raised none.
inline int ErrorNumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const platform::AppError& e) {
    return e.Number();
  }
  return 0;
}
