// Helpers shared by the writer tests: scratch copies of fixtures and the
// checks every written file must pass.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "jet/database.h"
#include "storage/index_key.h"
#include "storage/data_page.h"
#include "storage/index_page.h"
#include "storage/pager.h"
#include "storage/usage_map.h"
#include "test_support.h"

namespace jet::testing {

// A private copy of a fixture in the test's temporary folder.
inline std::string ScratchCopy(const std::string& fixture, const std::string& name) {
  const std::string dir = ::testing::TempDir() + "jet-writer-tests";
  std::filesystem::create_directories(dir);
  const std::string path = dir + "/" + name;
  for (const char* suffix : {"", "-journal", ".ldb"}) std::filesystem::remove(path + suffix);
  std::filesystem::remove(dir + "/" + std::filesystem::path(name).stem().string() + ".ldb");
  std::filesystem::copy_file(FixturePath(fixture), path);
  std::filesystem::permissions(path, std::filesystem::perms::owner_write, std::filesystem::perm_options::add);
  return path;
}

inline std::vector<uint8_t> FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

inline std::unique_ptr<Database> OpenForWriting(const std::string& path, FileSystem* fs = nullptr) {
  OpenOptions options;
  options.writable = true;
  options.file_system = fs;
  std::unique_ptr<Database> db;
  Status s = Database::Open(path, options, &db);
  EXPECT_TRUE(s.ok()) << s.ToString();
  return db;
}

inline std::unique_ptr<Database> OpenForReading(const std::string& path) {
  std::unique_ptr<Database> db;
  Status s = Database::Open(path, {}, &db);
  EXPECT_TRUE(s.ok()) << s.ToString();
  return db;
}

inline std::vector<Row> AllRows(Database& db, const std::string& table, std::vector<RowId>* ids = nullptr) {
  std::unique_ptr<TableCursor> cursor;
  Status s = db.OpenTable(table, &cursor);
  EXPECT_TRUE(s.ok()) << s.ToString();
  std::vector<Row> rows;
  if (!cursor) return rows;
  while (cursor->Next()) {
    rows.push_back(cursor->row());
    if (ids) ids->push_back(cursor->row_id());
  }
  EXPECT_TRUE(cursor->status().ok()) << cursor->status().ToString();
  return rows;
}

// Every index of `table` in the file at `path` agrees with its rows: entries
// in key order, one per live row (none for deleted ones), each key the key of
// the row it points at, and the stored distinct count right.
inline void ExpectIndexesInStep(const std::string& path, const std::string& table) {
  auto db = OpenForReading(path);
  ASSERT_TRUE(db);
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef(table, &def).ok());
  std::vector<RowId> ids;
  std::vector<Row> rows = AllRows(*db, table, &ids);
  std::map<uint32_t, const Row*> by_pointer;
  for (size_t i = 0; i < rows.size(); ++i) by_pointer[ids[i].page << 8 | ids[i].row] = &rows[i];
  std::unique_ptr<Pager> pager;
  ASSERT_TRUE(Pager::Open(path, &pager).ok());
  for (const IndexDef& index : def->indexes) {
    SCOPED_TRACE(table + "." + index.name);
    std::vector<IndexEntry> entries;
    Status s = ReadIndexEntries(*pager, index.first_page, &entries);
    ASSERT_TRUE(s.ok()) << s.ToString();
    std::set<uint32_t> pointed;
    std::set<std::string> distinct;
    for (size_t i = 0; i < entries.size(); ++i) {
      const uint32_t pointer = entries[i].data_page << 8 | entries[i].data_row;
      if (i > 0) {
        const auto& prev = entries[i - 1];
        const uint32_t prev_pointer = prev.data_page << 8 | prev.data_row;
        EXPECT_TRUE(prev.key < entries[i].key || (prev.key == entries[i].key && prev_pointer < pointer))
            << "entries out of order at " << i;
      }
      EXPECT_TRUE(pointed.insert(pointer).second) << "two entries for one row";
      distinct.insert(entries[i].key);
      auto row = by_pointer.find(pointer);
      if (row == by_pointer.end()) {
        ADD_FAILURE() << "entry for a row that is not live: page " << entries[i].data_page << " row "
                      << int(entries[i].data_row);
        continue;
      }
      std::string key;
      ASSERT_TRUE(EncodeIndexKey(*def, index, *row->second, db->format(), &key).ok());
      EXPECT_EQ(key, entries[i].key) << "stale key for page " << entries[i].data_page;
    }
    if (!index.ignore_nulls) {
      EXPECT_EQ(pointed.size(), rows.size()) << "live rows missing from the index";
    }
    EXPECT_EQ(index.distinct_count, distinct.size());
  }
}

// The file's own map of free pages.
constexpr uint32_t kFreePageMap = 1 << 8;

// The two usage maps a table definition names.
struct TableMaps {
  uint32_t tdef_page = 0;
  uint32_t owned = 0;
  uint32_t free_space = 0;
};

inline TableMaps MapsOf(const std::string& path, const std::string& table) {
  auto db = OpenForReading(path);
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db && db->GetTableDef(table, &def).ok());
  std::unique_ptr<Pager> pager;
  EXPECT_TRUE(Pager::Open(path, &pager).ok());
  Page tdef;
  EXPECT_TRUE(pager->ReadPage(def->tdef_page, &tdef).ok());
  return {def->tdef_page, Get32(tdef.data() + 0x37), Get32(tdef.data() + 0x3B)};
}

// The table's maps agree with its pages: it owns only its own data pages,
// every page holding one of its live rows is owned, pages said to have free
// space are its own, and none of them is also on the file's free-page list.
inline void ExpectMapsConsistent(const std::string& path, const std::string& table) {
  SCOPED_TRACE(table);
  const TableMaps maps = MapsOf(path, table);
  std::unique_ptr<Pager> pager;
  ASSERT_TRUE(Pager::Open(path, &pager).ok());
  std::vector<uint32_t> owned, free_space, free_pages;
  ASSERT_TRUE(ReadUsageMap(*pager, maps.owned, &owned).ok());
  ASSERT_TRUE(ReadUsageMap(*pager, maps.free_space, &free_space).ok());
  ASSERT_TRUE(ReadUsageMap(*pager, kFreePageMap, &free_pages).ok());
  const std::set<uint32_t> owned_set(owned.begin(), owned.end());
  for (uint32_t p : owned) {
    Page page;
    ASSERT_TRUE(pager->ReadPage(p, &page).ok());
    EXPECT_EQ(page[0], static_cast<uint8_t>(PageType::kData)) << "owned page " << p;
    EXPECT_EQ(DataPage(page, false).owner(), maps.tdef_page) << "owned page " << p;
  }
  for (uint32_t p : free_space) EXPECT_TRUE(owned_set.count(p)) << "free-space page " << p << " is not owned";
  for (uint32_t p : free_pages) EXPECT_FALSE(owned_set.count(p)) << "owned page " << p << " is also free";
  for (uint32_t p = 2; p < pager->page_count(); ++p) {
    Page page;
    ASSERT_TRUE(pager->ReadPage(p, &page).ok());
    DataPage data(page, false);
    if (page[0] != static_cast<uint8_t>(PageType::kData) || data.owner() != maps.tdef_page) continue;
    for (uint16_t r = 0; r < data.row_count(); ++r) {
      RowSlot slot;
      ASSERT_TRUE(data.Slot(r, &slot).ok());
      if (slot.deleted) continue;
      EXPECT_TRUE(owned_set.count(p)) << "page " << p << " holds a live row but is not owned";
    }
  }
}

// Calls `visit` with every data page of the file at `path`.
inline void ForEachDataPage(const std::string& path, const std::function<void(uint32_t, const DataPage&)>& visit) {
  std::unique_ptr<Pager> pager;
  EXPECT_TRUE(Pager::Open(path, &pager).ok());
  for (uint32_t p = 1; pager && p < pager->page_count(); ++p) {
    Page page;
    if (!pager->ReadPage(p, &page).ok() || page[0] != static_cast<uint8_t>(PageType::kData)) continue;
    visit(p, DataPage(page, false));
  }
}

// How many slots of `owner`'s pages have both flags as given: moved rows
// (live, pointing at their data elsewhere) or deleted rows.
inline int SlotsFlagged(const std::string& path, uint32_t owner, bool deleted, bool overflow) {
  int count = 0;
  ForEachDataPage(path, [&](uint32_t, const DataPage& data) {
    for (uint16_t r = 0; data.owner() == owner && r < data.row_count(); ++r) {
      RowSlot slot;
      count += data.Slot(r, &slot).ok() && slot.deleted == deleted && slot.overflow == overflow ? 1 : 0;
    }
  });
  return count;
}

// Live slots that hold only a pointer to their row's data on another page.
inline int MovedRows(const std::string& path, uint32_t tdef_page) { return SlotsFlagged(path, tdef_page, false, true); }

// mdb-export's CSV of a table (header included), or "" when it fails.
inline std::string MdbExport(const std::string& path, const std::string& table) {
  int rc = 0;
  std::string out = RunCommand("mdb-export '" + path + "' '" + table + "' 2>/dev/null", &rc);
  return rc == 0 ? out : "";
}

// How many rows mdb-export finds (values may hold line breaks).
inline long MdbExportRowCount(const std::string& path, const std::string& table) {
  int rc = 0;
  std::string out = RunCommand("mdb-export -H -R '<<row>>' '" + path + "' '" + table + "' 2>/dev/null", &rc);
  long rows = 0;
  for (size_t at = out.find("<<row>>"); at != std::string::npos; at = out.find("<<row>>", at + 1)) ++rows;
  return rc == 0 ? rows : -1;
}

}  // namespace jet::testing
