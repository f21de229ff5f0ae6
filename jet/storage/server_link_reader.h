// Reading an ODBC link the way a local table is read: a scan streams the
// server's rows; there are no Jet index pages to search, and a listing for
// the table browser keeps the rows it read so that each can be shown again
// by its place.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jet/server_tables.h"
#include "jet/table_reader.h"

namespace jet {

class ServerLinkReader : public TableReader {
 public:
  ServerLinkReader(ServerTables& tables, CatalogEntry link, ColumnSet wanted)
      : tables_(tables), link_(std::move(link)), wanted_(std::move(wanted)) {}
  Status Scan(std::unique_ptr<TableCursor>* cursor) override;
  Status Find(const IndexRange& range, std::vector<RowId>* rows) override;
  Status Read(RowId id, Row* row) override;

 private:
  ServerTables& tables_;
  CatalogEntry link_;
  ColumnSet wanted_;
};

// The rows of links listed for browsing, by link name (folded), until the
// link is listed again.
class ServerSnapshots {
 public:
  Status List(ServerTables& tables, const CatalogEntry& link, std::vector<RowId>* ids);
  Status Read(ServerTables& tables, const CatalogEntry& link, RowId id, Row* row);
  void Clear() { rows_.clear(); }

 private:
  std::map<std::string, std::vector<Row>> rows_;
};

}  // namespace jet
