// Jet SQL text, as `jetdump --sql` takes it: the input is one or more
// statements, separated by blank lines, run in one transaction over a small
// database of every column type; selects give rows, INSERT, UPDATE and
// DELETE change them. The transaction is always rolled back, and the file
// must then be byte for byte as it was, so every input meets the same data.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "jet/create.h"
#include "jet/query.h"
#include "jet/text_form.h"
#include "file_bytes.h"
#include "scratch_file.h"

namespace {

using jet::ColumnSpec;
using jet::testing::FileBytes;
using jet::ColumnType;

// Small on purpose: a statement may join every table with every other.
const char* const kRows[] = {
    "INSERT INTO tblSite (SiteID, SiteName, Opened, Active) VALUES (1, 'North Arm', #5/1/2024#, True)",
    "INSERT INTO tblSite (SiteID, SiteName, Opened, Active) VALUES (2, 'south bay ', #6/15/2024 08:30#, False)",
    "INSERT INTO tblSite (SiteID, SiteName, Opened, Active) VALUES (3, NULL, NULL, True)",
    "INSERT INTO tblCatch (SiteID, Species, Weight, Price, Fish, Ratio, Notes, Small, Share) VALUES "
    "(1, 'Coho', 2.5, 12.3456, 3, 0.125, 'first of the day', 7, 0.5)",
    "INSERT INTO tblCatch (SiteID, Species, Weight, Price, Fish, Ratio, Notes, Small, Share) VALUES "
    "(1, 'Chinook', 10.75, 0, 1, -3.5, NULL, 255, -1.25)",
    "INSERT INTO tblCatch (SiteID, Species, Weight, Fish) VALUES (2, 'Ärger', -0.001, -32768)",
    "INSERT INTO tblCatch (SiteID, Species, Weight, Fish) VALUES (3, '', 1E+300, 32767)",
    "INSERT INTO tblCatch (SiteID, Species) VALUES (NULL, 'chum')",
};

std::string MakeDatabase() {
  const std::string path = fuzz::ScratchFolder() + "/sql.mdb";
  std::vector<jet::TableSpec> tables(2);
  tables[0].name = "tblSite";
  tables[0].columns = {ColumnSpec("SiteID", ColumnType::kLong), ColumnSpec("SiteName", ColumnType::kText, 50),
                       ColumnSpec("Opened", ColumnType::kDateTime), ColumnSpec("Active", ColumnType::kBoolean)};
  tables[0].indexes = {jet::IndexSpec("PrimaryKey", {"SiteID"}, true), jet::IndexSpec("SiteName", {"SiteName"})};
  tables[1].name = "tblCatch";
  tables[1].columns = {ColumnSpec("CatchID", ColumnType::kLong), ColumnSpec("SiteID", ColumnType::kLong),
                       ColumnSpec("Species", ColumnType::kText, 20), ColumnSpec("Weight", ColumnType::kDouble),
                       ColumnSpec("Price", ColumnType::kCurrency), ColumnSpec("Fish", ColumnType::kInteger),
                       ColumnSpec("Ratio", ColumnType::kDecimal), ColumnSpec("Notes", ColumnType::kMemo),
                       ColumnSpec("Small", ColumnType::kByte), ColumnSpec("Share", ColumnType::kSingle),
                       ColumnSpec("Tag", ColumnType::kGuid), ColumnSpec("Raw", ColumnType::kBinary, 8)};
  tables[1].columns[0].autonumber = true;
  tables[1].columns[6].precision = 10;
  tables[1].columns[6].scale = 3;
  tables[1].indexes = {jet::IndexSpec("PrimaryKey", {"CatchID"}, true), jet::IndexSpec("SiteID", {"SiteID"}),
                       jet::IndexSpec("SiteSpecies", {"SiteID", "Species"})};
  if (!jet::CreateDatabase(path, {}).ok() || !jet::CreateTables(path, tables, {}).ok()) std::abort();
  return path;
}

struct Target {
  std::string path;
  std::vector<char> bytes;  // the file as every input must leave it
  std::shared_ptr<jet::QueryEngine> engine;
};

Target& TheDatabase() {
  static Target* target = [] {
    auto* t = new Target;
    t->path = MakeDatabase();
    jet::OpenOptions options;
    options.writable = true;
    if (!jet::QueryEngine::ForFile(t->path, options, &t->engine).ok()) std::abort();
    int64_t affected = 0;
    for (const char* row : kRows) {
      if (jet::Status s = t->engine->Execute(row, {}, &affected); !s.ok()) {
        std::fprintf(stderr, "cannot fill the fuzz database: %s\n%s\n", s.ToString().c_str(), row);
        std::abort();
      }
    }
    t->bytes = FileBytes(t->path);
    return t;
  }();
  return *target;
}

std::vector<std::string> Statements(const std::string& text) {
  std::vector<std::string> out;
  for (size_t start = 0; start <= text.size();) {
    size_t end = text.find("\n\n", start);
    if (end == std::string::npos) end = text.size();
    if (end > start) out.push_back(text.substr(start, end - start));
    start = end + 2;
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Target& t = TheDatabase();
  jet::QueryEngine& engine = *t.engine;
  if (!engine.BeginTransaction().ok()) std::abort();
  for (const std::string& sql : Statements(std::string(reinterpret_cast<const char*>(data), size))) {
    if (jet::QueryEngine::ChangesData(sql)) {
      int64_t affected = 0;
      (void)engine.Execute(sql, {}, &affected);
      continue;
    }
    jet::QueryResult result;
    if (!engine.RunSql(sql, {}, &result).ok()) continue;
    for (const jet::Row& row : result.rows)
      for (const jet::Value& v : row) (void)jet::CanonicalText(v);
  }
  if (!engine.Rollback().ok() || FileBytes(t.path) != t.bytes) std::abort();
  return 0;
}
