#include "odbc/server_catalog.h"

#include "storage/text_codec.h"

#include "odbc/server_values.h"

namespace jet::odbc {

Status CountServerRows(Connection& connection, const CatalogEntry& link, uint64_t* count) {
  std::unique_ptr<Statement> statement;
  JET_RETURN_IF_ERROR(Statement::Make(connection, &statement));
  JET_RETURN_IF_ERROR(statement->Execute("SELECT COUNT(*) FROM " + connection.QuoteName(link.foreign_name), {}));
  SQLRETURN rc = SQLFetch(statement->handle());
  if (!Succeeded(rc)) return statement->Failed(rc, "counting rows");
  Value n;
  JET_RETURN_IF_ERROR(ReadCell(statement->handle(), 1, ColumnType::kLong, &n));
  *count = n.get_if<int64_t>() ? static_cast<uint64_t>(*n.get_if<int64_t>()) : 0;
  return Status::OK();
}

Status DescribeColumns(Connection& connection, const CatalogEntry& link, TableDef* def) {
  std::unique_ptr<Statement> statement;
  JET_RETURN_IF_ERROR(Statement::Make(connection, &statement));
  JET_RETURN_IF_ERROR(statement->Execute("SELECT * FROM " + connection.QuoteName(link.foreign_name) + " WHERE 1=0", {}));
  SQLSMALLINT count = 0;
  SQLNumResultCols(statement->handle(), &count);
  for (SQLUSMALLINT i = 1; i <= count; ++i) {
    SQLWCHAR name[256] = {};
    SQLSMALLINT name_length = 0, nullable = SQL_NULLABLE;
    ServerColumn column;
    SQLRETURN rc = SQLDescribeColW(statement->handle(), i, name, 256, &name_length, &column.sql_type, &column.size,
                                   &column.digits, &nullable);
    if (!Succeeded(rc)) return statement->Failed(rc, "describing the server's columns");
    column.name = ToUtf8(name, std::min<size_t>(name_length, 255));
    column.nullable = nullable != SQL_NO_NULLS;
    SQLLEN automatic = SQL_FALSE;
    SQLColAttributeW(statement->handle(), i, SQL_DESC_AUTO_UNIQUE_VALUE, nullptr, 0, nullptr, &automatic);
    column.autonumber = automatic == SQL_TRUE;
    ColumnDef jet_column = JetColumnFor(column);
    jet_column.number = static_cast<uint16_t>(i - 1);
    def->columns.push_back(std::move(jet_column));
  }
  return Status::OK();
}

Status ReadPrimaryKey(Connection& connection, const CatalogEntry& link, TableDef* def) {
  std::unique_ptr<Statement> statement;
  JET_RETURN_IF_ERROR(Statement::Make(connection, &statement));
  const size_t dot = link.foreign_name.rfind('.');
  std::u16string schema = Utf8ToUtf16(dot == std::string::npos ? "" : link.foreign_name.substr(0, dot));
  std::u16string table = Utf8ToUtf16(dot == std::string::npos ? link.foreign_name : link.foreign_name.substr(dot + 1));
  auto wide = [](std::u16string& s) { return reinterpret_cast<SQLWCHAR*>(s.data()); };
  SQLRETURN rc = SQLPrimaryKeysW(statement->handle(), nullptr, 0, schema.empty() ? nullptr : wide(schema),
                                 static_cast<SQLSMALLINT>(schema.size()), wide(table),
                                 static_cast<SQLSMALLINT>(table.size()));
  if (!Succeeded(rc)) return statement->Failed(rc, "reading the server's primary key");
  IndexDef key;
  key.name = "PrimaryKey";
  key.primary = key.unique = key.required = true;
  while (Succeeded(SQLFetch(statement->handle()))) {
    Value column;
    JET_RETURN_IF_ERROR(ReadCell(statement->handle(), 4, ColumnType::kText, &column));
    const int at = column.get_if<std::string>() ? def->FindColumn(*column.get_if<std::string>()) : -1;
    if (at >= 0) key.columns.push_back({at, true});
  }
  if (key.columns.empty()) return Status::OK();
  key.distinct_count = def->stored_row_count;  // a unique key has as many values as the table has rows
  def->indexes.push_back(std::move(key));
  return Status::OK();
}

}  // namespace jet::odbc
