// Row changes written to copies of real Access files, read back by our reader
// and by mdbtools, with every index checked against the rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "storage/data_page.h"
#include "storage/row_encoder.h"
#include "storage/table_layout.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

constexpr char kReports[] = "tblExportableResults";

Row Report(const std::string& abbreviation, const std::string& description) {
  return {Value::Null(ColumnType::kLong), Value(ColumnType::kText, abbreviation),
          Value(ColumnType::kDateTime, DateTime{45000.5}), Value(ColumnType::kText, std::string("Ana Núñez")),
          Value(ColumnType::kMemo, description)};
}

std::string Text(size_t length, char first) {
  std::string s;
  for (size_t i = 0; i < length; ++i) s.push_back(static_cast<char>(first + i % 23));
  return s;
}

const Row* FindByText(const std::vector<Row>& rows, int column, const std::string& text) {
  for (const Row& r : rows) {
    if (!r[column].is_null() && r[column].as_text() == text) return &r;
  }
  return nullptr;
}

TEST(WriterRows, InsertsRowsWithEveryLongValueFormAndKeepsThePrimaryKey) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "insert.mdb");
  int64_t max_before = 0;
  {
    auto db = OpenForReading(path);
    for (const Row& r : AllRows(*db, kReports)) max_before = std::max(max_before, r[0].as_int());
  }
  const std::string single = Text(3000, 'a');   // one long-value row
  const std::string chain = Text(20000, 'A');   // a chain over several pages
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->BeginTransaction().ok());
    RowId id;
    for (const auto& [name, memo] : std::vector<std::pair<std::string, std::string>>{
             {"inline", "short memo"}, {"single", single}, {"chain", chain}, {"empty", ""}}) {
      Status s = db->InsertRow(kReports, Report(name, memo), &id);
      ASSERT_TRUE(s.ok()) << s.ToString();
    }
    // The transaction's own rows are visible to its reads before commit.
    EXPECT_EQ(AllRows(*db, kReports).size(), 11u);
    Status s = db->Commit();
    ASSERT_TRUE(s.ok()) << s.ToString();
  }
  auto db = OpenForReading(path);
  const std::vector<Row> rows = AllRows(*db, kReports);
  ASSERT_EQ(rows.size(), 11u);
  const Row* r = FindByText(rows, 1, "chain");
  ASSERT_TRUE(r);
  EXPECT_EQ((*r)[4].as_text(), chain);
  EXPECT_EQ((*r)[0].as_int(), max_before + 3);
  EXPECT_EQ((*r)[3].as_text(), "Ana Núñez");
  EXPECT_EQ((*r)[2].as_datetime().serial, 45000.5);
  EXPECT_EQ(FindByText(rows, 1, "single")->at(4).as_text(), single);
  EXPECT_EQ(FindByText(rows, 1, "inline")->at(4).as_text(), "short memo");
  EXPECT_EQ(FindByText(rows, 1, "empty")->at(4).as_text(), "");
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef(kReports, &def).ok());
  EXPECT_EQ(def->stored_row_count, 11u);
  EXPECT_EQ(def->last_autonumber, uint32_t(max_before + 4));
  ExpectIndexesInStep(path, kReports);

  const std::string csv = MdbExport(path, kReports);
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 12) << csv.substr(0, 300);
  EXPECT_NE(csv.find(chain), std::string::npos);
}

// The storage form follows Access's limits: inline up to 64 bytes, one
// long-value row up to 3,816, a chain beyond, whose descriptor and first
// page carry the same stamp.
TEST(WriterRows, LongValuesTakeTheFormAccessGivesTheirLength) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "forms.mdb");
  const std::vector<std::pair<size_t, uint8_t>> cases = {{32, 0x80}, {33, 0x40}, {1908, 0x40}, {1909, 0x00}};
  std::vector<RowId> ids;
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    for (const auto& [chars, form] : cases) {
      RowId id;
      ASSERT_TRUE(db->InsertRow(kReports, Report("form", std::string(chars, 'q')), &id).ok());
      ids.push_back(id);
    }
  }
  auto db = OpenForReading(path);
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef(kReports, &def).ok());
  std::unique_ptr<Pager> pager;
  ASSERT_TRUE(Pager::Open(path, &pager).ok());
  TableLayout layout;
  ASSERT_TRUE(ReadTableLayout(*pager, TextReader(), def->tdef_page, &layout).ok());
  const ColumnDef& memo = layout.def->columns[4];
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].first);
    Page page;
    ASSERT_TRUE(pager->ReadPage(ids[i].page, &page).ok());
    ByteSpan row, field;
    ASSERT_TRUE(DataPage(page, false).RowBytes(ids[i].row, &row).ok());
    ASSERT_TRUE(VariableField(layout, row, memo, &field).ok());
    ASSERT_GE(field.size(), 12u);
    EXPECT_EQ(field.U32(0) & 0x3FFFFFFF, cases[i].first * 2);
    EXPECT_EQ(field.U8(3) & 0xC0, cases[i].second);
    if (cases[i].second == 0x00) {
      Page first;
      ASSERT_TRUE(pager->ReadPage(PointerPage(field.U32(4)), &first).ok());
      EXPECT_NE(field.U32(8), 0u);
      EXPECT_EQ(field.U32(8), Get32(first.data() + 8));
    }
  }
  const std::string csv = MdbExport(path, kReports);
  EXPECT_NE(csv.find(std::string(1909, 'q')), std::string::npos);
}

constexpr char kEmployees[] = "Employees";

// An Employees row with the given names and address; the rest Null.
Row Employee(Database& db, const std::string& last, const std::string& postal, const std::string& address) {
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db.GetTableDef(kEmployees, &def).ok());
  Row row;
  for (const ColumnDef& c : def->columns) row.push_back(Value::Null(c.type));
  row[def->FindColumn("LastName")] = Value(ColumnType::kText, last);
  row[def->FindColumn("FirstName")] = Value(ColumnType::kText, std::string("Jo"));
  row[def->FindColumn("PostalCode")] = Value(ColumnType::kText, postal);
  row[def->FindColumn("Address")] = Value(ColumnType::kText, address);
  return row;
}

// Bulk inserts split index pages; later updates grow rows past their page
// (moved behind an overflow pointer) and deletes take rows out of every index.
TEST(WriterRows, BulkChangesKeepRowsAndTextIndexesInStep) {
  const std::string path = ScratchCopy("npsmith88-Northwind.mdb", "employees.mdb");
  const std::string schema_before = RunCommand("mdb-schema '" + path + "' 2>/dev/null");
  ASSERT_NE(schema_before.find("CREATE TABLE [Employees]"), std::string::npos);
  std::map<int64_t, std::string> expected;  // EmployeeID -> LastName
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    for (const Row& r : AllRows(*db, kEmployees)) expected[r[0].as_int()] = r[1].as_text();
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int i = 0; i < 900; ++i) {
      const std::string last = (i % 2 ? "Ölund-" : "Adams ") + std::to_string(i * 7919 % 1000);
      RowId id;
      Status s = db->InsertRow(kEmployees, Employee(*db, last, std::to_string(10000 + i % 37), "1 Main St"), &id);
      ASSERT_TRUE(s.ok()) << s.ToString();
    }
    ASSERT_TRUE(db->Commit().ok());
    // The name index no longer fits one page: its root is now an intermediate page.
    std::shared_ptr<const TableDef> def;
    ASSERT_TRUE(db->GetTableDef(kEmployees, &def).ok());
    for (const IndexDef& index : def->indexes) {
      if (index.name != "LastName") continue;
      std::unique_ptr<Pager> pager;
      ASSERT_TRUE(Pager::Open(path, &pager).ok());
      Page root;
      ASSERT_TRUE(pager->ReadPage(index.first_page, &root).ok());
      EXPECT_EQ(root[0], static_cast<uint8_t>(PageType::kIndexIntermediate));
    }
    std::vector<RowId> ids;
    std::vector<Row> rows = AllRows(*db, kEmployees, &ids);
    for (const Row& r : rows) expected[r[0].as_int()] = r[1].as_text();
    ASSERT_EQ(rows.size(), 909u);

    ASSERT_TRUE(db->BeginTransaction().ok());
    // Rows past the original nine: those have orders that name them.
    for (size_t i = 9; i < rows.size(); i += 3) {
      ASSERT_TRUE(db->DeleteRow(kEmployees, ids[i]).ok());
      expected.erase(rows[i][0].as_int());
    }
    EXPECT_EQ(db->DeleteRow(kEmployees, ids[9]).jet_error(), 3021);
    for (size_t i = 1; i < rows.size(); i += 3) {
      Row changed = rows[i];
      changed[1] = Value(ColumnType::kText, "Grown " + std::to_string(i));
      changed[7] = Value(ColumnType::kText, std::string(25, 'x') + "ŵ" + std::string(30, 'y'));  // Address: longer, and no longer compressible
      changed[15] = Value(ColumnType::kMemo, Text(9000, 'a'));  // Notes: a chain
      Status s = db->UpdateRow(kEmployees, ids[i], changed);
      ASSERT_TRUE(s.ok()) << s.ToString();
      expected[changed[0].as_int()] = changed[1].as_text();
      Row back;
      ASSERT_TRUE(db->ReadRow(kEmployees, ids[i], &back).ok());
      EXPECT_EQ(back, changed);
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  auto db = OpenForReading(path);
  std::map<int64_t, std::string> found;
  for (const Row& r : AllRows(*db, kEmployees)) found[r[0].as_int()] = r[1].as_text();
  EXPECT_EQ(found, expected);
  ExpectIndexesInStep(path, kEmployees);
  EXPECT_EQ(MdbExportRowCount(path, kEmployees), static_cast<long>(expected.size()));
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef(kEmployees, &def).ok());
  EXPECT_GT(MovedRows(path, def->tdef_page), 0) << "no update grew a row past its page";
  EXPECT_EQ(RunCommand("mdb-schema '" + path + "' 2>/dev/null"), schema_before);
}

TEST(WriterRows, RefusedChangesCarryJetsErrorAndLeaveTheFileAsItWas) {
  const std::string path = ScratchCopy("npsmith88-Northwind.mdb", "refusals.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  Row duplicate = Employee(*db, "Twin", "1", "x");
  duplicate[0] = Value(ColumnType::kLong, int64_t{1});
  EXPECT_EQ(db->InsertRow(kEmployees, duplicate).jet_error(), 3022);
  Row no_name = Employee(*db, "x", "1", "x");
  no_name[1] = Value::Null(ColumnType::kText);
  EXPECT_EQ(db->InsertRow(kEmployees, no_name).jet_error(), 3314);
  EXPECT_EQ(db->InsertRow(kEmployees, Employee(*db, std::string(41, 'L'), "1", "x")).jet_error(), 3163);
  Row wrong_type = Employee(*db, "x", "1", "x");
  wrong_type[5] = Value(ColumnType::kText, std::string("yesterday"));  // BirthDate
  EXPECT_EQ(db->InsertRow(kEmployees, wrong_type).jet_error(), 3464);
  EXPECT_EQ(db->DeleteRow(kEmployees, RowId{1, 0}).jet_error(), 3021);
  // Relationships: orders name employees, and must name one that exists.
  std::vector<RowId> ids;
  std::vector<Row> rows = AllRows(*db, kEmployees, &ids);
  EXPECT_EQ(db->DeleteRow(kEmployees, ids[0]).jet_error(), 3200);
  Row renumbered = rows[1];
  renumbered[0] = Value(ColumnType::kLong, int64_t{500});
  EXPECT_EQ(db->UpdateRow(kEmployees, ids[1], renumbered).jet_error(), 3200);
  std::shared_ptr<const TableDef> orders;
  ASSERT_TRUE(db->GetTableDef("Orders", &orders).ok());
  Row order;
  for (const ColumnDef& c : orders->columns) order.push_back(Value::Null(c.type));
  order[orders->FindColumn("EmployeeID")] = Value(ColumnType::kLong, int64_t{999});
  EXPECT_EQ(db->InsertRow("Orders", order).jet_error(), 3201);
  // Customers cascade key changes to their orders and orders cascade deletes
  // to their details; this engine refuses both and says so, while a change
  // the relationship does not cascade gets the plain refusal.
  std::vector<RowId> order_ids, customer_ids;
  std::vector<Row> order_rows = AllRows(*db, "Orders", &order_ids);
  std::vector<Row> customer_rows = AllRows(*db, "Customers", &customer_ids);
  const int customer = [&] {
    for (size_t i = 0; i < customer_rows.size(); ++i)
      if (customer_rows[i][0] == order_rows[0][orders->FindColumn("CustomerID")]) return static_cast<int>(i);
    return -1;
  }();
  ASSERT_GE(customer, 0);
  Status s = db->DeleteRow("Orders", order_ids[0]);
  EXPECT_EQ(s.jet_error(), 3200);
  EXPECT_NE(s.message().find("cascades deletes"), std::string::npos) << s.ToString();
  Row rekeyed = customer_rows[customer];
  rekeyed[0] = Value(ColumnType::kText, std::string("ZZZZZ"));
  s = db->UpdateRow("Customers", customer_ids[customer], rekeyed);
  EXPECT_EQ(s.jet_error(), 3200);
  EXPECT_NE(s.message().find("cascades updates"), std::string::npos) << s.ToString();
  s = db->DeleteRow("Customers", customer_ids[customer]);
  EXPECT_EQ(s.jet_error(), 3200);
  EXPECT_EQ(s.message().find("cascades"), std::string::npos) << s.ToString();
  EXPECT_EQ(FileBytes(path), before);

  // A refused change inside a transaction leaves the rest of it intact.
  ASSERT_TRUE(db->BeginTransaction().ok());
  RowId kept;
  ASSERT_TRUE(db->InsertRow(kEmployees, Employee(*db, "Kept", "1", "x"), &kept).ok());
  EXPECT_EQ(db->InsertRow(kEmployees, duplicate).jet_error(), 3022);
  Row clash;
  ASSERT_TRUE(db->ReadRow(kEmployees, kept, &clash).ok());
  clash[0] = rows[0][0];
  EXPECT_EQ(db->UpdateRow(kEmployees, kept, clash).jet_error(), 3022);
  // Related rows added in the same transaction count at once, both ways.
  order[orders->FindColumn("EmployeeID")] = clash[0] = Value(ColumnType::kLong, int64_t{77});
  EXPECT_EQ(db->InsertRow("Orders", order).jet_error(), 3201);
  ASSERT_TRUE(db->UpdateRow(kEmployees, kept, clash).ok());
  ASSERT_TRUE(db->InsertRow("Orders", order).ok());
  EXPECT_EQ(db->DeleteRow(kEmployees, kept).jet_error(), 3200);
  ASSERT_TRUE(db->Commit().ok());
  db.reset();
  auto reader = OpenForReading(path);
  EXPECT_EQ(AllRows(*reader, kEmployees).size(), 10u);
  EXPECT_EQ(AllRows(*reader, "Orders").size(), 831u);
  ExpectIndexesInStep(path, kEmployees);
  ExpectIndexesInStep(path, "Orders");
}

TEST(WriterRows, FixedWidthTypesAndBooleansRoundTrip) {
  const std::string path = ScratchCopy("npsmith88-Northwind.mdb", "products.mdb");
  Row row = {Value::Null(ColumnType::kLong),
             Value(ColumnType::kText, std::string("Ærøskøbing Ale")),
             Value(ColumnType::kLong, int64_t{3}),
             Value(ColumnType::kLong, int64_t{1}),
             Value::Null(ColumnType::kText),
             Value(ColumnType::kCurrency, Currency{-123456789}),
             Value(ColumnType::kInteger, int64_t{-32768}),
             Value(ColumnType::kInteger, int64_t{32767}),
             Value::Null(ColumnType::kInteger),
             Value(ColumnType::kBoolean, true)};
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->InsertRow("Products", row).ok());
    row[0] = Value(ColumnType::kLong, int64_t{78});
  }
  auto db = OpenForReading(path);
  const std::vector<Row> rows = AllRows(*db, "Products");
  ASSERT_EQ(rows.size(), 78u);
  EXPECT_EQ(rows.back(), row);
  ExpectIndexesInStep(path, "Products");
  const std::string csv = MdbExport(path, "Products");
  EXPECT_NE(csv.find("78,\"Ærøskøbing Ale\",3,1,,-12345.6789,-32768,32767,,1"), std::string::npos) << csv.substr(csv.size() - 200);
}

}  // namespace
}  // namespace jet::testing
