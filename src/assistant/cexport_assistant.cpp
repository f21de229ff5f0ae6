#include "assistant/cexport_assistant.h"

#include "app/fill_list_from_db.h"
#include "assistant/list_view.h"
#include "assistant/top_level_tables.h"
#include "assistant/tree_view.h"
#include "assistant/value_text.h"
#include "platform/dao/dao.h"
#include "platform/dao/table_rows.h"
#include "platform/ui/dialogs.h"
#include "reportdb/sql_catalogue.h"
#include "reportdb/stored_lists.h"

namespace assistant {

namespace {

const QString kReportFolder = QStringLiteral("Output Report");
const QString kTableFolder = QStringLiteral("Top Level Tables");
const QString kDestination = QStringLiteral("Destination");
const QString kParameters = QStringLiteral("Parameters");
const QString kTableTag = QStringLiteral("Table");
const QString kFieldTag = QStringLiteral("Field");
const QString kAssistantTitle = QStringLiteral("Excel Export Assistant");

QStringList RowTexts(const dao::Recordset& records) {
  QStringList texts;
  for (int i = 0; i < records.FieldCount(); ++i) texts.append(ValueText(records.Value(i)));
  return texts;
}

}  // namespace

CExportAssistant::CExportAssistant(reportdb::StoreServices services) : ReportStore(std::move(services)) {}

void CExportAssistant::SetNode(TreeView* tree, ListView* list) {
  tree_ = tree;
  list_ = list;
}

void CExportAssistant::ClearNode() {
  Reporting([&] {
    tree_->clear();
    list_->Model().ClearColumnHeaders();
    list_->Model().ClearItems();
  });
}

QTreeWidgetItem* CExportAssistant::AddRootAndFolder(const QString& databasePath, const QString& folder,
                                                    const QString& image) {
  tree_->clear();
  QTreeWidgetItem* root = tree_->AddNode(nullptr, databasePath, databasePath, QStringLiteral("access"));
  QTreeWidgetItem* folderNode = tree_->AddNode(root, folder, folder, image);
  TreeView::AddPlaceholder(folderNode);
  root->setExpanded(true);
  return folderNode;
}

void CExportAssistant::InitializeReportNode(const QString& databasePath) {
  if (!OpenOwnDatabase(databasePath)) return;
  Reporting([&] { AddRootAndFolder(databasePath, kReportFolder, QStringLiteral("eye")); });
}

void CExportAssistant::InitializeTopLevelTableNode(const QString& databasePath) {
  Reporting([&] { AddRootAndFolder(databasePath, kTableFolder, QStringLiteral("tableX")); });
}

bool CExportAssistant::InitializeUserQueryNode(const QString& queryName, reportdb::Key queryId) {
  return Reporting([&] {
    dao::QueryDef query = Own().QueryDefs(queryName);
    tree_->clear();
    QTreeWidgetItem* root = tree_->AddNode(nullptr, query.Name(), query.Name(), QStringLiteral("openbook"),
                                           QString(), queryId);
    tree_->AddNode(root, kDestination, kDestination, QStringLiteral("emptydot"), QStringLiteral("litdot"), queryId);
    if (query.Parameters().Count() != 0) {
      tree_->AddNode(root, kParameters, kParameters, QStringLiteral("emptydot"), QStringLiteral("litdot"), queryId);
    }
    root->setExpanded(true);
  });
}

void CExportAssistant::ExpandNode(QTreeWidgetItem* node) {
  Reporting([&] {
    if (!node || !node->parent()) return;  // the root is filled when the tree is made
    while (node->childCount() > 0) delete node->takeChild(0);
    // The folders are only children, so their first sibling is themselves.
    const QString firstSibling = TreeView::Key(node->parent()->child(0));
    if (firstSibling == kReportFolder) {
      AddReportNodes(node);
    } else if (firstSibling == kTableFolder) {
      AddTableNodes(node);
    } else {
      AddFieldNodes(node);
    }
  });
}

void CExportAssistant::AddReportNodes(QTreeWidgetItem* folder) {
  const QString statement = basExportAssistantUtilities::FillListStatement(
      QStringLiteral("tblExportableResults"), QStringLiteral("OutputID"), QStringLiteral("Abbreviation"));
  auto records = Own().OpenRecordset(statement);
  for (; !records->IsEOF(); records->MoveNext()) {
    const QString name = records->Value(1).toString();
    tree_->AddNode(folder, name, name, QStringLiteral("emptydot"), QStringLiteral("litdot"), records->Value(0));
  }
}

void CExportAssistant::AddTableNodes(QTreeWidgetItem* folder) {
  for (const QString& name : TopLevelTables(Own().TableDefs())) {
    QTreeWidgetItem* table =
        tree_->AddNode(folder, name, name, QStringLiteral("lightoff"), QStringLiteral("lighton"), kTableTag);
    TreeView::AddPlaceholder(table);
  }
}

void CExportAssistant::AddFieldNodes(QTreeWidgetItem* table) {
  const QString tableName = table->text(0);
  for (const dao::Field& field : Own().TableDefs(tableName).Fields) {
    tree_->AddNode(table, tableName + QStringLiteral("_") + field.Name, field.Name, QStringLiteral("emptydot"),
                   QStringLiteral("litdot"), kFieldTag);
  }
}

void CExportAssistant::ListProperties(TreeView& tree, QTreeWidgetItem* node) {
  Reporting([&] {
    if (!node) return;
    const QString name = tree.objectName();
    if (name == QStringLiteral("tvReports")) {
      ListReportMembers(node);
    } else if (name == QStringLiteral("tvUserQueries")) {
      ListUserQueryProperties(node);
    } else if (name == QStringLiteral("tvTopLevelTables") && TreeView::Tag(node).toString() == kTableTag) {
      ListTableRows(node);
    }
  });
}

void CExportAssistant::ListRecordset(dao::Recordset& records, bool rebuildColumns) {
  ListViewModel& model = list_->Model();
  if (rebuildColumns) {
    model.ClearColumnHeaders();
    for (const dao::FieldInfo& field : records.Fields()) model.AddColumnHeader(field.name);
  }
  model.ClearItems();
  for (; !records.IsEOF(); records.MoveNext()) model.AddItem(RowTexts(records));
}

void CExportAssistant::ListReportMembers(QTreeWidgetItem* report) {
  auto records = Own().OpenRecordset(reportdb::sql::ReportMembersForTree(TreeView::Tag(report).toInt()));
  list_->SetReportView();
  // The list shows other columns between reports (a query's settings), so
  // the membership columns are built again whenever they are not showing.
  const bool showing = list_->Model().columnCount() == 2 &&
                       list_->Model().ColumnCaption(0) == records->Field(0).name &&
                       list_->Model().ColumnCaption(1) == records->Field(1).name;
  if (!showing) membershipColumnsBuilt_ = false;
  ListRecordset(*records, !membershipColumnsBuilt_);
  membershipColumnsBuilt_ = true;
}

void CExportAssistant::ListUserQueryProperties(QTreeWidgetItem* node) {
  if (node->text(0) == kDestination) {
    ListDestination(node);
  } else if (node->text(0) == kParameters) {
    ListParameters(node);
  }
}

void CExportAssistant::ListDestination(QTreeWidgetItem* node) {
  list_->SetReportView();
  auto records = Own().OpenRecordset(reportdb::sql::QueryDestinationForProperties(TreeView::Tag(node).toInt()));
  ListViewModel& model = list_->Model();
  model.ClearColumnHeaders();
  for (const dao::FieldInfo& field : records->Fields()) model.AddColumnHeader(field.name);
  model.ClearItems();
  // An empty text is no template either.
  if (!records->IsEOF() && !records->Value(0).toString().trimmed().isEmpty()) {
    model.AddItem(RowTexts(*records));
    return;
  }
  Notice(QStringLiteral("Destination settings have not been entered or a template is not required for this report."),
         platform::vbInformation, kAssistantTitle);
}

void CExportAssistant::ListParameters(QTreeWidgetItem* node) {
  dao::QueryDef query = Own().QueryDefs(tree_->Root()->text(0));
  ListViewModel& model = list_->Model();
  if (query.Parameters().Count() == 0) {
    model.ClearColumnHeaders();
    model.ClearItems();
    Notice(QStringLiteral("This is not a parameter query"), platform::vbOKOnly, QString());
    return;
  }
  model.ClearColumnHeaders();
  for (const dao::Parameter& parameter : query.Parameters().items()) model.AddColumnHeader(parameter.Name);
  model.ClearItems();
  auto records = Own().OpenRecordset(reportdb::sql::QueryParametersForProperties(TreeView::Tag(node).toInt()));
  if (records->IsEOF()) return;
  model.AddItem(reportdb::ReadQueryParameters(records->Value(0)).value_or(QStringList()));
}

void CExportAssistant::Notice(const QString& text, int style, const QString& title) const {
  if (!quietNotices_) platform::dialogs().MsgBox(text, style, title);
}

void CExportAssistant::ListTableRows(QTreeWidgetItem* table) {
  std::unique_ptr<dao::TableRows> rows = dao::TableRows::Open(Own(), table->text(0));
  list_->SetReportView();
  ListViewModel& model = list_->Model();
  model.ClearColumnHeaders();
  for (const dao::FieldInfo& field : rows->Fields()) model.AddColumnHeader(field.name);
  model.ShowTableRows(std::move(rows));
}

void CExportAssistant::SortColumn(ListView& list, int index) {
  // Both branches flip the order: a new column goes on from the last order.
  list.SetSortOrder(list.SortOrder() == Qt::AscendingOrder ? Qt::DescendingOrder : Qt::AscendingOrder);
  list.SetSortKey(index - 1);
  list.SetSorted(true);
  lastColumnClicked_ = static_cast<std::int16_t>(index);
}

}  // namespace assistant
