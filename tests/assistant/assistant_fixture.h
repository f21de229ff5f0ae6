// Each Export Assistant test opens the window the way the program does, on
// its own copy of the sample survey database, with private settings and a
// scripted person at the message boxes. The test body runs while the
// window is shown modally, and drives it with real mouse and key events.
#pragma once

#include <gtest/gtest.h>

#include <QStringList>
#include <QTemporaryDir>
#include <functional>
#include <ostream>

#include "assistant/frm_export_assistant.h"
#include "assistant/report_editors.h"
#include "platform/ui/scripted_dialogs.h"

class QTreeWidgetItem;

namespace assistant {
class ListView;
class TreeView;
}  // namespace assistant

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

class AssistantTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Opens the program's database on a private copy of `source`.
  void OpenCopyOf(const QString& source);
  // Opens the Assistant, runs `body` while it is shown and closes it by File Exit.
  void WithAssistant(const std::function<void(assistant::frmExportAssistant&)>& body);

  // A person's click on a node, a double-click, and on a list's row or header.
  static void ClickNode(assistant::TreeView& tree, QTreeWidgetItem* node);
  static void ExpandNode(assistant::TreeView& tree, QTreeWidgetItem* node);
  static void ClickRow(assistant::ListView& list, int row);
  static void ClickHeader(assistant::ListView& list, const QString& caption);
  static QStringList ChildTexts(const QTreeWidgetItem* node);
  static QStringList Captions(const assistant::ListView& list);
  static QStringList Column(const assistant::ListView& list, int column);

  platform::ScriptedDialogs script;
  assistant::ReportEditors editors;
  QString path;

 private:
  QTemporaryDir temp_;
};
