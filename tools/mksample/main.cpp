// mksample: builds the sample survey database from its script.
//
//   mksample [--large N] [--seed S] [--templates DIR] SCRIPT OUTPUT.mdb
//
// The script (samples/survey.txt) holds the schema, the saved queries, the
// lookup and report rows; the survey rows themselves are made up here from
// the seed, so the same inputs always give the same database. --large sets
// the number of interviews, for benchmarks.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "jet/create.h"
#include "jet/database.h"
#include "sample_script.h"
#include "survey_rows.h"

namespace mksample {
namespace {

struct Options {
  long large = 0;
  uint64_t seed = 20240501;
  std::string templates = "samples/templates";
  std::string script, output;
};

// Rows go in by transactions that grow with the table. A transaction whose
// keys fall all over an index (random survey dates do) rewrites that
// index's leaves, so fixed batches would make a large build quadratic; a
// batch of a sixth of the rows already there keeps the whole build linear
// while holding a bounded part of it in memory.
constexpr long kFirstBatch = 20000;
long NextBatch(long rows_so_far) { return std::max(kFirstBatch, rows_so_far / 6); }

jet::Status InsertRows(jet::Database* db, const Script& script, const Options& options) {
  std::map<std::string, long> lookup_rows;
  for (const LiteralRow& literal : script.rows) {
    std::shared_ptr<const jet::TableDef> def;
    JET_RETURN_IF_ERROR(db->GetTableDef(literal.table, &def));
    jet::Row row;
    JET_RETURN_IF_ERROR(LiteralValues(*def, literal, options.templates, &row));
    JET_RETURN_IF_ERROR(db->InsertRow(literal.table, row));
    ++lookup_rows[literal.table];
  }
  Random random(options.seed);
  for (const Generate& g : script.generate) {
    std::shared_ptr<const jet::TableDef> def;
    JET_RETURN_IF_ERROR(db->GetTableDef(g.what, &def));
    const long count = options.large > 0 && g.what == "tblInterview" ? options.large : g.count;
    long batch_end = kFirstBatch;
    for (long n = 0; n < count; ++n) {
      JET_RETURN_IF_ERROR(db->InsertRow(g.what, GeneratedRow(*def, n, lookup_rows, &random)));
      if (n + 1 == batch_end) {
        JET_RETURN_IF_ERROR(db->Commit());
        JET_RETURN_IF_ERROR(db->BeginTransaction());
        batch_end = n + 1 + NextBatch(n + 1);
      }
    }
  }
  return jet::Status::OK();
}

jet::Status Build(const Options& options) {
  std::ifstream in(options.script);
  if (!in) return jet::Status::NotFound("cannot read the script " + options.script);
  std::stringstream text;
  text << in.rdbuf();
  Script script;
  JET_RETURN_IF_ERROR(ParseScript(text.str(), &script));
  std::remove(options.output.c_str());
  jet::CreateOptions create;
  JET_RETURN_IF_ERROR(jet::CreateDatabase(options.output, create));
  JET_RETURN_IF_ERROR(jet::CreateTables(options.output, script.tables, create));
  JET_RETURN_IF_ERROR(jet::CreateQueries(options.output, script.queries, create));
  jet::OpenOptions open;
  open.writable = true;
  std::unique_ptr<jet::Database> db;
  JET_RETURN_IF_ERROR(jet::Database::Open(options.output, open, &db));
  JET_RETURN_IF_ERROR(db->BeginTransaction());
  jet::Status s = InsertRows(db.get(), script, options);
  if (!s.ok()) {
    db->Rollback();
    return s;
  }
  return db->Commit();
}

bool ParseArguments(int argc, char** argv, Options* options) {
  std::vector<std::string> positional;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    if (a == "--large" && i + 1 < argc) options->large = std::atol(argv[++i]);
    else if (a == "--seed" && i + 1 < argc) options->seed = std::strtoull(argv[++i], nullptr, 10);
    else if (a == "--templates" && i + 1 < argc) options->templates = argv[++i];
    else if (!a.empty() && a[0] == '-') return false;
    else positional.push_back(a);
  }
  if (positional.size() != 2) return false;
  options->script = positional[0];
  options->output = positional[1];
  return true;
}

}  // namespace
}  // namespace mksample

int main(int argc, char** argv) {
  mksample::Options options;
  if (!mksample::ParseArguments(argc, argv, &options)) {
    std::fprintf(stderr, "usage: mksample [--large N] [--seed S] [--templates DIR] SCRIPT OUTPUT.mdb\n");
    return 2;
  }
  jet::Status s = mksample::Build(options);
  if (!s.ok()) {
    std::fprintf(stderr, "mksample: %s\n", s.ToString().c_str());
    std::remove(options.output.c_str());
    return 1;
  }
  return 0;
}
