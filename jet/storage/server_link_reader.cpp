#include "storage/server_link_reader.h"

#include <cctype>

namespace jet {
namespace {

std::string Folded(const std::string& name) {
  std::string out = name;
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

uint64_t Index(RowId id) { return (static_cast<uint64_t>(id.page) << 16) | id.row; }
RowId Place(uint64_t index) { return {static_cast<uint32_t>(index >> 16), static_cast<uint16_t>(index)}; }

}  // namespace

Status ServerLinkReader::Scan(std::unique_ptr<TableCursor>* cursor) {
  return tables_.OpenRows(link_, ServerQuery{wanted_, {}}, cursor);
}

Status ServerLinkReader::Find(const IndexRange&, std::vector<RowId>*) {
  return Status::Unsupported("a linked server table has no index pages to search");
}

Status ServerLinkReader::Read(RowId id, Row* row) { return listed_.Read(tables_, link_, id, row); }

Status ServerSnapshots::List(ServerTables& tables, const CatalogEntry& link, std::vector<RowId>* ids) {
  std::unique_ptr<TableCursor> cursor;
  ServerQuery all;
  all.key_order = true;
  JET_RETURN_IF_ERROR(tables.OpenRows(link, all, &cursor));
  std::vector<std::optional<Row>> rows;
  while (cursor->Next()) rows.emplace_back(cursor->row());
  JET_RETURN_IF_ERROR(cursor->status());
  ids->clear();
  ids->reserve(rows.size());
  for (uint64_t i = 0; i < rows.size(); ++i) ids->push_back(Place(i));
  rows_[Folded(link.name)] = std::move(rows);
  return Status::OK();
}

Status ServerSnapshots::Listed(ServerTables& tables, const CatalogEntry& link, RowId id, std::optional<Row>** row) {
  auto it = rows_.find(Folded(link.name));
  if (it == rows_.end()) {
    std::vector<RowId> ids;
    JET_RETURN_IF_ERROR(List(tables, link, &ids));
    it = rows_.find(Folded(link.name));
  }
  const uint64_t index = Index(id);
  if (index >= it->second.size() || !it->second[index]) {
    return Status::NotFound("no such row in the linked table '" + link.name + "'", 3167);
  }
  *row = &it->second[index];
  return Status::OK();
}

Status ServerSnapshots::Read(ServerTables& tables, const CatalogEntry& link, RowId id, Row* row) {
  std::optional<Row>* listed = nullptr;
  JET_RETURN_IF_ERROR(Listed(tables, link, id, &listed));
  *row = **listed;
  return Status::OK();
}

Status ServerSnapshots::Insert(ServerTables& tables, const CatalogEntry& link, const Row& row, RowId* id) {
  ServerChange change;
  change.new_row = row;
  for (size_t i = 0; i < row.size(); ++i) {
    if (!row[i].is_null()) change.columns.push_back(i);  // Nulls take the server's defaults and numbers
  }
  // The new row's place follows the listed ones, which a listing made now
  // gives the places the caller already has.
  if (!rows_.count(Folded(link.name))) {
    std::vector<RowId> ids;
    JET_RETURN_IF_ERROR(List(tables, link, &ids));
  }
  Row stored;
  JET_RETURN_IF_ERROR(tables.Change(link, change, &stored));
  auto& rows = rows_[Folded(link.name)];
  rows.emplace_back(std::move(stored));
  if (id) *id = Place(rows.size() - 1);
  return Status::OK();
}

Status ServerSnapshots::Update(ServerTables& tables, const CatalogEntry& link, RowId id, const Row& row) {
  std::optional<Row>* listed = nullptr;
  JET_RETURN_IF_ERROR(Listed(tables, link, id, &listed));
  ServerChange change;
  change.kind = ServerChange::Kind::kUpdate;
  change.key_row = **listed;
  change.new_row = row;
  for (size_t i = 0; i < row.size() && i < change.key_row.size(); ++i) {
    if (!(row[i] == change.key_row[i])) change.columns.push_back(i);
  }
  JET_RETURN_IF_ERROR(tables.Change(link, change, nullptr));
  **listed = row;
  return Status::OK();
}

Status ServerSnapshots::Delete(ServerTables& tables, const CatalogEntry& link, RowId id) {
  std::optional<Row>* listed = nullptr;
  JET_RETURN_IF_ERROR(Listed(tables, link, id, &listed));
  ServerChange change;
  change.kind = ServerChange::Kind::kDelete;
  change.key_row = **listed;
  JET_RETURN_IF_ERROR(tables.Change(link, change, nullptr));
  listed->reset();
  return Status::OK();
}

}  // namespace jet
