#include "reader_exerciser.h"

#include "jet/database.h"
#include "jet/text_form.h"

namespace jet::testing {

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
    ++result.tables_read;
  }
  return result;
}

}  // namespace jet::testing
