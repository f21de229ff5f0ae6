#include "sql/server_table_module.h"

#include <cstring>
#include <sstream>
#include <vector>

#include "sql/table_module.h"
#include "sql/virtual_table.h"

namespace jet::sql {
namespace {

// What a filter asks the server: the columns to fetch (SQLite's colUsed
// mask; the last bit stands for every column past 63) and the conditions,
// as "mask;column:op,column:op".
struct Plan {
  uint64_t columns = ~uint64_t{0};
  std::vector<std::pair<int, ServerCondition::Op>> conditions;

  std::string Encode() const {
    std::ostringstream out;
    out << columns << ';';
    for (const auto& [column, op] : conditions) out << column << ':' << static_cast<int>(op) << ',';
    return out.str();
  }
  static Plan Decode(const char* text) {
    Plan plan;
    if (!text) return plan;
    std::istringstream in(text);
    char sep = 0;
    in >> plan.columns >> sep;
    int column = 0, op = 0;
    while (in >> column >> sep >> op >> sep) plan.conditions.emplace_back(column, static_cast<ServerCondition::Op>(op));
    return plan;
  }
};

std::optional<ServerCondition::Op> OpOf(unsigned char sqlite_op) {
  switch (sqlite_op) {
    case SQLITE_INDEX_CONSTRAINT_EQ: return ServerCondition::Op::kEqual;
    case SQLITE_INDEX_CONSTRAINT_LT: return ServerCondition::Op::kLess;
    case SQLITE_INDEX_CONSTRAINT_LE: return ServerCondition::Op::kLessOrEqual;
    case SQLITE_INDEX_CONSTRAINT_GT: return ServerCondition::Op::kGreater;
    case SQLITE_INDEX_CONSTRAINT_GE: return ServerCondition::Op::kGreaterOrEqual;
    default: return std::nullopt;
  }
}

// Columns whose SQLite values mean what the server's do: whole numbers,
// floating numbers and dates. Decimals (exact text here), currency (scaled
// here) and Yes/No (-1 here, true there) are left to SQLite.
bool ServerCompares(ColumnType type) {
  switch (type) {
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kDateTime: return true;
    default: return false;
  }
}

// A condition's value for the server, or nothing when SQLite compares it as
// something other than a number (a text compared with a number column).
std::optional<Value> ServerValue(sqlite3_value* v, ColumnType column) {
  const int storage = sqlite3_value_type(v);
  if (storage != SQLITE_INTEGER && storage != SQLITE_FLOAT) return std::nullopt;
  if (column == ColumnType::kDateTime) return Value(ColumnType::kDateTime, DateTime{sqlite3_value_double(v)});
  if (storage == SQLITE_INTEGER) return Value(ColumnType::kLong, static_cast<int64_t>(sqlite3_value_int64(v)));
  return Value(ColumnType::kDouble, sqlite3_value_double(v));
}

struct Table : sqlite3_vtab {
  const ServerSource* source = nullptr;
};

struct Cursor : sqlite3_vtab_cursor {
  std::unique_ptr<TableCursor> rows;
  bool at_end = true;
  sqlite3_int64 rowid = 0;
};

const ServerSource& SourceOf(sqlite3_vtab_cursor* c) { return *static_cast<Table*>(c->pVtab)->source; }

// Each round trip to the server costs about as much as reading this many rows.
constexpr double kRoundTripRows = 1000;

int BestIndex(sqlite3_vtab* vtab, sqlite3_index_info* info) {
  const ServerSource& source = *static_cast<Table*>(vtab)->source;
  const TableDef& def = *source.def;
  Plan plan;
  plan.columns = info->colUsed;
  double rows = source.estimated_rows;
  for (int i = 0; i < info->nConstraint; ++i) {
    const auto& c = info->aConstraint[i];
    const std::optional<ServerCondition::Op> op = OpOf(c.op);
    if (!c.usable || !op || c.iColumn < 0 || static_cast<size_t>(c.iColumn) >= def.columns.size() ||
        !ServerCompares(def.columns[c.iColumn].type)) {
      continue;
    }
    plan.conditions.emplace_back(c.iColumn, *op);
    info->aConstraintUsage[i].argvIndex = static_cast<int>(plan.conditions.size());
    info->aConstraintUsage[i].omit = 0;  // SQLite checks every row again
    rows /= *op == ServerCondition::Op::kEqual ? 20 : 4;
  }
  rows = std::max(rows, 1.0);
  info->estimatedCost = kRoundTripRows + rows;
  info->estimatedRows = static_cast<sqlite3_int64>(rows);
  info->idxStr = sqlite3_mprintf("%s", plan.Encode().c_str());
  info->needToFreeIdxStr = 1;
  return SQLITE_OK;
}

int Next(sqlite3_vtab_cursor* base) {
  auto* c = static_cast<Cursor*>(base);
  c->at_end = !c->rows->Next();
  if (c->at_end && !c->rows->status().ok()) return FailVirtualTable(base->pVtab, c->rows->status());
  ++c->rowid;
  return SQLITE_OK;
}

int Filter(sqlite3_vtab_cursor* base, int, const char* idx_str, int argc, sqlite3_value** argv) {
  auto* c = static_cast<Cursor*>(base);
  const ServerSource& source = SourceOf(base);
  const Plan plan = Plan::Decode(idx_str);
  ServerQuery query;
  query.wanted.resize(source.def->columns.size());
  for (size_t i = 0; i < query.wanted.size(); ++i) query.wanted[i] = (plan.columns >> std::min<size_t>(i, 63)) & 1;
  for (int i = 0; i < argc && static_cast<size_t>(i) < plan.conditions.size(); ++i) {
    const auto [column, op] = plan.conditions[i];
    std::optional<Value> v = ServerValue(argv[i], source.def->columns[column].type);
    if (!v) continue;
    ServerCondition& c = query.conditions.emplace_back();
    c.column = static_cast<size_t>(column);
    c.op = op;
    c.value = *v;
  }
  c->rows.reset();  // a nested loop's earlier pass ends before the next asks
  c->rowid = 0;
  Status s = source.db->OpenServerRows(source.table, query, &c->rows);
  if (!s.ok()) return FailVirtualTable(base->pVtab, s);
  return Next(base);
}

int Eof(sqlite3_vtab_cursor* c) { return static_cast<Cursor*>(c)->at_end; }

int Column(sqlite3_vtab_cursor* base, sqlite3_context* context, int i) {
  ResultCell(context, static_cast<Cursor*>(base)->rows->row(), i);
  return SQLITE_OK;
}

int RowIdOf(sqlite3_vtab_cursor* base, sqlite3_int64* rowid) {
  *rowid = static_cast<Cursor*>(base)->rowid;
  return SQLITE_OK;
}

}  // namespace

void RegisterServerTableModule(sqlite3* lite, const std::map<std::string, ServerSource>* sources) {
  static const sqlite3_module module =
      ReadOnlyModule<Table, Cursor>(ConnectToSource<Table, ServerSource>, BestIndex, Filter, Next, Eof, Column, RowIdOf);
  sqlite3_create_module(lite, kServerTableModule, &module, const_cast<std::map<std::string, ServerSource>*>(sources));
}

}  // namespace jet::sql
