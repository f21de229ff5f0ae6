// jetdump: the engine's support tool. Lists a database's tables, prints their
// schema, and prints any table as canonical CSV.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/text_form.h"
#include "query_commands.h"
#include "schema_printer.h"
#include "shell_command.h"
#include "upsize_command.h"

namespace {

const char kUsage[] =
    "Usage: jetdump [OPTIONS] FILE\n"
    "Inspect an Access (Jet) database.\n"
    "\n"
    "  (no option)          list the tables: name, kind, live row count\n"
    "  --schema [TABLE]     print columns (type, size, properties) and indexes\n"
    "                       (columns, flags, distinct count) of every or one table\n"
    "  --csv TABLE          print TABLE as CSV in the canonical text form\n"
    "  --queries            print each saved query's type, parameters and SQL\n"
    "  --run QUERY [VALUE...]  run a saved query with parameter values by position\n"
    "                          (give FILE before --run; \\N is a Null value)\n"
    "  --sql STATEMENT...   run one or more SQL statements in one transaction;\n"
    "                       INSERT, UPDATE and DELETE change the file\n"
    "  --shell              run SQL statements read from standard input, one a\n"
    "                       line, each in a transaction of its own: a query\n"
    "                       prints CSV and an empty line, a change its row count\n"
    "  --system             include system tables in the list\n"
    "  --encoding NAME      decode Jet 3 text as NAME (an iconv name such as GBK)\n"
    "                       instead of the code page the file claims\n"
    "  --map WINDIR=DIR     resolve linked files under the Windows folder WINDIR\n"
    "                       in the local folder DIR (may be repeated)\n"
    "  --odbc-map FROM=TO   read ODBC links that name the Windows driver {FROM}\n"
    "                       or data source FROM through the local driver {TO}\n"
    "                       or data source TO; ;KEY=VALUE after TO (a PWD, a\n"
    "                       SERVER) is used to connect (may be repeated)\n"
    "  --upsize CONNECT [TABLE...]  move tables (all local data tables but the\n"
    "                       report tables when none is named) to the PostgreSQL\n"
    "                       database of the ODBC connect string CONNECT and\n"
    "                       replace each by an ODBC link; the local table stays\n"
    "                       as NAME_local\n"
    "  --drop-local         with --upsize: remove the NAME_local tables\n"
    "  --help               show this help\n"
    "\n"
    "Canonical CSV: fields joined by ',', records ended by '\\n', a header row of\n"
    "column names; Null is \\N; booleans 1/0; dates yyyy-MM-dd HH:mm:ss[.SSS];\n"
    "binary as lowercase hex.\n";

struct Options {
  std::string file;
  enum class Mode { kList, kSchema, kCsv, kQueries, kRun, kSql, kShell, kUpsize } mode = Mode::kList;
  std::vector<std::string> arguments;  // --run: query then values; --sql: statements
  std::string table;
  bool system = false;
  bool drop_local = false;
  jet::OpenOptions open;
};

int Fail(const std::string& message) {
  std::fprintf(stderr, "jetdump: %s\n", message.c_str());
  return 1;
}

bool ParseArgs(int argc, char** argv, Options* o, std::string* error) {
  std::vector<std::string> positional;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    auto value = [&](std::string* out) {
      if (i + 1 >= argc) {
        *error = a + " needs a value";
        return false;
      }
      *out = argv[++i];
      return true;
    };
    if (a == "--help" || a == "-h") {
      std::fputs(kUsage, stdout);
      std::exit(0);
    } else if (a == "--schema") {
      o->mode = Options::Mode::kSchema;
    } else if (a == "--csv") {
      o->mode = Options::Mode::kCsv;
      if (!value(&o->table)) return false;
    } else if (a == "--queries") {
      o->mode = Options::Mode::kQueries;
    } else if (a == "--shell") {
      o->mode = Options::Mode::kShell;
    } else if (a == "--system") {
      o->system = true;
    } else if (a == "--encoding") {
      if (!value(&o->open.text_encoding_override)) return false;
    } else if (a == "--map") {
      std::string m;
      if (!value(&m)) return false;
      size_t eq = m.find('=');
      if (eq == std::string::npos) {
        *error = "--map takes WINDIR=DIR";
        return false;
      }
      o->open.folder_mappings.push_back({m.substr(0, eq), m.substr(eq + 1)});
    } else if (a == "--odbc-map") {
      std::string m;
      if (!value(&m)) return false;
      std::optional<jet::OdbcMapping> mapping = jet::ParseOdbcMapping(m);
      if (!mapping) {
        *error = "--odbc-map takes FROM=TO, e.g. \"{SQL Server}={ODBC Driver 18 for SQL Server}\"";
        return false;
      }
      o->open.odbc_mappings.push_back(*mapping);
    } else if (a == "--drop-local") {
      o->drop_local = true;
    } else if (a == "--upsize") {
      o->mode = Options::Mode::kUpsize;
      while (i + 1 < argc && std::strncmp(argv[i + 1], "--", 2) != 0) o->arguments.push_back(argv[++i]);
      if (o->arguments.empty()) {
        *error = "--upsize needs a connect string";
        return false;
      }
      if (positional.empty()) {
        *error = "give FILE before --upsize";
        return false;
      }
    } else if (a == "--run" || a == "--sql") {
      o->mode = a == "--run" ? Options::Mode::kRun : Options::Mode::kSql;
      while (i + 1 < argc && std::strncmp(argv[i + 1], "--", 2) != 0) o->arguments.push_back(argv[++i]);
      if (o->arguments.empty()) {
        *error = a + " needs " + (a == "--run" ? "a query name" : "a statement");
        return false;
      }
      // Values would swallow a database named after them, so it comes first.
      if (positional.empty() && o->arguments.size() > 1 && a == "--run") {
        *error = "give FILE before --run";
        return false;
      }
    } else if (!a.empty() && a[0] == '-') {
      *error = "unknown option " + a;
      return false;
    } else {
      positional.push_back(a);
    }
  }
  // The database comes last; --schema may name one table before it.
  const size_t allowed = o->mode == Options::Mode::kSchema ? 2 : 1;
  if (positional.empty()) {
    *error = "no database given";
  } else if (positional.size() > allowed) {
    *error = "too many arguments";
  } else {
    o->file = positional.back();
    if (positional.size() == 2) o->table = positional.front();
  }
  return error->empty();
}

const char* KindName(jet::ObjectKind kind) {
  switch (kind) {
    case jet::ObjectKind::kTable: return "table";
    case jet::ObjectKind::kLinkedTable: return "linked";
    case jet::ObjectKind::kLinkedOdbc: return "linked-odbc";
    default: return "other";
  }
}

int ListTables(jet::Database& db, bool system) {
  std::string out;
  for (const auto& e : db.catalog()) {
    const bool tabular = e.kind == jet::ObjectKind::kTable || e.kind == jet::ObjectKind::kLinkedTable ||
                         e.kind == jet::ObjectKind::kLinkedOdbc;
    if (!tabular || (e.system && !system)) continue;
    std::string rows = "?";
    uint64_t count = 0;
    if (jet::Status s = db.CountRows(e.name, &count); s.ok()) rows = std::to_string(count);
    else if (e.kind == jet::ObjectKind::kLinkedOdbc) std::fprintf(stderr, "jetdump: %s\n", s.message().c_str());
    out += e.name + "\t" + KindName(e.kind) + (e.system ? " (system)" : "") + "\t" + rows;
    if (e.kind != jet::ObjectKind::kTable) {
      out += "\t" + e.database + "\t" + e.foreign_name + "\t" + jet::WithPasswordsHidden(e.connect);
      if (!e.source_file.empty()) out += "\t" + e.source_file;
    }
    out += "\n";
  }
  std::fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

int PrintCsv(jet::Database& db, const std::string& table) {
  std::unique_ptr<jet::TableCursor> cursor;
  if (jet::Status s = db.OpenTable(table, &cursor); !s.ok()) return Fail(s.ToString());
  std::vector<std::string> names;
  for (const auto& c : cursor->def().columns) names.push_back(c.name);
  std::string out;
  jet::AppendCsvHeader(&out, names);
  while (cursor->Next()) {
    jet::AppendCsvRecord(&out, cursor->row());
    if (out.size() > (1 << 20)) {
      std::fwrite(out.data(), 1, out.size(), stdout);
      out.clear();
    }
  }
  std::fwrite(out.data(), 1, out.size(), stdout);
  if (!cursor->status().ok()) return Fail(cursor->status().ToString());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options o;
  std::string error;
  if (!ParseArgs(argc, argv, &o, &error)) {
    std::fprintf(stderr, "jetdump: %s\n\n%s", error.c_str(), kUsage);
    return 2;
  }
  if (o.mode == Options::Mode::kQueries) return jetdump::PrintQueries(o.file, o.open);
  if (o.mode == Options::Mode::kRun) {
    std::vector<std::string> values(o.arguments.begin() + 1, o.arguments.end());
    return jetdump::RunSavedQuery(o.file, o.open, o.arguments[0], values);
  }
  if (o.mode == Options::Mode::kSql) return jetdump::RunStatements(o.file, o.open, o.arguments);
  if (o.mode == Options::Mode::kShell) return jetdump::RunShell(o.file, o.open);
  if (o.mode == Options::Mode::kUpsize) {
    std::vector<std::string> tables(o.arguments.begin() + 1, o.arguments.end());
    return jetdump::Upsize(o.file, o.arguments[0], tables, o.drop_local, o.open.odbc_mappings);
  }
  o.open.server_tables = jet::MakeOdbcTables(o.open.odbc_mappings);
  std::unique_ptr<jet::Database> db;
  if (jet::Status s = jet::Database::Open(o.file, o.open, &db); !s.ok()) return Fail(s.ToString());
  switch (o.mode) {
    case Options::Mode::kList: return ListTables(*db, o.system);
    case Options::Mode::kSchema: return jetdump::PrintSchema(*db, o.table, o.system);
    case Options::Mode::kCsv: return PrintCsv(*db, o.table);
    default: break;
  }
  return 0;
}
