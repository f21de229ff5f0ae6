// Reading an ODBC link the way a local table is read: a scan streams the
// server's rows; there are no Jet index pages to search, and a listing for
// the table browser keeps the rows it read so that each can be shown (and
// changed) again by its place.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/server_tables.h"
#include "jet/table_reader.h"

namespace jet {

// A link to a server table, with the columns it is read as.
struct ServerLink {
  ServerTables* tables = nullptr;
  CatalogEntry entry;
  std::shared_ptr<const TableDef> def;
};

// The columns a link is read as: the server's, with the captions, formats
// and descriptions the file keeps for the link, and the file's own type
// where the server's stands for it (Currency kept in numeric(19,4), Byte in
// smallint, Binary in bytea), so a moved table reads as it did.
std::shared_ptr<const TableDef> LinkDefinition(const TableDef& from_server, const TableDef* kept);

// The rows of links listed for browsing and editing, by link name
// (folded), until the link is listed again: a row's place is its position
// in the listing, and a change to it goes to the server by its key.
class ServerSnapshots {
 public:
  Status List(const ServerLink& link, std::vector<RowId>* ids);
  Status Read(const ServerLink& link, RowId id, Row* row);
  Status Insert(const ServerLink& link, const Row& row, RowId* id);
  Status Update(const ServerLink& link, RowId id, const Row& row);
  Status Delete(const ServerLink& link, RowId id);
  void Clear() { rows_.clear(); }

 private:
  // The listed row at `id`; NotFound (3167) for one deleted since.
  Status Listed(const ServerLink& link, RowId id, std::optional<Row>** row);
  std::map<std::string, std::vector<std::optional<Row>>> rows_;
};

class ServerLinkReader : public TableReader {
 public:
  ServerLinkReader(ServerLink link, ServerSnapshots& listed, ColumnSet wanted)
      : link_(std::move(link)), listed_(listed), wanted_(std::move(wanted)) {}
  Status Scan(std::unique_ptr<TableCursor>* cursor) override;
  Status Find(const IndexRange& range, std::vector<RowId>* rows) override;
  // A row by its place in the link's listing.
  Status Read(RowId id, Row* row) override;

 private:
  ServerLink link_;
  ServerSnapshots& listed_;
  ColumnSet wanted_;
};

}  // namespace jet
