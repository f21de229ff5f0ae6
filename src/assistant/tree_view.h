// TreeView: the Export Assistant's trees. Nodes carry a key (unique in the
// tree), a text, a tag, and an image with another for when they are
// selected (the lit and empty dots). A node whose children are not known
// yet holds one empty placeholder child, so it shows that it expands.
#pragma once

#include <QTreeWidget>

namespace assistant {

class TreeView : public QTreeWidget {
  Q_OBJECT

 public:
  explicit TreeView(QWidget* parent = nullptr);

  // Adds a node under `parent` (nullptr: a root). An empty selected image
  // keeps the image when selected.
  QTreeWidgetItem* AddNode(QTreeWidgetItem* parent, const QString& key, const QString& text, const QString& image,
                           const QString& selectedImage = QString(), const QVariant& tag = QVariant());
  static void AddPlaceholder(QTreeWidgetItem* parent);

  static QString Key(const QTreeWidgetItem* node);
  static QVariant Tag(const QTreeWidgetItem* node);
  QTreeWidgetItem* FindNode(const QString& key) const;
  // The top node of `node`'s tree.
  QTreeWidgetItem* Root() const { return topLevelItemCount() ? topLevelItem(0) : nullptr; }

  // Keys of the expanded nodes, each node's before its children's.
  QStringList ExpandedKeys() const;
  // The node scrolled to the top of the view.
  QTreeWidgetItem* TopNode() const { return itemAt(0, 0); }

  QTreeWidgetItem* SelectedItem() const { return currentItem(); }
  // Selects `node` (and shows it) without telling anyone: the caller runs
  // the click's handling itself when it wants the panes to follow.
  void SelectNode(QTreeWidgetItem* node);

 signals:
  // A node chosen by the mouse or the keyboard.
  void NodeClick(QTreeWidgetItem* node);
  void Expand(QTreeWidgetItem* node);

 private:
  void ShowSelectedImage(QTreeWidgetItem* now, QTreeWidgetItem* before);
  bool quiet_ = false;
};

}  // namespace assistant
