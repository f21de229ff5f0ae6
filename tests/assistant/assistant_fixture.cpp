#include "assistant_fixture.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QTest>
#include <QTimer>
#include <QTreeWidgetItem>

#include "app/mglobals.h"
#include "assistant/export_assistant_opening.h"
#include "assistant/list_view.h"
#include "assistant/tree_view.h"
#include "platform/ui/mouse_pointer.h"

using assistant::frmExportAssistant;

void AssistantTest::SetUp() {
  ASSERT_TRUE(temp_.isValid());
  qputenv("XDG_CONFIG_HOME", QFile::encodeName(temp_.filePath(QStringLiteral("config"))));
  platform::setDialogs(&script);
}

void AssistantTest::TearDown() {
  gDatabase.reset();
  platform::setDialogs(nullptr);
  platform::SetMousePointer(platform::vbDefault);
  EXPECT_EQ(script.PendingAnswers(), 0);
}

void AssistantTest::OpenCopyOf(const QString& source) {
  path = temp_.filePath(QFileInfo(source).fileName());
  ASSERT_TRUE(QFile::copy(source, path)) << source.toStdString();
  QFile(path).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  gWorkspace = &dao::DBEngine::Workspaces(0);
  gDatabase = gWorkspace->OpenDatabase(path);
}

void AssistantTest::WithAssistant(const std::function<void(frmExportAssistant&)>& body) {
  bool ran = false;
  QTimer::singleShot(0, [&] {
    auto* window = qobject_cast<frmExportAssistant*>(QApplication::activeModalWidget());
    EXPECT_NE(window, nullptr) << "the Export Assistant was not shown";
    if (!window) return;
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    body(*window);
    ran = true;
    if (window->isVisible()) window->mnuFileExit_Click();
  });
  assistant::OpenExportAssistant(editors, nullptr);
  EXPECT_TRUE(ran);
  EXPECT_EQ(assistant::gExportAssistant, nullptr);
}

void AssistantTest::ClickNode(assistant::TreeView& tree, QTreeWidgetItem* node) {
  ASSERT_NE(node, nullptr);
  tree.scrollToItem(node);
  const QPoint centre = tree.visualItemRect(node).center();
  QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, centre);
}

void AssistantTest::ExpandNode(assistant::TreeView& tree, QTreeWidgetItem* node) {
  ASSERT_NE(node, nullptr);
  ClickNode(tree, node);
  tree.setFocus();
  QTest::keyClick(&tree, Qt::Key_Right);
}

void AssistantTest::ClickRow(assistant::ListView& list, int row) {
  const QModelIndex index = list.model()->index(row, 0);
  list.scrollTo(index);
  QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualRect(index).center());
}

void AssistantTest::ClickHeader(assistant::ListView& list, const QString& caption) {
  const int column = Captions(list).indexOf(caption);
  ASSERT_GE(column, 0) << caption.toStdString();
  QHeaderView* header = list.header();
  list.scrollTo(list.model()->index(0, column));
  const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
  QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, QPoint(x, header->height() / 2));
}

QStringList AssistantTest::ChildTexts(const QTreeWidgetItem* node) {
  QStringList texts;
  for (int i = 0; node && i < node->childCount(); ++i) texts << node->child(i)->text(0);
  return texts;
}

QStringList AssistantTest::Captions(const assistant::ListView& list) {
  QStringList captions;
  for (int i = 0; i < list.Model().columnCount(); ++i) captions << list.Model().ColumnCaption(i);
  return captions;
}

QStringList AssistantTest::Column(const assistant::ListView& list, int column) {
  QStringList texts;
  for (int row = 0; row < list.Model().ItemCount(); ++row) texts << list.Model().ItemText(row, column);
  return texts;
}
