// Database: an open Jet file: catalogue, table definitions and row cursors,
// and, when opened for writing, row changes in transactions.
// Thread-compatible; one object per open file.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/catalog.h"
#include "jet/file_system.h"
#include "jet/path_mapping.h"
#include "jet/schema.h"
#include "jet/server_tables.h"
#include "jet/status.h"
#include "jet/table_cursor.h"
#include "jet/table_reader.h"
#include "jet/types.h"

namespace jet {

struct OpenOptions {
  // Jet 3 text: decode with this iconv encoding ("GBK", "CP1251", ...) instead
  // of the code page the header claims.
  std::string text_encoding_override;
  // Where to look for linked files whose stored path does not exist here.
  std::vector<FolderMapping> folder_mappings;
  // Open for changing rows: only Jet 4 files that this process may write
  // (ReadOnly 3027 otherwise). The file is locked against other writers only
  // from a transaction's first change until its commit or rollback.
  bool writable = false;
  // How long a change waits for another program's change to finish, and a
  // read for another program's commit, before giving up with Busy (3260).
  int lock_wait_ms = 5000;
  // ODBC links: which local driver or data source stands for each Windows
  // one, and what reads the server's tables (the query engine supplies
  // unixODBC's when this is null; without one, ODBC links cannot be read).
  std::vector<OdbcMapping> odbc_mappings;
  std::shared_ptr<ServerTables> server_tables;
  // The user name written to the Access lock file.
  std::string user_name = "Admin";
  // Where the writer's files live; the operating system's when null.
  FileSystem* file_system = nullptr;
};

class Pager;
class Database;

// One read operation for the length of a scope.
class ReadOperation {
 public:
  explicit ReadOperation(Database& db);
  ~ReadOperation();
  ReadOperation(const ReadOperation&) = delete;
  ReadOperation& operator=(const ReadOperation&) = delete;
  const Status& status() const { return status_; }

 private:
  Database& db_;
  Status status_;
};

class Database {
 public:
  static Status Open(const std::string& path, const OpenOptions& options,
                     std::unique_ptr<Database>* db);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  const std::string& path() const;
  FileFormat format() const;
  // The header's code page (Jet 3) and default sort order id.
  uint16_t code_page() const;
  uint16_t sort_order() const;

  // --- Sharing the file with other programs ---
  //
  // Each read below is one operation: it waits for another program's commit
  // to finish, sees the file as it is now, and never part of a commit. A
  // caller that reads in several steps (a cursor, a statement) brackets them
  // with BeginRead/EndRead (or a ReadOperation) to make them one operation;
  // nested brackets only count. No lock is held between operations.
  Status BeginRead();
  void EndRead();
  // Called often during a long operation: when another program waits to
  // commit, lets it through. kStale when it changed the file: the operation
  // must end, and start again in a new one.
  Status AllowPendingCommit();
  // Whether the current operation let a commit through that changed the
  // file (whatever error that then caused on the way out).
  bool changed_under_read() const;

  // Every MSysObjects row, in catalogue order. Entries stay where they are
  // until the catalogue itself changes.
  const std::vector<CatalogEntry>& catalog() const;
  // Looks an object up by name (without regard to case) among objects of
  // `kind`; names are unique only per kind. nullptr when absent.
  const CatalogEntry* FindObject(const std::string& name, ObjectKind kind) const;
  // A local or linked table by name; nullptr when absent.
  const CatalogEntry* FindTable(const std::string& name) const;

  // A saved query's own properties of one output field (Caption, Format,
  // Description, ...), as Access keeps them with the query; nullptr when it
  // has none.
  const PropertyMap* QueryFieldProperties(const std::string& query, const std::string& field) const;

  // The definition of a table (for a linked table: the linked file's table,
  // under the link's name). Loaded on first use and kept.
  Status GetTableDef(const std::string& name, std::shared_ptr<const TableDef>* def);

  // A cursor over a table's live rows in scan order.
  Status OpenTable(const std::string& name, std::unique_ptr<TableCursor>* cursor);

  // Every live row's place, in scan order, found without decoding a row, and
  // one row read by its place: a long table can be shown a screenful at a time.
  Status ListRowIds(const std::string& name, std::vector<RowId>* ids);
  Status ReadRowAt(const std::string& name, RowId id, Row* row);

  // A reader of the table that decodes only the `wanted` columns (all when
  // empty); valid until the next commit.
  Status OpenReader(const std::string& name, const ColumnSet& wanted, std::unique_ptr<TableReader>* reader);

  // For an ODBC link: the rows the server returns for `query`.
  Status OpenServerRows(const std::string& name, const ServerQuery& query, std::unique_ptr<TableCursor>* cursor);

  // The live row count, counted from the rows (not the stale stored count).
  Status CountRows(const std::string& name, uint64_t* count);

  // For a linked table: the resolved path of its file, or NotFound naming the
  // stored path.
  Status ResolveLink(const CatalogEntry& link, std::string* local_path) const;

  // --- Writing (a database opened with OpenOptions::writable) ---
  //
  // Changes made outside BeginTransaction/Commit are committed one by one.
  // Inside a transaction every reader of this object sees them at once;
  // other processes see them only after Commit.
  bool writable() const;
  // Takes the writers' turn now rather than at the first change, so that
  // what a statement reads before it changes rows is the file as it will
  // change it. Busy (3260 naming who is in the file) after the wait.
  Status StartChanging();
  Status BeginTransaction();
  Status Commit();
  Status Rollback();
  bool in_transaction() const;

  // `row` holds one value per column of the table's definition; a Null
  // autonumber gets the next number. `id` (optional) receives where it went.
  // Errors carry Jet's numbers: 3022 duplicate key, 3314 required field,
  // 3058 Null in a key, 3163 value too long, 3047 record too large.
  Status InsertRow(const std::string& table, const Row& row, RowId* id = nullptr);
  Status UpdateRow(const std::string& table, RowId id, const Row& row);
  Status DeleteRow(const std::string& table, RowId id);  // 3021 when no such row
  Status ReadRow(const std::string& table, RowId id, Row* row);
  // On an ODBC link the calls above go to the server, by the row's key, in
  // a server transaction that the file's commit ends first; a row's place
  // is its position in the link's last ListRowIds. This one changes a row
  // given by its key values instead.
  Status ChangeServerRow(const std::string& name, const ServerChange& change, Row* stored = nullptr);
  // Around one statement's changes to an ODBC link inside the open
  // transaction, so that a statement that fails takes back just its own.
  Status MarkServerStatement(const std::string& name);
  Status EndServerStatement(const std::string& name, bool keep);

  // Looks, cheaply, whether the file changed since this object last looked,
  // and if it did drops everything read from it: pages, catalogue entries
  // that changed, table layouts. Every read below does this on its own; call
  // it where a caller keeps something derived from the file (a list on the
  // screen) and wants to know whether to read it again.
  Status Refresh();
  // Moves on our own commits and whenever a change by another program is
  // seen, so caches of table contents can tell they are stale.
  uint64_t generation() const;
  // What opening found and did about an interrupted commit, for the user;
  // empty when there was nothing to tell.
  const std::string& open_notice() const;

 private:
  struct Impl;
  explicit Database(std::unique_ptr<Impl> impl);
  // The reads above, inside an operation.
  Status ListRowIdsNow(const std::string& name, std::vector<RowId>* ids);
  Status ReadRowAtNow(const std::string& name, RowId id, Row* row);
  Status CountRowsNow(const std::string& name, uint64_t* count);
  std::unique_ptr<Impl> impl_;
};

}  // namespace jet
