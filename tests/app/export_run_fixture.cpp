#include "export_run_fixture.h"

#include <QFile>

#include "export/bas_exporter.h"
#include "jet/database.h"
#include "jet/table_cursor.h"
#include "platform/dao/dao.h"

void ExportRunTest::SetUp() {
  ExporterTest::SetUp();
  ASSERT_TRUE(temp_.isValid());
  qputenv("XDG_CONFIG_HOME", QFile::encodeName(temp_.filePath(QStringLiteral("config"))));
  database_ = temp_.filePath(QStringLiteral("reports.mdb"));
  ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_FIXTURES "/jet/reports-northwind.mdb"), database_));
  QFile(database_).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
}

void ExportRunTest::ChangeUserQuery(int queryId, const std::map<std::string, jet::Value>& fields) {
  jet::OpenOptions options;
  options.writable = true;
  std::unique_ptr<jet::Database> db;
  ASSERT_TRUE(jet::Database::Open(database_.toStdString(), options, &db).ok());
  std::shared_ptr<const jet::TableDef> def;
  ASSERT_TRUE(db->GetTableDef("tblUserQueries", &def).ok());
  std::unique_ptr<jet::TableCursor> rows;
  ASSERT_TRUE(db->OpenTable("tblUserQueries", &rows).ok());
  while (rows->Next()) {
    if (rows->row()[def->FindColumn("QueryID")].as_int() != queryId) continue;
    jet::Row changed = rows->row();
    const jet::RowId id = rows->row_id();
    for (const auto& [name, value] : fields) {
      const int column = def->FindColumn(name);
      ASSERT_GE(column, 0) << name;
      changed[column] = value.is_null() ? jet::Value::Null(def->columns[column].type)
                                        : jet::Value(def->columns[column].type, value.data());
    }
    rows.reset();
    const jet::Status status = db->UpdateRow("tblUserQueries", id, changed);
    ASSERT_TRUE(status.ok()) << status.ToString();
    return;
  }
  FAIL() << "no user query " << queryId;
}

void ExportRunTest::Run(const QString& reportName, int outputId, basExporter::RunProgress* progress) {
  std::shared_ptr<dao::Database> database = dao::DBEngine::Workspaces(0).OpenDatabase(database_);
  basExporter::RunContext context{*database, database_, [this](const QString& text) { statuses << text; }, progress};
  basExporter::ExportReport(reportName, outputId, context);
}

platform::ScriptedDialogs::MessageBoxShown ExportRunTest::OnlyBox() const {
  EXPECT_EQ(script.MessageBoxes().size(), 1);
  return script.MessageBoxes().value(0);
}

jet::Value ExportRunTest::Text(const QString& text) {
  return jet::Value(jet::ColumnType::kText, text.toStdString());
}
jet::Value ExportRunTest::Number(int number) { return jet::Value(jet::ColumnType::kInteger, int64_t{number}); }
jet::Value ExportRunTest::Null() { return jet::Value(); }
