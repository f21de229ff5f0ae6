// Upsizing to PostgreSQL. The server's part is one transaction through
// libpq: the tables are made, their rows sent by COPY (ODBC would send
// them a row at a time, some fifty times slower) and their indexes built,
// so a refusal or a dropped connection leaves the server as it was. The
// file's part, links in place of the tables, is one journaled commit after
// it; if that fails, the tables just made on the server are dropped again.
#include "jet/upsize.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "jet/database.h"
#include "jet/links.h"
#include "storage/relationships.h"
#include "odbc/connect_string.h"
#include "postgres/pg_session.h"
#include "upsize/postgres_tables.h"

namespace jet {
namespace {

using postgres::PgSession;
using upsize::QuotedName;

constexpr size_t kCopyChunkBytes = 1 << 20;
constexpr uint64_t kProgressEveryRows = 100000;

// The report definitions stay in the file, with the program that edits them.
bool IsReportTable(const std::string& name) {
  for (const char* own : {"tblExportableResults", "tblUserQueries", "tblExportableResults_UserQueries"}) {
    if (strcasecmp(name.c_str(), own) == 0) return true;
  }
  return false;
}

Status ChooseTables(Database& db, const std::vector<std::string>& asked, std::vector<std::string>* chosen) {
  if (asked.empty()) {
    for (const CatalogEntry& e : db.catalog()) {
      if (e.kind == ObjectKind::kTable && !e.system && !IsReportTable(e.name)) chosen->push_back(e.name);
    }
    return Status::OK();
  }
  for (const std::string& name : asked) {
    const CatalogEntry* e = db.FindTable(name);
    if (!e) return Status::NotFound("There is no table named '" + name + "' to move.", 3078);
    if (e->kind != ObjectKind::kTable || e->system) {
      return Status::InvalidArgument("'" + name + "' is not a local data table; only those can be moved.");
    }
    chosen->push_back(e->name);
  }
  return Status::OK();
}

Status RefuseTakenName(PgSession& server, const std::string& table) {
  std::string found;
  JET_RETURN_IF_ERROR(server.QueryValue("SELECT to_regclass(" + server.Literal(QuotedName(table)) + ")", &found));
  if (found.empty()) return Status::OK();
  return Status::InvalidArgument("A table named '" + table + "' already exists on the server; nothing was moved.");
}

Status CopyRows(Database& db, PgSession& server, const TableDef& def, const UpsizeOptions& options, uint64_t* rows) {
  std::unique_ptr<TableCursor> cursor;
  JET_RETURN_IF_ERROR(db.OpenTable(def.name, &cursor));
  JET_RETURN_IF_ERROR(server.BeginCopy("COPY " + QuotedName(def.name) + " FROM STDIN"));
  std::string chunk;
  Status s;
  while (s.ok() && cursor->Next()) {
    s = upsize::AppendCopyRow(def, cursor->row(), &chunk);
    if (++*rows % kProgressEveryRows == 0 && options.progress) options.progress(def.name, *rows);
    if (s.ok() && chunk.size() >= kCopyChunkBytes) {
      s = server.SendCopyData(chunk);
      chunk.clear();
    }
  }
  if (s.ok()) s = cursor->status();
  if (s.ok() && !chunk.empty()) s = server.SendCopyData(chunk);
  Status ended = server.EndCopy();  // ends the copy either way; after an error it aborts the transaction
  return s.ok() ? ended : s;
}

// An identity column goes on after the highest number the table has used.
Status ContinueAutonumbers(PgSession& server, const TableDef& def) {
  for (const ColumnDef& c : def.columns) {
    if (!c.autonumber || c.type != ColumnType::kLong) continue;
    std::string highest;
    JET_RETURN_IF_ERROR(server.QueryValue("SELECT max(" + QuotedName(c.name) + ") FROM " + QuotedName(def.name), &highest));
    const int64_t next = std::max<int64_t>(highest.empty() ? 0 : std::stoll(highest), def.last_autonumber) + 1;
    JET_RETURN_IF_ERROR(server.Exec("ALTER TABLE " + QuotedName(def.name) + " ALTER COLUMN " + QuotedName(c.name) +
                                    " RESTART WITH " + std::to_string(next)));
  }
  return Status::OK();
}

Status MakeOnServer(Database& db, PgSession& server, const TableDef& def, const UpsizeOptions& options,
                    uint64_t* rows) {
  const bool jet3 = db.format() == FileFormat::kJet3;
  JET_RETURN_IF_ERROR(server.Exec(upsize::CreateTableStatement(def, jet3)));
  JET_RETURN_IF_ERROR(CopyRows(db, server, def, options, rows));
  for (const std::string& index : upsize::CreateIndexStatements(def)) JET_RETURN_IF_ERROR(server.Exec(index));
  return ContinueAutonumbers(server, def);
}

// A relationship between two moved tables becomes the server's foreign key,
// with the same cascades, so the server keeps what the file kept.
Status AddForeignKeys(Database& db, PgSession& server, const std::vector<std::string>& tables) {
  std::vector<Relationship> relationships;
  JET_RETURN_IF_ERROR(ReadRelationships(db, &relationships));
  auto moved = [&](const std::string& name) {
    return std::any_of(tables.begin(), tables.end(), [&](const std::string& t) { return strcasecmp(t.c_str(), name.c_str()) == 0; });
  };
  for (const Relationship& r : relationships) {
    if (!r.enforced() || !moved(r.table) || !moved(r.referenced_table)) continue;
    JET_RETURN_IF_ERROR(server.Exec(upsize::ForeignKeyStatement(r)));
  }
  return Status::OK();
}

Status MoveToServer(Database& db, PgSession& server, const std::vector<std::string>& tables,
                    const UpsizeOptions& options, std::vector<UpsizedTable>* moved) {
  JET_RETURN_IF_ERROR(server.Exec("BEGIN"));
  for (const std::string& table : tables) JET_RETURN_IF_ERROR(RefuseTakenName(server, table));
  for (const std::string& table : tables) {
    std::shared_ptr<const TableDef> def;
    JET_RETURN_IF_ERROR(db.GetTableDef(table, &def));
    UpsizedTable done{table, 0};
    Status s = MakeOnServer(db, server, *def, options, &done.rows);
    if (!s.ok()) return Status::InvalidArgument("Moving the table '" + table + "' failed, so nothing was moved: " + s.message());
    moved->push_back(done);
  }
  if (Status s = AddForeignKeys(db, server, tables); !s.ok()) {
    return Status::InvalidArgument("A relationship could not be made a foreign key on the server, so nothing was moved: " +
                                   s.message());
  }
  return server.Exec("COMMIT");
}

Status DropFromServer(PgSession& server, const std::vector<std::string>& tables) {
  std::string sql = "DROP TABLE IF EXISTS ";
  for (size_t i = 0; i < tables.size(); ++i) sql += (i ? ", " : "") + QuotedName(tables[i]);
  return server.Exec(sql);
}

std::vector<OdbcLink> LinksFor(const std::vector<std::string>& tables, const std::string& connect) {
  const std::string kept = odbc::ConnectString::Parse(connect).ForLink();
  std::vector<OdbcLink> links;
  for (const std::string& table : tables) {
    OdbcLink link;
    link.name = table;
    link.connect = kept;
    link.foreign_name = table;
    link.keep_local_as = table + "_local";
    links.push_back(std::move(link));
  }
  return links;
}

}  // namespace

Status Upsize(const std::string& path, const UpsizeOptions& options, std::vector<UpsizedTable>* moved) {
  moved->clear();
  odbc::ConnectString server_connect = odbc::ConnectString::Parse(options.connect);
  server_connect.ApplyMappings(options.mappings);
  if (strcasestr(server_connect.Driver().c_str(), "PostgreSQL") == nullptr) {
    return Status::Unsupported("Moving tables is done for PostgreSQL servers (a DRIVER={PostgreSQL Unicode} connect "
                               "string); use the server's own tools for " + WithPasswordsHidden(options.connect) + ".");
  }
  std::vector<std::string> tables;
  {
    std::unique_ptr<Database> db;
    JET_RETURN_IF_ERROR(Database::Open(path, OpenOptions{}, &db));
    JET_RETURN_IF_ERROR(ChooseTables(*db, options.tables, &tables));
    if (tables.empty()) return Status::InvalidArgument("There are no local data tables to move.");
    for (const std::string& t : tables) {
      if (db->FindTable(t + "_local")) return Status::InvalidArgument("'" + t + "_local' already exists; nothing was moved.");
    }
    std::unique_ptr<PgSession> server;
    JET_RETURN_IF_ERROR(PgSession::Open(server_connect.ForDriver(), &server));
    Status s = MoveToServer(*db, *server, tables, options, moved);
    if (!s.ok()) {
      moved->clear();
      return s;  // the server rolls the open transaction back as the session ends
    }
  }
  Status linked = ReplaceTablesByOdbcLinks(path, LinksFor(tables, options.connect), CreateOptions{});
  if (!linked.ok()) {
    std::unique_ptr<PgSession> server;
    if (PgSession::Open(server_connect.ForDriver(), &server).ok()) (void)DropFromServer(*server, tables);
    moved->clear();
    return Status::IOError("The tables could not be linked in " + path +
                           ", so the copies on the server were dropped again: " + linked.message());
  }
  if (!options.drop_local) return Status::OK();
  std::vector<std::string> locals;
  for (const std::string& t : tables) locals.push_back(t + "_local");
  // The file's relationships between the local copies go with them: the
  // server's foreign keys keep the moved rows now.
  Status dropped = DropTables(path, locals, CreateOptions{}, true);
  if (!dropped.ok()) {
    return Status::IOError("The tables were moved and linked, but the local copies could not be removed: " +
                           dropped.message());
  }
  return Status::OK();
}

}  // namespace jet
