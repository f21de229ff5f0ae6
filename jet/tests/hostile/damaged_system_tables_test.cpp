// The file's own tables read with a damaged definition: a column of the
// catalogue, of MSysQueries or of MSysRelationships given another type, as a
// bad sector can. Each is answered with Corruption naming the table and the
// column, never an exception; and saved queries of damaged files, run with
// made-up parameters, give rows or errors and never half-write the file.
// Built with AddressSanitizer and UndefinedBehaviorSanitizer.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "damaged_files.h"
#include "jet/query.h"
#include "query_exerciser.h"
#include "storage/relationships.h"

namespace jet::testing {
namespace {

using FileBytes = std::vector<uint8_t>;

constexpr size_t kPageSize = 4096;

uint32_t Load(const FileBytes& f, size_t at, int width) {
  uint32_t v = 0;
  for (int i = 0; i < width; ++i) v |= uint32_t(f.at(at + i)) << (8 * i);
  return v;
}

// A copy of a Jet 4 fixture with `column` of `table` retyped in the table's
// definition. That definition opens with 63 bytes, then 12 bytes for each
// real index, then 25 for each column: its type first, its number at +5.
std::string CopyWithRetypedColumn(const char* fixture, const std::string& table, const std::string& column,
                                  ColumnType from, ColumnType to) {
  const std::string source = std::string(TABULON_FIXTURES) + "/jet/" + fixture;
  std::shared_ptr<const TableDef> def;
  {
    std::unique_ptr<Database> db;
    EXPECT_TRUE(Database::Open(source, {}, &db).ok());
    EXPECT_TRUE(db->GetTableDef(table, &def).ok()) << table;
  }
  const int c = def->FindColumn(column);
  EXPECT_GE(c, 0) << column;
  std::ifstream in(source, std::ios::binary);
  FileBytes f(std::istreambuf_iterator<char>(in), {});
  const size_t page = size_t(def->tdef_page) * kPageSize;
  const size_t columns = page + 63 + 12 * Load(f, page + 51, 4);
  bool retyped = false;
  for (uint32_t k = 0; k < Load(f, page + 45, 2); ++k) {
    const size_t at = columns + 25 * k;
    if (Load(f, at + 5, 2) != def->columns[c].number) continue;
    EXPECT_EQ(f.at(at), static_cast<uint8_t>(from)) << "not the column's descriptor";
    f.at(at) = static_cast<uint8_t>(to);
    retyped = true;
  }
  EXPECT_TRUE(retyped) << table << "." << column;
  const std::string copy = ::testing::TempDir() + "retyped-" + std::to_string(getpid()) + ".mdb";
  std::ofstream(copy, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(f.data()), static_cast<std::streamsize>(f.size()));
  return copy;
}

void ExpectCorruptionNaming(const Status& s, const std::string& table, const std::string& column) {
  EXPECT_EQ(s.code(), Status::Code::kCorruption) << s.ToString();
  EXPECT_NE(s.message().find(table), std::string::npos) << s.message();
  EXPECT_NE(s.message().find(column), std::string::npos) << s.message();
}

TEST(DamagedSystemTables, ARetypedColumnIsCorruptionNamingTableAndColumn) {
  {
    SCOPED_TRACE("the catalogue's name column made a number");
    const std::string copy =
        CopyWithRetypedColumn("queryTestV2003.mdb", "MSysObjects", "Name", ColumnType::kText, ColumnType::kLong);
    std::unique_ptr<Database> db;
    ExpectCorruptionNaming(Database::Open(copy, {}, &db), "MSysObjects", "Name");
    std::filesystem::remove(copy);
  }
  {
    SCOPED_TRACE("the saved queries' expressions made numbers");
    const std::string copy = CopyWithRetypedColumn("queryTestV2003.mdb", "MSysQueries", "Expression",
                                                   ColumnType::kMemo, ColumnType::kLong);
    std::shared_ptr<QueryEngine> engine;
    ASSERT_TRUE(QueryEngine::ForFile(copy, {}, &engine).ok());
    std::vector<SavedQuery> queries;
    Status listed = engine->ListQueries(&queries);
    SavedQuery query;
    Status got = listed.ok() && !queries.empty() ? engine->GetQuery(queries[0].name, &query) : listed;
    ExpectCorruptionNaming(got, "MSysQueries", "Expression");
    engine.reset();
    std::filesystem::remove(copy);
  }
  {
    SCOPED_TRACE("the relationships' column names made dates");
    const std::string copy = CopyWithRetypedColumn("npsmith88-Northwind.mdb", "MSysRelationships", "szColumn",
                                                   ColumnType::kText, ColumnType::kDateTime);
    std::unique_ptr<Database> db;
    ASSERT_TRUE(Database::Open(copy, {}, &db).ok());
    std::vector<Relationship> relationships;
    ExpectCorruptionNaming(ReadRelationships(*db, &relationships), "MSysRelationships", "szColumn");
    db.reset();
    std::filesystem::remove(copy);
  }
}

TEST(DamagedSystemTables, SavedQueriesOfDamagedFilesGiveRowsOrErrorsAndRollBackWhole) {
  int files = 0, queries = 0, ran = 0, refused = 0;
  ForEachDamagedFile({{"queryTestV2003.mdb", 40}, {"pivot.mdb", 30}, {"accessLike.mdb", 30}},
                     [&](const std::string& scratch) {
                       const QueryExerciseResult r = ExerciseSavedQueries(scratch, true);
                       EXPECT_EQ(r.half_written, 0);
                       ++files;
                       queries += r.queries;
                       ran += r.ran;
                       refused += r.refused;
                     });
  // The damage must reach both outcomes, or the test proves nothing.
  EXPECT_GT(ran, queries / 4);
  EXPECT_GT(refused, 0);
  std::printf("damaged files: %d, saved queries: %d, ran: %d, refused: %d\n", files, queries, ran, refused);
}

}  // namespace
}  // namespace jet::testing
