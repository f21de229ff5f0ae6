// Each test of the program's shell starts from nothing: no shared objects,
// a private settings folder, a scripted person at the dialogs, and an
// ending "at once" that throws ProgramEnded instead of ending the tests.
#pragma once

#include <gtest/gtest.h>

#include <QStringList>
#include <QTemporaryDir>
#include <ostream>

#include "platform/ui/scripted_dialogs.h"

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

// Not a std::exception, so no error guard of the program swallows it.
struct ProgramEnded {};

class ShellTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // The family's record of the database to open at start.
  void RecordDatabasePath(const QString& path);
  // A private copy of the report tables fixture; `name` inside the temp dir.
  QString CopyOfReportsDatabase(const QString& name = QStringLiteral("reports.mdb"));
  QString TempFile(const QString& name) const { return temp_.filePath(name); }
  // Text and key of every listed report, as "text=key".
  static QStringList ListedReports();
  QStringList BoxPrompts() const;

  platform::ScriptedDialogs script;

 private:
  QTemporaryDir temp_;
};
