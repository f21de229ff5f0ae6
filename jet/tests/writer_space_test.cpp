// Where new rows go: tables made by Access growing past what their inline
// usage maps reach, and rows filling the room deleted rows left. Read back
// by our reader and by mdbtools, with the maps checked against the pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "jet/create.h"
#include "storage/data_page.h"
#include "storage/fault_file_system.h"
#include "storage/journal.h"
#include "storage/usage_map.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

constexpr char kFixture[] = "npsmith88-Northwind.mdb";
constexpr char kTable[] = "Employees";

// An Employees row named "R<number>" with a memo of `memo_length` characters.
Row Employee(Database& db, int number, size_t memo_length) {
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db.GetTableDef(kTable, &def).ok());
  Row row;
  for (const ColumnDef& c : def->columns) row.push_back(Value::Null(c.type));
  std::string memo;
  for (size_t i = 0; i < memo_length; ++i) memo.push_back(static_cast<char>('a' + (number + i) % 26));
  row[def->FindColumn("LastName")] = Value(ColumnType::kText, "R" + std::to_string(number));
  row[def->FindColumn("FirstName")] = Value(ColumnType::kText, std::string("Zoë"));
  row[def->FindColumn("Address")] = Value(ColumnType::kText, std::string(50, 'x'));
  row[def->FindColumn("Notes")] = Value(ColumnType::kMemo, memo);
  return row;
}

// 0 for an inline map, 1 for one that names bitmap pages.
int MapType(const std::string& path, uint32_t map_pointer) {
  std::unique_ptr<Pager> pager;
  EXPECT_TRUE(Pager::Open(path, &pager).ok());
  Page page;
  EXPECT_TRUE(pager->ReadPage(PointerPage(map_pointer), &page).ok());
  ByteSpan row;
  EXPECT_TRUE(DataPage(page, false).RowBytes(PointerRow(map_pointer), &row).ok());
  return row.size() ? row.U8(0) : -1;
}

std::set<std::string> LastNames(const std::string& path) {
  auto db = OpenForReading(path);
  std::set<std::string> names;
  for (const Row& r : AllRows(*db, kTable)) names.insert(r[1].as_text());
  return names;
}

// Inserts employees `first` .. `first + count - 1` in one transaction.
Status InsertEmployees(Database& db, int first, int count, size_t memo_length) {
  JET_RETURN_IF_ERROR(db.BeginTransaction());
  for (int i = first; i < first + count; ++i) JET_RETURN_IF_ERROR(db.InsertRow(kTable, Employee(db, i, memo_length)));
  return db.Commit();
}

constexpr uint32_t kLongValueOwner = 0x4C41564C;  // "LVAL" where a data page names its table

// How many data pages name `owner` (a table's definition page, or "LVAL").
int PagesOwnedBy(const std::string& path, uint32_t owner) {
  int count = 0;
  ForEachDataPage(path, [&](uint32_t, const DataPage& data) { count += data.owner() == owner ? 1 : 0; });
  return count;
}

// Slots of `owner`'s pages flagged both deleted and moved: rows deleted.
int DeadSlots(const std::string& path, uint32_t owner) { return SlotsFlagged(path, owner, true, true); }

uint32_t PageCount(const std::string& path) { return static_cast<uint32_t>(FileBytes(path).size() / 4096); }

TEST(WriterSpace, AnAccessTableGrowsPastItsInlineUsageMap) {
  const std::string path = ScratchCopy(kFixture, "grow.mdb");
  const TableMaps before = MapsOf(path, kTable);
  ASSERT_EQ(MapType(path, before.owned), 0) << "the fixture's table should start with an inline map";
  std::set<std::string> expected = LastNames(path);
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    // Rows of about 700 bytes: five to a page, so 800 of them carry the
    // table well past page 512, the last its inline map reaches.
    Status s = InsertEmployees(*db, 0, 800, 600);
    ASSERT_TRUE(s.ok()) << s.ToString();
    for (int i = 0; i < 800; ++i) expected.insert("R" + std::to_string(i));
    // The converted map keeps taking pages in a later transaction.
    s = InsertEmployees(*db, 800, 100, 600);
    ASSERT_TRUE(s.ok()) << s.ToString();
    for (int i = 800; i < 900; ++i) expected.insert("R" + std::to_string(i));
  }
  EXPECT_GT(PageCount(path), 600u);
  EXPECT_EQ(MapType(path, before.owned), 1);
  EXPECT_EQ(LastNames(path), expected);
  ExpectIndexesInStep(path, kTable);
  ExpectMapsConsistent(path, kTable);
  EXPECT_EQ(MdbExportRowCount(path, kTable), static_cast<long>(expected.size()));
  const std::string csv = MdbExport(path, kTable);
  EXPECT_NE(csv.find("\"R899\""), std::string::npos);
  auto db = OpenForReading(path);
  EXPECT_NE(csv.find(Employee(*db, 899, 600)[15].as_text()), std::string::npos);
}

// A commit that converts the map, cut short at points spread over its
// writes: the next open leaves the table as it was or with every new row.
TEST(WriterSpace, ACrashWhileTheMapConvertsLeavesTheOldOrTheNewTable) {
  const std::string reference = ScratchCopy(kFixture, "grow-reference.mdb");
  const std::set<std::string> old_rows = LastNames(reference);
  int total = 0;
  {
    FaultFileSystem fs;
    fs.AddFile(reference, FileBytes(reference));
    auto db = OpenForWriting(reference, &fs);
    ASSERT_TRUE(db);
    const int opened = fs.operations();
    ASSERT_TRUE(InsertEmployees(*db, 0, 700, 600).ok());
    total = fs.operations() - opened;
  }
  std::set<std::string> new_rows = old_rows;
  for (int i = 0; i < 700; ++i) new_rows.insert("R" + std::to_string(i));
  const std::string dir = ::testing::TempDir() + "jet-writer-tests/grow-crash/";
  for (int crash_at : {total / 5, total / 2, total - 3, total - 1}) {
    SCOPED_TRACE("crash after " + std::to_string(crash_at) + " of " + std::to_string(total));
    FaultFileSystem fs;
    const std::string path = dir + "db.mdb";
    fs.AddFile(path, FileBytes(FixturePath(kFixture)));
    {
      auto db = OpenForWriting(path, &fs);
      ASSERT_TRUE(db);
      fs.CrashAfter(fs.operations() + crash_at);
      EXPECT_FALSE(InsertEmployees(*db, 0, 700, 600).ok());
    }
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    for (const auto& [name, bytes] : fs.PowerLossImage(7)) {
      std::ofstream out(name, std::ios::binary);
      out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    { ASSERT_TRUE(OpenForWriting(path)); }  // recovers
    EXPECT_FALSE(std::filesystem::exists(JournalPath(path)));
    const std::set<std::string> rows = LastNames(path);
    EXPECT_TRUE(rows == old_rows || rows == new_rows) << rows.size() << " rows, a mix";
    ExpectIndexesInStep(path, kTable);
    ExpectMapsConsistent(path, kTable);
  }
}


// The rows by last name, their autonumber left out.
std::map<std::string, Row> RowsByLastName(Database& db) {
  std::map<std::string, Row> rows;
  for (Row r : AllRows(db, kTable)) {
    r[0] = Value::Null(ColumnType::kLong);
    rows[r[1].as_text()] = r;
  }
  return rows;
}

int Number(const std::string& last_name) { return last_name[0] == 'R' ? std::stoi(last_name.substr(1)) : -1; }

// Deletes the rows named R<first> .. R<first + count - 1>.
Status DeleteEmployees(Database& db, int first, int count, std::map<std::string, Row>* expected) {
  std::vector<RowId> ids;
  const std::vector<Row> rows = AllRows(db, kTable, &ids);
  for (size_t i = 0; i < rows.size(); ++i) {
    const int number = Number(rows[i][1].as_text());
    if (number < first || number >= first + count) continue;
    JET_RETURN_IF_ERROR(db.DeleteRow(kTable, ids[i]));
    expected->erase(rows[i][1].as_text());
  }
  return Status::OK();
}

Status InsertEmployees(Database& db, int first, int count, std::map<std::string, Row>* expected) {
  for (int i = first; i < first + count; ++i) {
    Row row = Employee(db, i, 40);
    JET_RETURN_IF_ERROR(db.InsertRow(kTable, row));
    (*expected)["R" + std::to_string(i)] = row;
  }
  return Status::OK();
}

// Every fifth row grown past its page, so it lives behind a pointer: the
// data slots such rows moved to must never be taken for new rows.
Status GrowEveryFifth(Database& db, int first, int count, std::map<std::string, Row>* expected) {
  std::vector<RowId> ids;
  const std::vector<Row> rows = AllRows(db, kTable, &ids);
  std::shared_ptr<const TableDef> def;
  JET_RETURN_IF_ERROR(db.GetTableDef(kTable, &def));
  for (size_t i = 0; i < rows.size(); ++i) {
    const int number = Number(rows[i][1].as_text());
    if (number < first || number >= first + count || number % 5 != 0) continue;
    Row grown = rows[i];
    for (const char* column : {"Title", "City", "Region", "Country", "HomePhone", "Photo"}) {
      const ColumnDef& c = def->columns[def->FindColumn(column)];
      grown[def->FindColumn(column)] = Value(ColumnType::kText, std::string(c.size / 4, 'w') + "ŵ");
    }
    JET_RETURN_IF_ERROR(db.UpdateRow(kTable, ids[i], grown));
    grown[0] = Value::Null(ColumnType::kLong);
    (*expected)[grown[1].as_text()] = grown;
  }
  return Status::OK();
}

Status InOneTransaction(Database& db, const std::function<Status()>& change) {
  JET_RETURN_IF_ERROR(db.BeginTransaction());
  JET_RETURN_IF_ERROR(change());
  return db.Commit();
}

TEST(WriterSpace, NewRowsTakeTheRoomDeletedRowsLeftBeforeTheFileGrows) {
  const std::string path = ScratchCopy(kFixture, "reuse.mdb");
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  std::map<std::string, Row> expected = RowsByLastName(*db);
  auto step = [&](const std::function<Status()>& change) {
    Status s = InOneTransaction(*db, change);
    EXPECT_TRUE(s.ok()) << s.ToString();
    return FileBytes(path).size();
  };
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef(kTable, &def).ok());
  step([&] { return InsertEmployees(*db, 1000, 400, &expected); });
  const size_t size = step([&] { return GrowEveryFifth(*db, 1000, 400, &expected); });
  ASSERT_GT(MovedRows(path, def->tdef_page), 0) << "no row grew past its page";
  const int data_pages = PagesOwnedBy(path, def->tdef_page);
  const int long_value_pages = PagesOwnedBy(path, kLongValueOwner);

  // Deleted in one transaction, the same rows again in the next (only their
  // autonumbers differ). Rows and long values go where the old ones were;
  // the index trees may end up a leaf apart, and the free-space maps of the
  // table and its memo take a bitmap page each to remember the freed room.
  step([&] { return DeleteEmployees(*db, 1000, 400, &expected); });
  EXPECT_LE(step([&] { return InsertEmployees(*db, 1000, 400, &expected); }), size + 4 * 4096);
  EXPECT_EQ(PagesOwnedBy(path, def->tdef_page), data_pages);
  EXPECT_EQ(PagesOwnedBy(path, kLongValueOwner), long_value_pages);

  // Deleted and replaced in one transaction, among rows that moved.
  const size_t grown_size = step([&] { return GrowEveryFifth(*db, 1000, 400, &expected); });
  EXPECT_EQ(step([&] {
              JET_RETURN_IF_ERROR(DeleteEmployees(*db, 1200, 200, &expected));
              return InsertEmployees(*db, 1200, 200, &expected);
            }),
            grown_size);
  EXPECT_EQ(RowsByLastName(*db), expected);
  db.reset();

  ExpectIndexesInStep(path, kTable);
  ExpectMapsConsistent(path, kTable);
  EXPECT_EQ(MdbExportRowCount(path, kTable), static_cast<long>(expected.size()));
  EXPECT_NE(MdbExport(path, kTable).find("\"R1399\""), std::string::npos);
}


// Deleted rows and their long values leave room that the maps record, so a
// later session finds it too instead of growing the file.
TEST(WriterSpace, RoomFreedByDeletesIsFoundAgainAfterTheFileIsReopened) {
  const std::string path = ScratchCopy(kFixture, "reopened.mdb");
  std::map<std::string, Row> expected;
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    ASSERT_TRUE(InsertEmployees(*db, 2000, 60, 1500).ok());
    expected = RowsByLastName(*db);
  }
  const int long_value_pages = PagesOwnedBy(path, kLongValueOwner);
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(InOneTransaction(*db, [&] { return DeleteEmployees(*db, 2000, 60, &expected); }).ok());
  }
  const TableMaps maps = MapsOf(path, kTable);
  std::unique_ptr<Pager> pager;
  ASSERT_TRUE(Pager::Open(path, &pager).ok());
  std::vector<uint32_t> with_room;
  ASSERT_TRUE(ReadUsageMap(*pager, maps.free_space, &with_room).ok());
  EXPECT_GT(with_room.size(), 1u) << "the pages of the deleted rows have room";
  pager.reset();
  const size_t size = FileBytes(path).size();

  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(InsertEmployees(*db, 3000, 60, 1500).ok());
    expected = RowsByLastName(*db);
  }
  EXPECT_EQ(PagesOwnedBy(path, kLongValueOwner), long_value_pages);
  EXPECT_LE(FileBytes(path).size(), size + 2 * 4096);
  ExpectIndexesInStep(path, kTable);
  ExpectMapsConsistent(path, kTable);
  EXPECT_EQ(MdbExportRowCount(path, kTable), static_cast<long>(expected.size()));
}

// Rows Access deleted leave slots flagged deleted and moved; the data of
// rows Access moved sits in slots flagged only deleted. New rows take the
// former, and every row that was there reads as before.
TEST(WriterSpace, RowsAccessDeletedMakeRoomAndItsMovedRowsStay) {
  const std::string path = ScratchCopy(kFixture, "access-deleted.mdb");
  std::vector<Row> before_customers, before_catalogue;
  {
    auto db = OpenForReading(path);
    before_customers = AllRows(*db, "Customers");
    before_catalogue = AllRows(*db, "MSysObjects");
  }
  ASSERT_EQ(before_customers.size(), 91u);
  const uint32_t customers_tdef = MapsOf(path, "Customers").tdef_page;
  ASSERT_EQ(DeadSlots(path, customers_tdef), 5);
  const size_t size = FileBytes(path).size();
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    std::shared_ptr<const TableDef> def;
    ASSERT_TRUE(db->GetTableDef("Customers", &def).ok());
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int i = 0; i < 5; ++i) {
      Row row;
      for (const ColumnDef& c : def->columns) row.push_back(Value::Null(c.type));
      row[0] = Value(ColumnType::kText, "ZZZ0" + std::to_string(i));
      row[1] = Value(ColumnType::kText, "Nordic Tackle " + std::to_string(i));
      Status s = db->InsertRow("Customers", row);
      ASSERT_TRUE(s.ok()) << s.ToString();
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  EXPECT_EQ(FileBytes(path).size(), size);
  EXPECT_EQ(DeadSlots(path, customers_tdef), 0) << "the new rows should fill the deleted rows' slots";
  // A new table's catalogue row goes among MSysObjects' moved rows.
  TableSpec tackle;
  tackle.name = "tblTackle";
  tackle.columns = {{"TackleID", ColumnType::kLong}, {"Name", ColumnType::kText, 40}};
  Status s = CreateTables(path, {tackle}, CreateOptions{});
  ASSERT_TRUE(s.ok()) << s.ToString();
  auto db = OpenForReading(path);
  std::vector<Row> customers = AllRows(*db, "Customers");
  EXPECT_EQ(customers.size(), 96u);
  for (const Row& r : before_customers) EXPECT_NE(std::find(customers.begin(), customers.end(), r), customers.end());
  std::vector<Row> catalogue = AllRows(*db, "MSysObjects");
  EXPECT_EQ(catalogue.size(), before_catalogue.size() + 1);
  for (const Row& r : before_catalogue) EXPECT_NE(std::find(catalogue.begin(), catalogue.end(), r), catalogue.end());
  EXPECT_TRUE(db->FindTable("tblTackle"));
  ExpectIndexesInStep(path, "MSysObjects");
  ExpectIndexesInStep(path, "Customers");
  ExpectMapsConsistent(path, "Customers");
  EXPECT_EQ(MdbExportRowCount(path, "Customers"), 96);
}

}  // namespace
}  // namespace jet::testing
