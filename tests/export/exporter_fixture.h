// Each writer test starts from empty Excel slots, with scripted dialogs, a
// recording opener and its own output folder.
#pragma once

#include <QStringList>
#include <gtest/gtest.h>

#include "export/cexcel_exporter.h"
#include "office_test_support.h"
#include "platform/ui/scripted_dialogs.h"

class ExporterTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // The AppError the call raised; fails the test when it raised none.
  static platform::AppError ErrorOf(const std::function<void()>& call);

  platform::ScriptedDialogs dialogs_;
  OutputFolder out_;
  QStringList opened_;  // files handed to the desktop
  CExcelExporter exporter_;
};
