#include "writer_exerciser.h"

#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "jet/database.h"
#include "jet/text_form.h"
#include "file_bytes.h"

namespace jet::testing {
namespace {

std::string RowText(const Row& row) {
  std::string text;
  for (const Value& v : row) text += CanonicalText(v) + '\x1f';
  return text;
}

// What a reader sees of a file: the catalogue and, for every user table
// that reads to its end, its rows in text form (a multiset: order may change).
struct Contents {
  std::multiset<std::string> catalogue;
  std::map<std::string, std::multiset<std::string>> tables;
};

std::optional<Contents> ReadContents(const std::string& path) {
  std::unique_ptr<Database> db;
  if (!Database::Open(path, {}, &db).ok()) return std::nullopt;
  Contents c;
  for (const auto& entry : db->catalog()) {
    c.catalogue.insert(entry.name + '\x1f' + std::to_string(static_cast<int>(entry.kind)));
    if (entry.kind != ObjectKind::kTable || entry.system) continue;
    std::unique_ptr<TableCursor> cursor;
    if (!db->OpenTable(entry.name, &cursor).ok()) continue;
    std::multiset<std::string> rows;
    while (cursor->Next()) rows.insert(RowText(cursor->row()));
    if (cursor->status().ok()) c.tables[entry.name] = std::move(rows);
  }
  return c;
}

// The first row of `table`, if the table reads that far.
bool FirstRow(Database& db, const std::string& table, Row* row, RowId* id) {
  std::unique_ptr<TableCursor> cursor;
  if (!db.OpenTable(table, &cursor).ok() || !cursor->Next()) return false;
  *row = cursor->row();
  *id = cursor->row_id();
  return true;
}

bool InSomeIndex(const TableDef& def, size_t column) {
  for (const IndexDef& index : def.indexes)
    for (const IndexColumn& c : index.columns)
      if (c.column == static_cast<int>(column)) return true;
  return false;
}

// `row` with one value changed: the first number or short text that no
// index keys and that is no autonumber; nullopt when there is none.
std::optional<Row> ChangedRow(const TableDef& def, Row row) {
  for (size_t i = 0; i < def.columns.size() && i < row.size(); ++i) {
    const ColumnDef& c = def.columns[i];
    if (c.autonumber || InSomeIndex(def, i)) continue;
    const int64_t* number = row[i].get_if<int64_t>();
    if ((c.type == ColumnType::kByte || c.type == ColumnType::kInteger || c.type == ColumnType::kLong) &&
        (number || row[i].is_null())) {
      row[i] = Value(c.type, int64_t{number && *number == 1 ? 2 : 1});
      return row;
    }
    const std::string* text = row[i].get_if<std::string>();
    if (c.type == ColumnType::kText && !c.fixed && c.size >= 8 && (text || row[i].is_null())) {
      row[i] = Value(c.type, std::string(text && *text == "fz" ? "zf" : "fz"));
      return row;
    }
  }
  return std::nullopt;
}

bool HasNullAutonumber(const TableDef& def, const Row& row) {
  for (size_t i = 0; i < def.columns.size() && i < row.size(); ++i)
    if (def.columns[i].autonumber && row[i].is_null()) return true;
  return false;
}

// Runs `change` in a transaction and commits it; on any error rolls back and
// compares the file with its bytes from before the transaction.
bool InTransaction(Database& db, const std::string& path, WriteExerciseResult* result,
                   const std::function<Status()>& change) {
  const std::vector<char> before = FileBytes(path);
  Status s = db.BeginTransaction();
  if (s.ok()) s = change();
  if (s.ok()) s = db.Commit();
  if (s.ok()) {
    ++result->committed;
    return true;
  }
  if (db.in_transaction()) (void)db.Rollback();
  ++result->refused;
  result->half_written += FileBytes(path) != before;
  return false;
}

// Changes each user table, keeping `expected` in step with what committed.
void ChangeEveryTable(Database& db, const std::string& path, Contents* expected, WriteExerciseResult* result) {
  std::vector<std::string> tables;
  for (const auto& entry : db.catalog())
    if (entry.kind == ObjectKind::kTable && !entry.system) tables.push_back(entry.name);
  for (const auto& table : tables) {
    Row row;
    RowId id;
    std::shared_ptr<const TableDef> def;
    if (!FirstRow(db, table, &row, &id) || !db.GetTableDef(table, &def).ok()) continue;
    auto rows = expected->tables.find(table);
    const std::optional<Row> changed = ChangedRow(*def, row);
    if (changed && InTransaction(db, path, result, [&] { return db.UpdateRow(table, id, *changed); })) {
      result->changed_tables.insert(table);
      if (rows != expected->tables.end()) {
        auto old_row = rows->second.find(RowText(row));
        if (old_row != rows->second.end()) rows->second.erase(old_row);
        rows->second.insert(RowText(*changed));
      }
      row = *changed;
    }
    // Deleted and inserted again: the same rows, the row at a new place.
    // (A damaged row whose autonumber is Null gets a number, as in Access.)
    if (HasNullAutonumber(*def, row)) continue;
    if (InTransaction(db, path, result, [&] {
          Status s = db.DeleteRow(table, id);
          return s.ok() ? db.InsertRow(table, row) : s;
        }))
      result->changed_tables.insert(table);
  }
}

}  // namespace

WriteExerciseResult ExerciseWriter(const std::string& path) {
  WriteExerciseResult result;
  std::optional<Contents> expected = ReadContents(path);
  {
    std::unique_ptr<Database> db;
    OpenOptions options;
    options.writable = true;
    if (!Database::Open(path, options, &db).ok()) return result;
    result.opened = true;
    Contents ignored;
    ChangeEveryTable(*db, path, expected ? &*expected : &ignored, &result);
  }
  if (!expected) return result;
  // Read back by a fresh reader, as another program would.
  const std::optional<Contents> after = ReadContents(path);
  if (!after) return ++result.altered, result;
  result.altered += after->catalogue != expected->catalogue;
  for (const auto& [table, rows] : expected->tables) {
    auto found = after->tables.find(table);
    result.altered += found == after->tables.end() || found->second != rows;
  }
  return result;
}

}  // namespace jet::testing
