// An export run against a private copy of the report tables fixture: the
// workbook writer's test set-up (the suite's office, empty Excel slots, a
// scripted person, a recording opener) plus a private settings folder.
#pragma once

#include <gtest/gtest.h>

#include <QStringList>
#include <QTemporaryDir>
#include <map>
#include <string>

#include "jet/value.h"
#include "exporter_fixture.h"
#include "xls_reader.h"

namespace basExporter {
class RunProgress;
}

class ExportRunTest : public ExporterTest {
 protected:
  void SetUp() override;

  // Changes fields of one tblUserQueries row before the run reads it.
  void ChangeUserQuery(int queryId, const std::map<std::string, jet::Value>& fields);
  // Runs the report as a double-click in the main window does, watched by
  // `progress` when one is given.
  void Run(const QString& reportName, int outputId, basExporter::RunProgress* progress = nullptr);
  QString OutputFile(const QString& name) const { return out_.File(name); }
  QString OutputFolder() const { return out_.Path(); }
  QString Database() const { return database_; }
  // The single message box the run showed; fails the test when not one.
  platform::ScriptedDialogs::MessageBoxShown OnlyBox() const;

  static jet::Value Text(const QString& text);
  static jet::Value Number(int number);
  static jet::Value Null();

  platform::ScriptedDialogs& script = dialogs_;
  const QStringList& opened = opened_;  // workbooks handed to the user
  QStringList statuses;

 private:
  QTemporaryDir temp_;
  QString database_;
};
