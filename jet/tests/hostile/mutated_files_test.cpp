// Damaged files: a few hundred deterministic mutations of real fixtures —
// scrambled definition, data and catalogue pages, absurd lengths and counts,
// page chains that loop, pages of the wrong type, truncation — each read in
// full. Built with AddressSanitizer and UndefinedBehaviorSanitizer, so an
// out-of-bounds read or an overflow fails the run; the reader must answer
// every one with an error or with rows, and the writer with a commit or a
// refusal that leaves the file alone — never a crash or a hang.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

#include "damaged_files.h"
#include "jet/database.h"
#include "jet/links.h"
#include "reader_exerciser.h"
#include "writer_exerciser.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

TEST(DamagedFiles, ReaderAnswersEveryMutationWithoutCrashing) {
  int total = 0, opened = 0, with_errors = 0;
  ForEachDamagedFile(
      {
          {"overflowTestV2000.mdb", 40},  {"delColTestV2000.mdb", 30},      {"pecl-mdbtools-test.mdb", 40},
          {"charsetGBK.mdb", 25},         {"testUnicodeCompV2003.mdb", 30}, {"compIndexTestV2000.mdb", 30},
          {"testIndexPropertiesV2000.mdb", 30}, {"linkee1.mdb", 20},        {"DateTestDatabase.mdb", 25},
          {"mdb-reader-longtext.accdb", 20},   {"testIndexCodesV1997.mdb", 20},
      },
      [&](const std::string& scratch) {
        ExerciseResult r = ExerciseReader(scratch);
        ++total;
        opened += r.opened;
        with_errors += r.errors > 0 || !r.opened;
      });
  // The damage must actually reach the reader: most files still open, and
  // many of them report errors.
  EXPECT_GE(total, 300);
  EXPECT_GT(opened, total / 3);
  EXPECT_GT(with_errors, total / 10);
  std::printf("mutated files: %d, opened: %d, with errors: %d\n", total, opened, with_errors);
}

// The writer trusts nothing it reads either: on a damaged file every change
// either commits or is refused, and a refused one leaves the file as it was.
TEST(DamagedFiles, WriterCommitsOrRefusesWithoutCrashingOrHalfWriting) {
  int total = 0, opened = 0, committed = 0, refused = 0, exported_tables = 0;
  ForEachDamagedFile(
      {
          {"overflowTestV2000.mdb", 30},      {"delColTestV2000.mdb", 25},     {"compIndexTestV2000.mdb", 30},
          {"testIndexPropertiesV2000.mdb", 30}, {"testUnicodeCompV2003.mdb", 25}, {"DateTestDatabase.mdb", 20},
          {"indexTestV2000.mdb", 30},
      },
      [&](const std::string& scratch) {
        const std::string before = scratch + ".before";
        std::filesystem::copy_file(scratch, before, std::filesystem::copy_options::overwrite_existing);
        WriteExerciseResult r = ExerciseWriter(scratch);
        EXPECT_EQ(r.half_written, 0);
        EXPECT_EQ(r.altered, 0);
        (void)ExerciseReader(scratch);  // whatever was committed still reads without a crash
        // Another reader agrees: a changed table mdb-export read before it
        // reads after, with as many rows (a row was rewritten, and one
        // deleted and inserted again).
        for (const std::string& table : r.changed_tables) {
          const long rows = MdbExportRowCount(before, table);
          if (rows >= 0) {
            EXPECT_EQ(MdbExportRowCount(scratch, table), rows) << "mdb-export of " << table;
          }
          exported_tables += rows >= 0;
        }
        std::filesystem::remove(before);
        ++total;
        opened += r.opened;
        committed += r.committed;
        refused += r.refused;
      });
  // Both outcomes must be common, or the damage never reached the writer.
  EXPECT_GT(opened, total / 3);
  EXPECT_GT(committed, total);
  EXPECT_GT(refused, total / 10);
  EXPECT_GT(exported_tables, total / 4);
  std::printf("mutated files: %d, opened for writing: %d, transactions committed: %d, refused: %d, "
              "changed tables mdb-export read: %d\n",
              total, opened, committed, refused, exported_tables);
}

// Inputs that once ended the program, read in place from fixtures/hostile:
// each is answered — the damaged catalogue ones with the table and column
// they damaged — and a copy given to the writer is refused or changed with
// nothing else altered.
TEST(DamagedFiles, HostileInputsAreAnsweredNotFatal) {
  const std::filesystem::path folder = std::string(TABULON_FIXTURES) + "/hostile";
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".mdb") continue;
    ++files;
    const std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    std::unique_ptr<Database> db;
    Status s = Database::Open(entry.path().string(), {}, &db);
    if (name.rfind("catalog-property-column", 0) == 0) {
      EXPECT_EQ(s.code(), Status::Code::kCorruption) << s.ToString();
      EXPECT_NE(s.message().find("MSysObjects"), std::string::npos) << s.message();
      EXPECT_NE(s.message().find("LvProp"), std::string::npos) << s.message();
    }
    db.reset();
    (void)ExerciseReader(entry.path().string());
    const std::string copy = ::testing::TempDir() + "hostile-" + std::to_string(getpid()) + ".mdb";
    std::filesystem::copy_file(entry.path(), copy, std::filesystem::copy_options::overwrite_existing);
    std::filesystem::permissions(copy, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    const WriteExerciseResult w = ExerciseWriter(copy);
    EXPECT_EQ(w.half_written, 0);
    EXPECT_EQ(w.altered, 0);
    std::filesystem::remove(copy);
  }
  EXPECT_GE(files, 3);
}

// Damage to t_like2's definition page in a copy of accessLike.mdb. Jet 4:
// the header counts variable columns at 0x2B and columns at 0x2D; 25 bytes
// a column follow the 0x3F header and 12 bytes a physical index, with the
// column's number at 5, its slot at 7 and its flags at 15.
using TdefDamage = std::function<void(std::vector<char>& page, const TableDef& def)>;

// Rewrites page `number` of the (Jet 4) file at `path` as `damage` leaves it.
void DamagePage(const std::string& path, uint32_t number, const std::function<void(std::vector<char>& page)>& damage) {
  constexpr std::streamoff kPage = 4096;
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  std::vector<char> page(kPage);
  file.seekg(number * kPage);
  file.read(page.data(), kPage);
  damage(page);
  file.seekp(number * kPage);
  file.write(page.data(), kPage);
}

std::string DamagedTableCopy(const std::string& name, const TdefDamage& damage, std::shared_ptr<const TableDef>* def) {
  const std::string path = ScratchCopy("accessLike.mdb", name);
  {
    auto db = OpenForWriting(path);
    EXPECT_TRUE(db->GetTableDef("t_like2", def).ok());
  }
  DamagePage(path, (*def)->tdef_page, [&](std::vector<char>& page) { damage(page, **def); });
  return path;
}

uint16_t U16At(const std::vector<char>& page, size_t at) {
  return uint16_t(uint8_t(page[at]) | uint8_t(page[at + 1]) << 8);
}

// Found by the writer's fuzz target, twice: a definition whose rows the
// reader still reads but which a written row would not fit. The writer
// refuses the table by name, where it would otherwise store rows that read
// back with another key, or that the reader refuses outright.
TEST(DamagedFiles, ADefinitionARowCannotFollowIsRefusedByTheWriter) {
  const TdefDamage key_in_a_text_slot = [](std::vector<char>& page, const TableDef& def) {
    const size_t first = 0x3F + 12 * U16At(page, 0x33);
    for (size_t c = 0; c < U16At(page, 0x2D); ++c) {
      const size_t entry = first + 25 * c;
      if (U16At(page, entry + 5) != def.columns[0].number) continue;  // ID
      page[entry + 15] = char(page[entry + 15] & ~1);
      page[entry + 7] = char(def.columns[1].var_index);  // Campo1's slot
      page[entry + 8] = 0;
    }
  };
  const TdefDamage too_many_variable = [](std::vector<char>& page, const TableDef&) {
    page[0x2B] = char(U16At(page, 0x29) + 3);
    page[0x2C] = 0;
  };
  const struct {
    const char* file;
    const TdefDamage& damage;
    const char* named;
  } cases[] = {
      {"one-place.mdb", key_in_a_text_slot, "'ID'"},
      {"var-count.mdb", too_many_variable, "more variable columns than columns"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.file);
    std::shared_ptr<const TableDef> def;
    const std::string path = DamagedTableCopy(c.file, c.damage, &def);
    const std::vector<uint8_t> before = FileBytes(path);
    {
      auto db = OpenForWriting(path);
      std::unique_ptr<TableCursor> cursor;
      ASSERT_TRUE(db->OpenTable("t_like2", &cursor).ok());
      ASSERT_TRUE(cursor->Next()) << "the reader still reads the table";
      Row row = cursor->row();
      const RowId id = cursor->row_id();
      cursor.reset();
      ASSERT_TRUE(db->BeginTransaction().ok());
      const Status s = db->UpdateRow("t_like2", id, row);
      EXPECT_EQ(s.code(), Status::Code::kCorruption) << s.ToString();
      EXPECT_NE(s.message().find("'t_like2'"), std::string::npos) << s.message();
      EXPECT_NE(s.message().find(c.named), std::string::npos) << s.message();
      (void)db->Rollback();
    }
    EXPECT_EQ(FileBytes(path), before);
    const WriteExerciseResult w = ExerciseWriter(path);
    EXPECT_EQ(w.altered, 0);
    EXPECT_EQ(w.half_written, 0);
  }
}

// Damages the file's free-page map (page 1's inline row) so that its window
// starts at page `start` and its only set bit, calling that page free, is
// the window's first.
void PointFreePageMapAt(const std::string& path, uint32_t start) {
  DamagePage(path, 1, [&](std::vector<char>& page) {
    const size_t row = U16At(page, 14) & 0x1FFF;
    ASSERT_EQ(page[row], 0) << "an inline map";
    std::fill(page.begin() + row + 5, page.end(), 0);
    for (int b = 0; b < 4; ++b) page[row + 1 + b] = char(start >> 8 * b);
    page[row + 5] = 1;
  });
}

// Commits a new employee whose memo needs pages of its own.
void InsertEmployeeWithNotes(const std::string& path, const std::string& notes) {
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef("Employees", &def).ok());
  Row row;
  for (const ColumnDef& c : def->columns) row.push_back(Value::Null(c.type));
  row[def->FindColumn("LastName")] = Value(ColumnType::kText, std::string("Far"));
  row[def->FindColumn("FirstName")] = Value(ColumnType::kText, std::string("Page"));
  row[def->FindColumn("Notes")] = Value(ColumnType::kMemo, notes);
  ASSERT_TRUE(db->BeginTransaction().ok());
  ASSERT_TRUE(db->InsertRow("Employees", row).ok());
  ASSERT_TRUE(db->Commit().ok());
}

// Found by the writer's fuzz target: a free-page map whose only free page
// lies far past the end of the file. The writer grew the file up to that
// page, in memory, until it ran out; now the file grows by what it needs.
// Page 1's first row is the map: inline, its first page at byte 1, then bits.
TEST(DamagedFiles, AFreePageFarPastTheEndDoesNotGrowTheFile) {
  const std::string path = ScratchCopy("npsmith88-Northwind.mdb", "far-free-page.mdb");
  const size_t size = FileBytes(path).size();
  PointFreePageMapAt(path, static_cast<uint32_t>(size / 4096 + 50000));
  InsertEmployeeWithNotes(path, std::string(20000, 'n'));
  EXPECT_LT(FileBytes(path).size(), size + 100 * 4096);
  ExpectMapsConsistent(path, "Employees");
  EXPECT_NE(MdbExport(path, "Employees").find(std::string(20000, 'n')), std::string::npos);
}

// The same damaged map, now calling the first page past the end free. The
// dropped table's pages lie outside the map's window, so freeing them turns
// the map into a page-referenced one whose bitmap page is appended: that is
// the page the map calls free. Handed out later, the insert's memo would
// overwrite the free-page bits themselves.
TEST(DamagedFiles, TheFreePageMapNeverCallsItsOwnNewPageFree) {
  const std::string path = ScratchCopy("npsmith88-Northwind.mdb", "free-map-grows.mdb");
  const uint32_t end = static_cast<uint32_t>(FileBytes(path).size() / 4096);
  PointFreePageMapAt(path, end);
  ASSERT_TRUE(DropTables(path, {"Shippers"}, CreateOptions{}, true).ok());
  InsertEmployeeWithNotes(path, std::string(60000, 'm'));
  std::unique_ptr<Pager> pager;
  ASSERT_TRUE(Pager::Open(path, &pager).ok());
  Page bitmap;
  ASSERT_TRUE(pager->ReadPage(end, &bitmap).ok());
  EXPECT_EQ(bitmap[0], static_cast<uint8_t>(PageType::kUsageMap));
  std::vector<uint32_t> free_pages;
  ASSERT_TRUE(ReadUsageMap(*pager, kFreePageMap, &free_pages).ok());
  EXPECT_EQ(std::count(free_pages.begin(), free_pages.end(), end), 0);
  ExpectMapsConsistent(path, "Employees");
  EXPECT_NE(MdbExport(path, "Employees").find(std::string(60000, 'm')), std::string::npos);
}

}  // namespace
}  // namespace jet::testing
