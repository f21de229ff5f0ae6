// What the reader must get right where mdbtools does not (or cannot be
// asked): values and orders worked out from the fixtures' documentation.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <unistd.h>

#include "jet/text_form.h"
#include "test_support.h"

namespace jet::testing {
namespace {

std::vector<std::string> CsvLines(Database& db, const std::string& table) {
  std::unique_ptr<TableCursor> cursor;
  Status s = db.OpenTable(table, &cursor);
  EXPECT_TRUE(s.ok()) << s.ToString();
  std::vector<std::string> lines;
  if (!s.ok()) return lines;
  while (cursor->Next()) {
    std::string line;
    AppendCsvRecord(&line, cursor->row());
    line.pop_back();
    lines.push_back(line);
  }
  EXPECT_TRUE(cursor->status().ok()) << cursor->status().ToString();
  return lines;
}

const ColumnDef& Column(const TableDef& def, const std::string& name) {
  int i = def.FindColumn(name);
  EXPECT_GE(i, 0) << name;
  return def.columns.at(i);
}

const IndexDef* FindIndex(const TableDef& def, const std::string& name) {
  for (const auto& idx : def.indexes) if (idx.name == name) return &idx;
  return nullptr;
}

std::string PropertyText(const PropertyMap& map, const std::string& name) {
  const Value* v = map.Find(name);
  return v && !v->is_null() ? CanonicalText(*v) : "<none>";
}

TEST(ReaderKnownValues, DatesOutsideWhatMdbtoolsPrints) {
  auto db = OpenFixture("DateTestDatabase.mdb");
  ASSERT_TRUE(db);
  auto lines = CsvLines(*db, "DateTest");
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[1].substr(0, 43), "2,9999-01-01 00:00:00,9999-01-01 00:00:00,9");
  EXPECT_EQ(lines[2].substr(0, 61), "3,1898-01-01 00:00:00,1899-01-01 00:00:00,1900-01-01 00:00:00");
  EXPECT_EQ(lines[3].substr(0, 61), "4,0632-01-01 00:00:00,0633-01-01 00:00:00,0634-01-01 00:00:00");
  // A literal backslash-r-backslash-n and a real line break in memo text.
  EXPECT_NE(lines[4].find("Escaped new line \\r\\n in field"), std::string::npos);
  EXPECT_EQ(lines[5].rfind("6,", 0), 0u);
  EXPECT_NE(lines[5].find("\"New line"), std::string::npos);
  EXPECT_NE(lines[5].find("\nin field\""), std::string::npos);
}

TEST(ReaderKnownValues, RowOrderAndShapeAsAccessScansThem) {
  // Rows 3 and 5 were moved to another page; Access still scans them in place.
  auto overflow = OpenFixture("overflowTestV2000.mdb");
  ASSERT_TRUE(overflow);
  auto lines = CsvLines(*overflow, "Table1");
  ASSERT_EQ(lines.size(), 7u);
  for (int i = 0; i < 7; ++i) {
    EXPECT_NE(lines[i].find("row" + std::to_string(i + 1) + "col"), std::string::npos) << lines[i];
  }
  // Rows written before a column was deleted keep their old layout.
  auto del = OpenFixture("delColTestV2000.mdb");
  ASSERT_TRUE(del);
  EXPECT_EQ(CsvLines(*del, "Table1"), (std::vector<std::string>{"0,2,foo,foo2", "3,5,bar,bar2"}));
}

TEST(ReaderKnownValues, LiveRowCountsNotTheStaleStoredOne) {
  auto db = OpenFixture("npsmith88-Northwind.mdb");
  ASSERT_TRUE(db);
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef("Customers", &def).ok());
  EXPECT_EQ(def->stored_row_count, 92u);
  uint64_t live = 0;
  ASSERT_TRUE(db->CountRows("Customers", &live).ok());
  EXPECT_EQ(live, 91u);
  ASSERT_TRUE(db->CountRows("Order Details", &live).ok());
  EXPECT_EQ(live, 2155u);
  // nwind has pages still tagged with Umsätze's definition that its usage
  // map no longer owns; they must not be counted.
  auto nwind = OpenFixture("nwind.mdb");
  ASSERT_TRUE(nwind);
  ASSERT_TRUE(nwind->CountRows("Umsätze", &live).ok());
  EXPECT_EQ(live, 830u);
}

TEST(ReaderKnownValues, TextInEveryEncoding) {
  // Jet 3 text whose header claims 1252 but which is GBK.
  auto claimed = OpenFixture("charsetGBK.mdb");
  ASSERT_TRUE(claimed);
  EXPECT_EQ(CsvLines(*claimed, "table1"), std::vector<std::string>{"2,GBK±àÂë"});
  OpenOptions gbk;
  gbk.text_encoding_override = "GBK";
  auto overridden = OpenFixture("charsetGBK.mdb", gbk);
  ASSERT_TRUE(overridden);
  EXPECT_EQ(CsvLines(*overridden, "table1"), std::vector<std::string>{"2,GBK编码"});

  OpenOptions bogus;
  bogus.text_encoding_override = "NO-SUCH-ENCODING";
  std::unique_ptr<Database> db;
  Status s = Database::Open(FixturePath("charsetGBK.mdb"), bogus, &db);
  EXPECT_EQ(s.code(), Status::Code::kUnsupported);

  // Jet 4 compressed text in several scripts.
  auto unicode = OpenFixture("testUnicodeCompV2003.mdb");
  ASSERT_TRUE(unicode);
  std::string all;
  for (const auto& line : CsvLines(*unicode, "Table")) all += line + "\n";
  for (const char* text : {"2,ääkkösiä", "3,Мир", "\u039A\u1F7B\u03F0\u03BB\u03C9\u03C0\u03B1", "5,漢字仮名交じり文", "7,ümlaut"}) {
    EXPECT_NE(all.find(text), std::string::npos) << text;
  }
}

TEST(ReaderKnownValues, LongValuesInAllThreeForms) {
  auto db = OpenFixture("pecl-mdbtools-test.mdb");
  ASSERT_TRUE(db);
  std::unique_ptr<TableCursor> cursor;
  ASSERT_TRUE(db->OpenTable("Tabelle1", &cursor).ok());
  std::map<int64_t, size_t> lengths;  // characters of f2 by ID
  const int id = cursor->def().FindColumn("ID"), memo = cursor->def().FindColumn("f2");
  while (cursor->Next()) {
    const Value& v = cursor->row()[memo];
    if (v.is_null()) continue;
    const std::string& s = v.as_text();
    size_t chars = 0;
    for (unsigned char c : s) chars += (c & 0xC0) != 0x80;
    lengths[cursor->row()[id].as_int()] = chars;
  }
  ASSERT_TRUE(cursor->status().ok());
  EXPECT_EQ(lengths[3], 721u);   // one LVAL row
  EXPECT_EQ(lengths[5], 720u);
  EXPECT_EQ(lengths[4], 6215u);  // page chains
  EXPECT_EQ(lengths[6], 63377u);

  auto ace = OpenFixture("mdb-reader-longtext.accdb");
  ASSERT_TRUE(ace);
  auto lines = CsvLines(*ace, "Table1");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_GE(lines[0].size(), 5000u);
}

TEST(ReaderKnownValues, LinkedTablesResolveOrNameTheirPath) {
  auto db = OpenFixture("linked.mdb");
  ASSERT_TRUE(db);
  const CatalogEntry* link = db->FindTable("Table1");
  ASSERT_TRUE(link);
  EXPECT_EQ(link->kind, ObjectKind::kLinkedTable);
  EXPECT_EQ(link->database, "C:\\db\\linkee1.mdb");
  EXPECT_EQ(link->foreign_name, "Table1");
  // C:\db does not exist here: the file beside the database is used.
  EXPECT_EQ(CsvLines(*db, "Table1"), std::vector<std::string>{"1,ciao bello"});
  EXPECT_EQ(CsvLines(*db, "table2"), std::vector<std::string>{"1,ciao brutto"});

  // Alone in a folder, the link fails and says which path it looked for;
  // a folder mapping finds it again.
  auto dir = std::filesystem::temp_directory_path() / ("jet-links-" + std::to_string(getpid()));
  std::filesystem::create_directories(dir);
  std::filesystem::create_symlink(FixturePath("linked.mdb"), dir / "linked.mdb");
  std::unique_ptr<Database> alone;
  ASSERT_TRUE(Database::Open((dir / "linked.mdb").string(), {}, &alone).ok());
  std::unique_ptr<TableCursor> cursor;
  Status s = alone->OpenTable("Table1", &cursor);
  EXPECT_EQ(s.code(), Status::Code::kNotFound);
  EXPECT_NE(s.message().find("C:\\db\\linkee1.mdb"), std::string::npos) << s.message();

  OpenOptions mapped;
  mapped.folder_mappings.push_back({"c:\\DB", std::string(TABULON_FIXTURES) + "/jet"});
  std::unique_ptr<Database> remapped;
  ASSERT_TRUE(Database::Open((dir / "linked.mdb").string(), mapped, &remapped).ok());
  EXPECT_EQ(CsvLines(*remapped, "Table1"), std::vector<std::string>{"1,ciao bello"});
  std::filesystem::remove_all(dir);
}

TEST(ReaderKnownValues, IndexesWithFlagsColumnsOrderAndCounts) {
  auto props = OpenFixture("testIndexPropertiesV2000.mdb");
  ASSERT_TRUE(props);
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(props->GetTableDef("TableIgnoreNulls1", &def).ok());
  const IndexDef* pk = FindIndex(*def, "PrimaryKey");
  const IndexDef* data = FindIndex(*def, "DataIndex");
  ASSERT_TRUE(pk && data);
  EXPECT_TRUE(pk->primary && pk->unique && pk->required);
  EXPECT_TRUE(data->ignore_nulls && !data->unique && !data->primary);
  EXPECT_EQ(pk->distinct_count, 10u);
  ASSERT_TRUE(props->GetTableDef("TableUnique2_temp", &def).ok());
  data = FindIndex(*def, "DataIndex");
  ASSERT_TRUE(data);
  EXPECT_TRUE(data->unique);
  ASSERT_EQ(data->columns.size(), 2u);
  EXPECT_EQ(def->columns[data->columns[1].column].name, "data2");
  // An empty table's primary index counts 0 (the table browser hides it).
  ASSERT_TRUE(props->GetTableDef("TableIgnoreNulls1_temp", &def).ok());
  EXPECT_EQ(FindIndex(*def, "PrimaryKey")->distinct_count, 0u);

  // Foreign-key indexes sharing the physical index of another.
  auto nw = OpenFixture("npsmith88-Northwind.mdb");
  ASSERT_TRUE(nw);
  ASSERT_TRUE(nw->GetTableDef("Customers", &def).ok());
  const IndexDef* fk = FindIndex(*def, ".rF");
  pk = FindIndex(*def, "PrimaryKey");
  ASSERT_TRUE(fk && pk);
  EXPECT_TRUE(fk->foreign_key);
  EXPECT_EQ(fk->real_index, pk->real_index);
  EXPECT_EQ(FindIndex(*def, "City")->distinct_count, 75u);  // as stored: Access's statistics may lag

  // Jet 3 column order: the tables come in pairs whose "_desc" twin has one
  // index column descending; Table12's twins mix the two orders.
  auto codes = OpenFixture("testIndexCodesV1997.mdb");
  ASSERT_TRUE(codes);
  int pairs = 0;
  for (const auto& e : codes->catalog()) {
    if (e.kind != ObjectKind::kTable || e.system || e.name.size() < 5) continue;
    if (e.name.compare(e.name.size() - 5, 5, "_desc") != 0 || e.name.rfind("Table12", 0) == 0) continue;
    std::shared_ptr<const TableDef> asc, desc;
    ASSERT_TRUE(codes->GetTableDef(e.name.substr(0, e.name.size() - 5), &asc).ok()) << e.name;
    ASSERT_TRUE(codes->GetTableDef(e.name, &desc).ok());
    // The plain table indexes everything ascending; its twin has one
    // descending column.
    auto descending_columns = [](const TableDef& t) {
      int n = 0;
      for (const auto& idx : t.indexes)
        for (const auto& c : idx.columns) n += !c.ascending;
      return n;
    };
    EXPECT_EQ(descending_columns(*asc), 0) << e.name;
    EXPECT_EQ(descending_columns(*desc), 1) << e.name;
    ++pairs;
  }
  EXPECT_GE(pairs, 10);
  ASSERT_TRUE(codes->GetTableDef("Table12_asc_desc", &def).ok());
  const IndexDef* mixed = FindIndex(*def, "DataIndex");
  ASSERT_TRUE(mixed && mixed->columns.size() == 2);
  EXPECT_TRUE(mixed->columns[0].ascending);
  EXPECT_FALSE(mixed->columns[1].ascending);

  // Fresh statistics equal the distinct keys among the rows.
  auto nwind = OpenFixture("nwind.mdb");
  ASSERT_TRUE(nwind);
  ASSERT_TRUE(nwind->GetTableDef("Customers", &def).ok());
  std::set<std::string> cities;
  std::unique_ptr<TableCursor> cursor;
  ASSERT_TRUE(nwind->OpenTable("Customers", &cursor).ok());
  const int city = def->FindColumn("City");
  while (cursor->Next()) cities.insert(CanonicalText(cursor->row()[city]));
  EXPECT_EQ(FindIndex(*def, "City")->distinct_count, cities.size());
}

TEST(ReaderKnownValues, CatalogueAndColumnProperties) {
  auto db = OpenFixture("npsmith88-Northwind.mdb");
  ASSERT_TRUE(db);
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef("Employees", &def).ok());
  EXPECT_EQ(PropertyText(def->properties, "Description"), "Employees' names, titles, and personal information.");
  EXPECT_EQ(PropertyText(Column(*def, "EmployeeID").properties, "Caption"), "Employee ID");
  EXPECT_EQ(PropertyText(Column(*def, "BirthDate").properties, "Format"), "dd-mmm-yyyy");
  EXPECT_EQ(PropertyText(Column(*def, "Title").properties, "Description"), "Employee's title.");
  EXPECT_TRUE(Column(*def, "EmployeeID").autonumber);
  EXPECT_FALSE(Column(*def, "LastName").nullable);  // Required
  EXPECT_EQ(Column(*def, "LastName").size, 40u);

  // The catalogue: queries, forms and system tables are told apart; names
  // are unique only per kind.
  auto nwind = OpenFixture("nwind.mdb");
  ASSERT_TRUE(nwind);
  int queries = 0, system_tables = 0;
  for (const auto& e : nwind->catalog()) {
    queries += e.kind == ObjectKind::kQuery;
    system_tables += e.kind == ObjectKind::kTable && e.system;
  }
  EXPECT_EQ(queries, 22);
  EXPECT_GE(system_tables, 5);
  const CatalogEntry* query = nwind->FindObject("Invoices", ObjectKind::kQuery);
  ASSERT_TRUE(query);
  EXPECT_EQ(nwind->FindTable("Invoices"), nullptr);
  EXPECT_EQ(nwind->format(), FileFormat::kJet3);
  EXPECT_EQ(db->format(), FileFormat::kJet4);
}

TEST(ReaderKnownValues, ErrorsNameWhatIsWrong) {
  std::unique_ptr<Database> db;
  Status s = Database::Open(FixturePath("no-such-file.mdb"), {}, &db);
  EXPECT_EQ(s.code(), Status::Code::kNotFound);
  EXPECT_NE(s.message().find("no-such-file.mdb"), std::string::npos);

  s = Database::Open(std::string(TABULON_FIXTURES) + "/jet/MANIFEST.md", {}, &db);
  EXPECT_EQ(s.code(), Status::Code::kCorruption);

  auto nw = OpenFixture("npsmith88-Northwind.mdb");
  ASSERT_TRUE(nw);
  std::unique_ptr<TableCursor> cursor;
  s = nw->OpenTable("Customerz", &cursor);
  EXPECT_EQ(s.code(), Status::Code::kNotFound);
  EXPECT_EQ(s.jet_error(), 3078);
  EXPECT_NE(s.message().find("Customerz"), std::string::npos);
}

}  // namespace
}  // namespace jet::testing
