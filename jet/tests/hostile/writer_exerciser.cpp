#include "writer_exerciser.h"

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <vector>

#include "jet/database.h"

namespace jet::testing {
namespace {

std::vector<char> FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<char>(std::istreambuf_iterator<char>(in), {});
}

// The first row of `table`, if the table reads that far.
bool FirstRow(Database& db, const std::string& table, Row* row, RowId* id) {
  std::unique_ptr<TableCursor> cursor;
  if (!db.OpenTable(table, &cursor).ok() || !cursor->Next()) return false;
  *row = cursor->row();
  *id = cursor->row_id();
  return true;
}

// Runs `change` in a transaction and commits it; on any error rolls back and
// compares the file with its bytes from before the transaction.
void InTransaction(Database& db, const std::string& path, WriteExerciseResult* result,
                   const std::function<Status()>& change) {
  const std::vector<char> before = FileBytes(path);
  Status s = db.BeginTransaction();
  if (s.ok()) s = change();
  if (s.ok()) s = db.Commit();
  if (s.ok()) {
    ++result->committed;
    return;
  }
  if (db.in_transaction()) (void)db.Rollback();
  ++result->refused;
  result->half_written += FileBytes(path) != before;
}

}  // namespace

WriteExerciseResult ExerciseWriter(const std::string& path) {
  WriteExerciseResult result;
  std::unique_ptr<Database> db;
  OpenOptions options;
  options.writable = true;
  if (!Database::Open(path, options, &db).ok()) return result;
  result.opened = true;
  std::vector<std::string> tables;
  for (const auto& entry : db->catalog()) {
    if (entry.kind == ObjectKind::kTable && !entry.system) tables.push_back(entry.name);
  }
  for (const auto& table : tables) {
    Row row;
    RowId id;
    if (!FirstRow(*db, table, &row, &id)) continue;
    InTransaction(*db, path, &result, [&] { return db->UpdateRow(table, id, row); });
    InTransaction(*db, path, &result, [&] {
      Status s = db->DeleteRow(table, id);
      return s.ok() ? db->InsertRow(table, row) : s;
    });
  }
  return result;
}

}  // namespace jet::testing
