// Reading an ODBC link the way a local table is read: a scan streams the
// server's rows; there are no Jet index pages to search, and a listing for
// the table browser keeps the rows it read so that each can be shown (and
// changed) again by its place.
#pragma once

#include <map>
#include <optional>
#include <memory>
#include <string>
#include <vector>

#include "jet/server_tables.h"
#include "jet/table_reader.h"

namespace jet {

// The rows of links listed for browsing and editing, by link name
// (folded), until the link is listed again: a row's place is its position
// in the listing, and a change to it goes to the server by its key.
class ServerSnapshots {
 public:
  Status List(ServerTables& tables, const CatalogEntry& link, std::vector<RowId>* ids);
  Status Read(ServerTables& tables, const CatalogEntry& link, RowId id, Row* row);
  Status Insert(ServerTables& tables, const CatalogEntry& link, const Row& row, RowId* id);
  Status Update(ServerTables& tables, const CatalogEntry& link, RowId id, const Row& row);
  Status Delete(ServerTables& tables, const CatalogEntry& link, RowId id);
  void Clear() { rows_.clear(); }

 private:
  // The listed row at `id`; NotFound (3167) for one deleted since.
  Status Listed(ServerTables& tables, const CatalogEntry& link, RowId id, std::optional<Row>** row);
  std::map<std::string, std::vector<std::optional<Row>>> rows_;
};

class ServerLinkReader : public TableReader {
 public:
  ServerLinkReader(ServerTables& tables, ServerSnapshots& listed, CatalogEntry link, ColumnSet wanted)
      : tables_(tables), listed_(listed), link_(std::move(link)), wanted_(std::move(wanted)) {}
  Status Scan(std::unique_ptr<TableCursor>* cursor) override;
  Status Find(const IndexRange& range, std::vector<RowId>* rows) override;
  // A row by its place in the link's listing.
  Status Read(RowId id, Row* row) override;

 private:
  ServerTables& tables_;
  ServerSnapshots& listed_;
  CatalogEntry link_;
  ColumnSet wanted_;
};

}  // namespace jet
