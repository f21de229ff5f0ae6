#include "odbc/change_statements.h"

namespace jet::odbc {
namespace {

Status KeyCondition(const Connection& connection, const TableDef& def, const Row& key_row, std::string* where,
                    std::vector<Value>* parameters) {
  const IndexDef* key = def.PrimaryKey();
  if (!key) return Status::ReadOnly("the server's table has no primary key to tell its rows apart", 3027);
  for (const IndexColumn& c : key->columns) {
    if (static_cast<size_t>(c.column) >= key_row.size() || key_row[c.column].is_null()) {
      return Status::InvalidArgument("the row to change has no value for its key '" + def.columns[c.column].name + "'");
    }
    *where += (where->empty() ? " WHERE " : " AND ") + connection.QuoteIdentifier(def.columns[c.column].name) + " = ?";
    parameters->push_back(key_row[c.column]);
  }
  return Status::OK();
}

}  // namespace

Status ChangeStatement(const Connection& connection, const CatalogEntry& link, const TableDef& def,
                       const ServerChange& change, bool returning, std::string* sql, std::vector<Value>* parameters) {
  const std::string table = connection.QuoteName(link.foreign_name);
  std::string names, marks, where;
  switch (change.kind) {
    case ServerChange::Kind::kInsert:
      for (size_t column : change.columns) {
        names += (names.empty() ? "" : ", ") + connection.QuoteIdentifier(def.columns[column].name);
        marks += marks.empty() ? "?" : ", ?";
        parameters->push_back(change.new_row[column]);
      }
      *sql = names.empty() ? "INSERT INTO " + table + " DEFAULT VALUES"
                           : "INSERT INTO " + table + " (" + names + ") VALUES (" + marks + ")";
      if (returning) *sql += " RETURNING *";
      return Status::OK();
    case ServerChange::Kind::kUpdate:
      for (size_t column : change.columns) {
        names += (names.empty() ? "" : ", ") + connection.QuoteIdentifier(def.columns[column].name) + " = ?";
        parameters->push_back(change.new_row[column]);
      }
      JET_RETURN_IF_ERROR(KeyCondition(connection, def, change.key_row, &where, parameters));
      *sql = "UPDATE " + table + " SET " + names + where;
      return Status::OK();
    case ServerChange::Kind::kDelete:
      JET_RETURN_IF_ERROR(KeyCondition(connection, def, change.key_row, &where, parameters));
      *sql = "DELETE FROM " + table + where;
      return Status::OK();
  }
  return Status::InvalidArgument("unknown change");
}

}  // namespace jet::odbc
