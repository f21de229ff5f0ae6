// CExportAssistant: the report store as the Export Assistant uses it, with
// the trees and lists it fills: the reports and their queries, a query's
// destination and parameters, and the database's top-level tables with
// their fields and rows. Each operation acts on the tree and list set last
// by SetNode, and reports its own failure, as the store does.
#pragma once

#include <QScopedValueRollback>
#include <QString>
#include <cstdint>

#include "reportdb/report_store.h"

class QTreeWidgetItem;

namespace assistant {

class ListView;
class TreeView;

class CExportAssistant : public reportdb::ReportStore {
 public:
  explicit CExportAssistant(reportdb::StoreServices services);

  void SetNode(TreeView* tree, ListView* list);

  // The report tree: root (the file), "Output Report" folder, its reports
  // once expanded. Opens the store's own handle on `databasePath` first.
  void InitializeReportNode(const QString& databasePath);
  // The table tree: root, "Top Level Tables" folder, its tables once expanded.
  void InitializeTopLevelTableNode(const QString& databasePath);
  // The query tree: the query, its "Destination" and, when the saved query
  // takes parameters, its "Parameters".
  // False after a reported failure (no such saved query), the tree as it was.
  bool InitializeUserQueryNode(const QString& queryName, reportdb::Key queryId);
  // Fills a node that is being expanded in place of its placeholder.
  void ExpandNode(QTreeWidgetItem* node);
  // Fills the list for a clicked node of `tree`.
  void ListProperties(TreeView& tree, QTreeWidgetItem* node);
  // Empties the tree, the list's columns and its items.
  void ClearNode();

  // A click on a column header (1-based `index`): the list's own text sort
  // by that column, in the order opposite to the last one.
  void SortColumn(ListView& list, int index);

  // While the answer lives, a listing leaves out what it would only tell
  // (no destination entered, not a parameter query): a pane read again
  // because the file changed shows what is there without a message nobody
  // asked for.
  [[nodiscard]] QScopedValueRollback<bool> QuietNotices() { return QScopedValueRollback<bool>(quietNotices_, true); }

 private:
  QTreeWidgetItem* AddRootAndFolder(const QString& databasePath, const QString& folder, const QString& image);
  void AddReportNodes(QTreeWidgetItem* folder);
  void AddTableNodes(QTreeWidgetItem* folder);
  void AddFieldNodes(QTreeWidgetItem* table);
  void ListReportMembers(QTreeWidgetItem* report);
  void ListUserQueryProperties(QTreeWidgetItem* node);
  void ListDestination(QTreeWidgetItem* node);
  void ListParameters(QTreeWidgetItem* node);
  void ListTableRows(QTreeWidgetItem* table);
  // Columns named after the recordset's fields, then one item per row.
  void ListRecordset(dao::Recordset& records, bool rebuildColumns);
  void Notice(const QString& text, int style, const QString& title) const;

  TreeView* tree_ = nullptr;
  ListView* list_ = nullptr;
  // The report membership columns are built once and then kept.
  bool membershipColumnsBuilt_ = false;
  std::int16_t lastColumnClicked_ = 0;
  bool quietNotices_ = false;
};

}  // namespace assistant
