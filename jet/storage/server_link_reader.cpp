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

// Whether the file's type for a column can be read from the server's.
bool KeepsFileType(ColumnType file, ColumnType server) {
  return (file == ColumnType::kCurrency && server == ColumnType::kDecimal) ||
         (file == ColumnType::kByte && server == ColumnType::kInteger) ||
         (file == ColumnType::kBinary && server == ColumnType::kOle);
}

}  // namespace

std::shared_ptr<const TableDef> LinkDefinition(const TableDef& from_server, const TableDef* kept) {
  auto def = std::make_shared<TableDef>(from_server);
  if (!kept) return def;
  def->properties = kept->properties;
  for (ColumnDef& column : def->columns) {
    const int local = kept->FindColumn(column.name);
    if (local < 0) continue;
    const ColumnDef& file = kept->columns[local];
    column.properties = file.properties;
    if (KeepsFileType(file.type, column.type)) {
      column.type = file.type;
      column.size = file.size;
    }
  }
  return def;
}

Status ServerLinkReader::Scan(std::unique_ptr<TableCursor>* cursor) {
  ServerQuery query;
  query.wanted = wanted_;
  return link_.tables->OpenRows(link_.entry, link_.def, query, cursor);
}

Status ServerLinkReader::Find(const IndexRange&, std::vector<RowId>*) {
  return Status::Unsupported("a linked server table has no index pages to search");
}

Status ServerLinkReader::Read(RowId id, Row* row) { return listed_.Read(link_, id, row); }

Status ServerSnapshots::List(const ServerLink& link, std::vector<RowId>* ids) {
  std::unique_ptr<TableCursor> cursor;
  ServerQuery all;
  all.key_order = true;
  JET_RETURN_IF_ERROR(link.tables->OpenRows(link.entry, link.def, all, &cursor));
  std::vector<std::optional<Row>> rows;
  while (cursor->Next()) rows.emplace_back(cursor->row());
  JET_RETURN_IF_ERROR(cursor->status());
  ids->clear();
  ids->reserve(rows.size());
  for (uint64_t i = 0; i < rows.size(); ++i) ids->push_back(Place(i));
  rows_[Folded(link.entry.name)] = std::move(rows);
  return Status::OK();
}

Status ServerSnapshots::Listed(const ServerLink& link, RowId id, std::optional<Row>** row) {
  auto it = rows_.find(Folded(link.entry.name));
  if (it == rows_.end()) {
    std::vector<RowId> ids;
    JET_RETURN_IF_ERROR(List(link, &ids));
    it = rows_.find(Folded(link.entry.name));
  }
  const uint64_t index = Index(id);
  if (index >= it->second.size() || !it->second[index]) {
    return Status::NotFound("no such row in the linked table '" + link.entry.name + "'", 3167);
  }
  *row = &it->second[index];
  return Status::OK();
}

Status ServerSnapshots::Read(const ServerLink& link, RowId id, Row* row) {
  std::optional<Row>* listed = nullptr;
  JET_RETURN_IF_ERROR(Listed(link, id, &listed));
  *row = **listed;
  return Status::OK();
}

Status ServerSnapshots::Insert(const ServerLink& link, const Row& row, RowId* id) {
  ServerChange change;
  change.new_row = row;
  for (size_t i = 0; i < row.size(); ++i) {
    if (!row[i].is_null()) change.columns.push_back(i);  // Nulls take the server's defaults and numbers
  }
  // The new row's place follows the listed ones, which a listing made now
  // gives the places the caller already has.
  if (!rows_.count(Folded(link.entry.name))) {
    std::vector<RowId> ids;
    JET_RETURN_IF_ERROR(List(link, &ids));
  }
  Row stored;
  JET_RETURN_IF_ERROR(link.tables->Change(link.entry, *link.def, change, &stored));
  auto& rows = rows_[Folded(link.entry.name)];
  rows.emplace_back(std::move(stored));
  if (id) *id = Place(rows.size() - 1);
  return Status::OK();
}

Status ServerSnapshots::Update(const ServerLink& link, RowId id, const Row& row) {
  std::optional<Row>* listed = nullptr;
  JET_RETURN_IF_ERROR(Listed(link, id, &listed));
  ServerChange change;
  change.kind = ServerChange::Kind::kUpdate;
  change.key_row = **listed;
  change.new_row = row;
  for (size_t i = 0; i < row.size() && i < change.key_row.size(); ++i) {
    if (!(row[i] == change.key_row[i])) change.columns.push_back(i);
  }
  JET_RETURN_IF_ERROR(link.tables->Change(link.entry, *link.def, change, nullptr));
  **listed = row;
  return Status::OK();
}

Status ServerSnapshots::Delete(const ServerLink& link, RowId id) {
  std::optional<Row>* listed = nullptr;
  JET_RETURN_IF_ERROR(Listed(link, id, &listed));
  ServerChange change;
  change.kind = ServerChange::Kind::kDelete;
  change.key_row = **listed;
  JET_RETURN_IF_ERROR(link.tables->Change(link.entry, *link.def, change, nullptr));
  listed->reset();
  return Status::OK();
}

}  // namespace jet
