#include "odbc/server_statements.h"

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

std::string KeyOrder(const Connection& connection, const TableDef& def) {
  std::string order;
  if (const IndexDef* key = def.PrimaryKey()) {
    for (const IndexColumn& c : key->columns)
      order += (order.empty() ? " ORDER BY " : ", ") + connection.QuoteIdentifier(def.columns[c.column].name);
  }
  return order;
}

// A condition as the server is asked it. A server date keeps fractions of
// a second that a Jet date rounds away, so a date condition is widened by
// a second on each side: the server then returns a superset of the rows,
// and the condition is checked exactly on each.
std::vector<std::pair<ServerCondition::Op, Value>> ServerForm(const ServerCondition& c, ColumnType type) {
  using Op = ServerCondition::Op;
  const DateTime* date = c.value.get_if<DateTime>();
  if (type != ColumnType::kDateTime || !date) return {{c.op, c.value}};
  constexpr double kSecond = 1.0 / 86400;
  const Value before(ColumnType::kDateTime, DateTime{date->serial - kSecond});
  const Value after(ColumnType::kDateTime, DateTime{date->serial + kSecond});
  switch (c.op) {
    case Op::kEqual: return {{Op::kGreaterOrEqual, before}, {Op::kLessOrEqual, after}};
    case Op::kLess:
    case Op::kLessOrEqual: return {{Op::kLessOrEqual, after}};
    case Op::kGreater:
    case Op::kGreaterOrEqual: return {{Op::kGreaterOrEqual, before}};
  }
  return {};
}

const char* OperatorText(ServerCondition::Op op) {
  switch (op) {
    case ServerCondition::Op::kEqual: return " = ";
    case ServerCondition::Op::kLess: return " < ";
    case ServerCondition::Op::kLessOrEqual: return " <= ";
    case ServerCondition::Op::kGreater: return " > ";
    case ServerCondition::Op::kGreaterOrEqual: return " >= ";
  }
  return " = ";
}

// A result column. PostgreSQL is asked for its dates as text, which its
// driver passes on as they come; a date of the driver's own kind it reads
// into parts and, asked for text, prints again, several times what reading
// the text costs us (see DateTimeFromText).
std::string ResultColumn(const Connection& connection, const ColumnDef& column) {
  const std::string name = connection.QuoteIdentifier(column.name);
  if (column.type == ColumnType::kDateTime && connection.server_name() == "PostgreSQL") return name + "::text";
  return name;
}

}  // namespace

std::string SelectText(const Connection& connection, const CatalogEntry& link, const TableDef& def,
                       const ServerQuery& query, ParameterMarks marks, std::vector<size_t>* selected,
                       std::vector<Value>* parameters) {
  std::string columns;
  for (size_t i = 0; i < def.columns.size(); ++i) {
    if (!query.wanted.empty() && (i >= query.wanted.size() || !query.wanted[i])) continue;
    columns += (columns.empty() ? "" : ", ") + ResultColumn(connection, def.columns[i]);
    selected->push_back(i);
  }
  std::string sql = "SELECT " + (columns.empty() ? std::string("1") : columns) + " FROM " +
                    connection.QuoteName(link.foreign_name);
  std::string where;
  for (const ServerCondition& c : query.conditions) {
    if (c.column >= def.columns.size()) continue;
    for (auto& [op, value] : ServerForm(c, def.columns[c.column].type)) {
      where += (where.empty() ? " WHERE " : " AND ") + connection.QuoteIdentifier(def.columns[c.column].name) +
               OperatorText(op);
      parameters->push_back(std::move(value));
      where += marks == ParameterMarks::kQuestion ? "?" : "$" + std::to_string(parameters->size());
    }
  }
  return sql + where + (query.key_order ? KeyOrder(connection, def) : "");
}

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
