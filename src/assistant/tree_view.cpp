#include "assistant/tree_view.h"

#include <QApplication>

#include "assistant/tree_images.h"

namespace assistant {

namespace {

constexpr int kKeyRole = Qt::UserRole;
constexpr int kTagRole = Qt::UserRole + 1;
constexpr int kImageRole = Qt::UserRole + 2;
constexpr int kSelectedImageRole = Qt::UserRole + 3;

}  // namespace

TreeView::TreeView(QWidget* parent) : QTreeWidget(parent) {
  setHeaderHidden(true);
  setColumnCount(1);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setExpandsOnDoubleClick(true);
  connect(this, &QTreeWidget::itemExpanded, this, [this](QTreeWidgetItem* node) { emit Expand(node); });
  connect(this, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem* node) { emit NodeClick(node); });
  connect(this, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* now, QTreeWidgetItem* before) {
    ShowSelectedImage(now, before);
    // A click reports itself; the arrow keys choose a node too.
    if (now && !quiet_ && hasFocus() && QApplication::mouseButtons() == Qt::NoButton) emit NodeClick(now);
  });
}

QTreeWidgetItem* TreeView::AddNode(QTreeWidgetItem* parent, const QString& key, const QString& text,
                                   const QString& image, const QString& selectedImage, const QVariant& tag) {
  auto* node = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(this);
  node->setText(0, text);
  node->setData(0, kKeyRole, key);
  node->setData(0, kTagRole, tag);
  node->setData(0, kImageRole, image);
  node->setData(0, kSelectedImageRole, selectedImage.isEmpty() ? image : selectedImage);
  node->setIcon(0, TreeImage(image));
  return node;
}

void TreeView::AddPlaceholder(QTreeWidgetItem* parent) { new QTreeWidgetItem(parent); }

QString TreeView::Key(const QTreeWidgetItem* node) { return node ? node->data(0, kKeyRole).toString() : QString(); }

QVariant TreeView::Tag(const QTreeWidgetItem* node) { return node ? node->data(0, kTagRole) : QVariant(); }

QTreeWidgetItem* TreeView::FindNode(const QString& key) const {
  for (QTreeWidgetItemIterator it(const_cast<TreeView*>(this)); *it; ++it) {
    if (Key(*it) == key && !key.isEmpty()) return *it;
  }
  return nullptr;
}

QStringList TreeView::ExpandedKeys() const {
  QStringList keys;
  for (QTreeWidgetItemIterator it(const_cast<TreeView*>(this)); *it; ++it) {
    if ((*it)->isExpanded() && !Key(*it).isEmpty()) keys << Key(*it);
  }
  return keys;
}

void TreeView::SelectNode(QTreeWidgetItem* node) {
  quiet_ = true;
  setCurrentItem(node);
  quiet_ = false;
  if (node) scrollToItem(node);
}

void TreeView::ShowSelectedImage(QTreeWidgetItem* now, QTreeWidgetItem* before) {
  if (before) before->setIcon(0, TreeImage(before->data(0, kImageRole).toString()));
  if (now) now->setIcon(0, TreeImage(now->data(0, kSelectedImageRole).toString()));
}

}  // namespace assistant
