#include "reader_exerciser.h"

#include "jet/database.h"
#include "jet/text_form.h"

namespace jet::testing {
namespace {

// A value of the type an index's first column keys, for a range from it.
bool RangeStart(ColumnType type, Value* v) {
  switch (type) {
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong: *v = Value(type, int64_t{0}); return true;
    case ColumnType::kDouble: *v = Value(type, 0.5); return true;
    case ColumnType::kDateTime: *v = Value(type, DateTime{1.5}); return true;
    default: return false;
  }
}

// Every index read as a range, and the rows it names read by their place.
int SeekEveryIndex(Database& db, const std::string& table, const TableDef& def) {
  std::unique_ptr<TableReader> reader;
  if (!db.OpenReader(table, {}, &reader).ok()) return 1;
  int errors = 0;
  for (size_t i = 0; i < def.indexes.size(); ++i) {
    const IndexDef& index = def.indexes[i];
    IndexRange range;
    range.index = i;
    Value start;
    if (index.columns.empty() || index.columns[0].column < 0 ||
        static_cast<size_t>(index.columns[0].column) >= def.columns.size() ||
        !RangeStart(def.columns[index.columns[0].column].type, &start))
      continue;
    range.lower = start;
    std::vector<RowId> rows;
    if (!reader->Find(range, &rows).ok()) {
      ++errors;
      continue;
    }
    Row row;
    for (size_t k = 0; k < rows.size() && k < 1000; ++k) errors += !reader->Read(rows[k], &row).ok();
  }
  return errors;
}

}  // namespace

ExerciseResult ExerciseReader(const std::string& path) {
  ExerciseResult result;
  std::unique_ptr<Database> db;
  if (!Database::Open(path, {}, &db).ok()) return result;
  result.opened = true;
  for (const auto& entry : db->catalog()) {
    if (entry.kind != ObjectKind::kTable) continue;
    std::shared_ptr<const TableDef> def;
    std::unique_ptr<TableCursor> cursor;
    if (!db->GetTableDef(entry.name, &def).ok() || !db->OpenTable(entry.name, &cursor).ok()) {
      ++result.errors;
      continue;
    }
    while (cursor->Next()) {
      for (const auto& v : cursor->row()) (void)CanonicalText(v);
      ++result.rows;
    }
    result.errors += !cursor->status().ok();
    uint64_t count = 0;
    result.errors += !db->CountRows(entry.name, &count).ok();
    result.errors += SeekEveryIndex(*db, entry.name, *def);
    ++result.tables_read;
  }
  return result;
}

}  // namespace jet::testing
