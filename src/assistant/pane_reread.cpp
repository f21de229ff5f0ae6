// The Export Assistant's panes read again, after the file changed under
// them or on F5: each tree's expanded branches are listed afresh, and its
// chosen node, the list beside it and both scroll positions are put back
// where the same nodes and rows are still there.
#include <QTreeWidgetItem>

#include "assistant/cexport_assistant.h"
#include "assistant/frm_export_assistant.h"
#include "assistant/list_view.h"
#include "assistant/tree_view.h"

namespace assistant {

void frmExportAssistant::ReadPanesAgain() {
  const auto quiet = assistant_.QuietNotices();
  ReadTreeAgain(tvReports, lvReports);
  ReadQueryPaneAgain();
  ReadTreeAgain(tvTopLevelTables, lvTopLevelTables);
}

void frmExportAssistant::ReadTreeAgain(TreeView* tree, ListView* list) {
  const QString chosen = TreeView::Key(tree->SelectedItem());
  const QString top = TreeView::Key(tree->TopNode());
  // Nothing chosen while branches are rebuilt: losing the chosen node
  // would otherwise choose, and list, another.
  tree->SelectNode(nullptr);
  for (const QString& key : tree->ExpandedKeys()) {
    QTreeWidgetItem* node = tree->FindNode(key);
    if (!node || !node->parent()) continue;  // the root is the file itself
    // A branch rebuilt above comes back folded, and unfolding lists it.
    if (node->isExpanded()) {
      NodeExpand(tree, list, node);
    } else {
      node->setExpanded(true);
    }
  }
  ChooseAgain(tree, list, chosen);
  if (QTreeWidgetItem* node = tree->FindNode(top)) tree->scrollToItem(node, QAbstractItemView::PositionAtTop);
}

void frmExportAssistant::ReadQueryPaneAgain() {
  const QTreeWidgetItem* query = tvUserQueries->Root();
  if (!query) return;
  const QString chosen = TreeView::Key(tvUserQueries->SelectedItem());
  assistant_.SetNode(tvUserQueries, lvUserQueries);
  if (!assistant_.InitializeUserQueryNode(query->text(0), TreeView::Tag(query).toInt())) return;
  ChooseAgain(tvUserQueries, lvUserQueries, chosen);
}

void frmExportAssistant::ChooseAgain(TreeView* tree, ListView* list, const QString& key) {
  if (key.isEmpty()) return;
  QTreeWidgetItem* node = tree->FindNode(key);
  if (!node) {
    list->Model().ClearColumnHeaders();
    list->Model().ClearItems();
    return;
  }
  tree->SelectNode(node);
  const ListView::Place place = list->CurrentPlace();
  NodeClick(tree, list, node);
  list->ReturnTo(place);
}

}  // namespace assistant
