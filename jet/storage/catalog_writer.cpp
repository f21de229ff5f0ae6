#include "storage/catalog_writer.h"

#include <algorithm>

#include "storage/journal.h"
#include "jet/database.h"
#include "storage/sharing_locks.h"

namespace jet {

Status OpenForDefinitions(const std::string& path, FileSystem* fs, std::unique_ptr<Pager>* pager, FileStamp* before) {
  if (!fs->Exists(path)) return Status::NotFound("file not found: " + path);
  if (fs->Exists(JournalPath(path))) {
    return Status::Busy("the database " + path + " has an unfinished commit; open it for writing first");
  }
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(fs->Open(path, FileSystem::Mode::kReadWrite, &file));
  // The locks stay with the descriptor, which the pager keeps to the end.
  SharingLocks locks(file.get(), path, OpenOptions().lock_wait_ms);
  JET_RETURN_IF_ERROR(locks.LockWriters());
  JET_RETURN_IF_ERROR(locks.BeginFileWrite());
  JET_RETURN_IF_ERROR(fs->Stamp(path, before));
  JET_RETURN_IF_ERROR(Pager::OpenFile(std::move(file), pager));
  const Pager& p = **pager;
  if (p.is_jet3() || p.sort_order() != 0x0409 || p.sort_order_version() != 0) {
    pager->reset();
    return Status::Unsupported("objects can only be added to Jet 4 databases in the General sort order: " + path);
  }
  return Status::OK();
}

void SetCatalogValue(const TableDef& def, const char* column, Value value, Row* row) {
  const int n = def.FindColumn(column);
  if (n >= 0) (*row)[n] = std::move(value);
}

Row NewCatalogRow(const TableDef& def, int64_t id, int64_t parent, const std::string& name, int64_t type,
                  int64_t flags, double created) {
  Row row;
  for (const ColumnDef& c : def.columns) row.push_back(Value::Null(c.type));
  SetCatalogValue(def, "Id", Value(ColumnType::kLong, id), &row);
  SetCatalogValue(def, "ParentId", Value(ColumnType::kLong, parent), &row);
  SetCatalogValue(def, "Name", Value(ColumnType::kText, name), &row);
  SetCatalogValue(def, "Type", Value(ColumnType::kInteger, type), &row);
  SetCatalogValue(def, "DateCreate", Value(ColumnType::kDateTime, DateTime{created}), &row);
  SetCatalogValue(def, "DateUpdate", Value(ColumnType::kDateTime, DateTime{created}), &row);
  SetCatalogValue(def, "Flags", Value(ColumnType::kLong, flags), &row);
  SetCatalogValue(def, "Owner", Value(ColumnType::kBinary, kAdminSid), &row);
  return row;
}

std::string FoldedName(const std::string& name) {
  std::string folded = name;
  std::transform(folded.begin(), folded.end(), folded.begin(), [](unsigned char c) { return std::tolower(c); });
  return folded;
}

}  // namespace jet
