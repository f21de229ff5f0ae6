// Index trees changed in place: seeded runs of inserts, updates and deletes
// in random orders, committed in many transactions, leave every index equal
// to a model of the rows after every commit, with leaves split, emptied and
// given back, and the file still one that mdbtools reads.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <random>

#include "jet/create.h"
#include "mdb_export_csv.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

constexpr char kTable[] = "Catches";

std::string NewSurvey(const std::string& name) {
  const std::string path = NewDatabase("jet-index-tree-tests", name);
  TableSpec t;
  t.name = kTable;
  t.columns = {{"Id", ColumnType::kLong}, {"Site", ColumnType::kLong}, {"Day", ColumnType::kDateTime},
               {"Species", ColumnType::kText, 255}, {"Weight", ColumnType::kDouble}};
  t.columns[0].autonumber = true;
  IndexSpec tag("Tag", {"Species", "Site"});
  tag.unique = true;
  t.indexes = {{"PrimaryKey", {"Id"}, true}, {"SiteDay", {"Site", "Day"}}, {"Weight", {"Weight"}}, tag};
  EXPECT_TRUE(CreateTables(path, {t}, {}).ok());
  return path;
}

// The rows as the model holds them: by Id, the values a row was given.
using Model = std::map<int64_t, Row>;

Row RandomRow(std::mt19937& random, int serial) {
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  // Long species names fill pages fast; the serial keeps (Species, Site) unique.
  return {Value::Null(ColumnType::kLong), Value(ColumnType::kLong, int64_t{pick(30)}),
          Value(ColumnType::kDateTime, DateTime{44000.0 + pick(900)}),
          Value(ColumnType::kText, std::string(100 + pick(100), static_cast<char>('a' + pick(26))) + std::to_string(serial)),
          pick(10) == 0 ? Value::Null(ColumnType::kDouble) : Value(ColumnType::kDouble, pick(5000) / 7.0)};
}

void ExpectRowsAsModelled(const std::string& path, const Model& model) {
  auto db = OpenForReading(path);
  ASSERT_TRUE(db);
  Model read;
  for (Row& row : AllRows(*db, kTable)) {
    const int64_t id = row[0].as_int();
    read[id] = std::move(row);
  }
  ASSERT_EQ(read.size(), model.size());
  for (const auto& [id, row] : model) {
    ASSERT_TRUE(read.count(id)) << "row " << id << " is missing";
    for (size_t c = 1; c < row.size(); ++c) EXPECT_EQ(read[id][c], row[c]) << "row " << id << " column " << c;
  }
}

struct TreeSize {
  size_t leaves = 0;
  size_t levels = 0;
  std::map<std::string, double> leaf_fill;  // by index: the share of its leaves' room in use
};

// Every level of every index tree is one chain of pages linked both ways,
// in key order, and each entry above the leaves carries the last entry of
// the page it names (which seeks go by); returns the most leaves and levels
// an index has, and how full each index keeps its leaves.
TreeSize ExpectSiblingLinks(const std::string& path, const std::string& table = kTable) {
  std::unique_ptr<Pager> pager;
  EXPECT_TRUE(Pager::Open(path, &pager).ok());
  auto db = OpenForReading(path);
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db->GetTableDef(table, &def).ok());
  TreeSize most;
  for (const IndexDef& index : def->indexes) {
    std::vector<std::vector<uint32_t>> levels;
    std::vector<IndexPage> pages;
    size_t used = 0, room = 0;
    // Returns the last entry below the page: its key and row.
    std::function<std::pair<std::string, uint32_t>(uint32_t, size_t)> visit = [&](uint32_t number, size_t depth) {
      Page raw;
      IndexPage page;
      std::pair<std::string, uint32_t> last;
      EXPECT_TRUE(pager->ReadPage(number, &raw).ok() && DecodeIndexPage(raw, false, &page).ok());
      if (levels.size() <= depth) levels.resize(depth + 1);
      levels[depth].push_back(number);
      for (const IndexEntry& e : page.entries) {
        last = {e.key, e.data_page << 8 | e.data_row};
        if (!page.leaf) {
          EXPECT_EQ(visit(e.child_page, depth + 1), last) << index.name << " page " << number;
        }
      }
      if (page.leaf) {
        const size_t capacity = pager->page_size() - 0x1E0;  // the entries start after the page's bitmap
        room += capacity;
        used += capacity - (raw[2] | raw[3] << 8);           // the page's free bytes
      } else if (page.tail_page) {
        last = visit(page.tail_page, depth + 1);
      }
      return last;
    };
    visit(index.first_page, 0);
    for (const auto& level : levels) {
      for (size_t i = 0; i < level.size() && level.size() > 1; ++i) {
        Page raw;
        IndexPage page;
        EXPECT_TRUE(pager->ReadPage(level[i], &raw).ok() && DecodeIndexPage(raw, false, &page).ok());
        EXPECT_EQ(page.prev_page, i ? level[i - 1] : 0u) << index.name << " page " << level[i];
        EXPECT_EQ(page.next_page, i + 1 < level.size() ? level[i + 1] : 0u) << index.name << " page " << level[i];
      }
    }
    most.leaf_fill[index.name] = static_cast<double>(used) / static_cast<double>(room);
    most.leaves = std::max(most.leaves, levels.back().size());
    most.levels = std::max(most.levels, levels.size());
  }
  return most;
}

TEST(WriterIndexTree, RandomChangesKeepEveryIndexInStepCommitByCommit) {
  for (uint32_t seed : {1u, 2u, 3u}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const std::string path = NewSurvey("tree" + std::to_string(seed) + ".mdb");
    std::mt19937 random(seed);
    auto pick = [&](size_t n) { return random() % n; };
    Model model;
    std::map<int64_t, RowId> places;
    size_t most_leaves = 0, leaves_now = 0, most_levels = 0;
    int serial = 0;
    for (int commit = 0; commit < 24; ++commit) {
      auto db = OpenForWriting(path);
      ASSERT_TRUE(db);
      ASSERT_TRUE(db->BeginTransaction().ok());
      // Phases: growth, churn, then deleting runs of neighbouring keys so
      // that whole leaves empty and are given back.
      const int inserts = commit < 8 ? 150 + static_cast<int>(pick(250)) : commit < 16 ? 60 : 5;
      const int deletes = commit < 8 ? static_cast<int>(pick(40)) : commit < 16 ? 60 : 0;
      for (int i = 0; i < inserts; ++i) {
        Row row = RandomRow(random, ++serial);
        RowId id;
        Status s = db->InsertRow(kTable, row, &id);
        ASSERT_TRUE(s.ok()) << s.ToString();
        Row stored;
        ASSERT_TRUE(db->ReadRow(kTable, id, &stored).ok());
        row[0] = stored[0];
        places[row[0].as_int()] = id;
        model[row[0].as_int()] = std::move(row);
      }
      for (int i = 0; i < deletes && !model.empty(); ++i) {
        auto it = std::next(model.begin(), static_cast<long>(pick(model.size())));
        ASSERT_TRUE(db->DeleteRow(kTable, places[it->first]).ok());
        places.erase(it->first);
        model.erase(it);
      }
      if (commit >= 16 && !model.empty()) {
        // A run of Ids, then a run of Weights.
        auto from = std::next(model.begin(), static_cast<long>(pick(model.size())));
        for (int n = 0; n < 120 && from != model.end(); ++n) {
          ASSERT_TRUE(db->DeleteRow(kTable, places[from->first]).ok());
          places.erase(from->first);
          from = model.erase(from);
        }
      }
      for (int i = 0; i < 20 && !model.empty(); ++i) {
        auto it = std::next(model.begin(), static_cast<long>(pick(model.size())));
        Row row = it->second;
        row[1] = Value(ColumnType::kLong, int64_t{static_cast<int>(pick(30))});
        row[4] = Value(ColumnType::kDouble, static_cast<double>(pick(5000)) / 7.0);
        Status s = db->UpdateRow(kTable, places[it->first], row);
        if (s.ok()) it->second = row;
        else ASSERT_EQ(s.jet_error(), 3022) << s.ToString();  // (Species, Site) taken
      }
      Status committed = db->Commit();
      ASSERT_TRUE(committed.ok()) << committed.ToString();
      db.reset();
      ExpectIndexesInStep(path, kTable);
      ExpectMapsConsistent(path, kTable);
      ExpectRowsAsModelled(path, model);
      const TreeSize size = ExpectSiblingLinks(path);
      leaves_now = size.leaves;
      most_leaves = std::max(most_leaves, leaves_now);
      most_levels = std::max(most_levels, size.levels);
      if (::testing::Test::HasFailure()) return;
    }
    // The runs of deletes emptied leaves, which were given back.
    EXPECT_GE(most_leaves, 20u);
    EXPECT_GE(most_levels, 3u);  // the trees grew a level above their first intermediate one
    EXPECT_LT(leaves_now, most_leaves);
    EXPECT_EQ(MdbExportRowCount(path, kTable), static_cast<long>(model.size()));
  }
}

// Commits of one change, as a person editing makes them, each land in a
// single leaf of each index: at either end of the tree (the newest Id, the
// greatest Weight), or inside it; the leaf's last entry moving must move
// the entries above it that carry it, up to the root.
TEST(WriterIndexTree, OneChangeCommitsKeepEveryIndexInStep) {
  const std::string path = NewSurvey("single.mdb");
  std::mt19937 random(11);
  auto pick = [&](size_t n) { return random() % n; };
  Model model;
  std::map<int64_t, RowId> places;
  int serial = 0;
  auto insert = [&](Database* db) {
    Row row = RandomRow(random, ++serial);
    RowId id;
    ASSERT_TRUE(db->InsertRow(kTable, row, &id).ok());
    Row stored;
    ASSERT_TRUE(db->ReadRow(kTable, id, &stored).ok());
    places[stored[0].as_int()] = id;
    model[stored[0].as_int()] = stored;
  };
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db && db->BeginTransaction().ok());
    for (int i = 0; i < 1500; ++i) insert(db.get());
    ASSERT_TRUE(db->Commit().ok());
  }
  ASSERT_GE(ExpectSiblingLinks(path).levels, 3u);
  for (int commit = 0; commit < 120; ++commit) {
    SCOPED_TRACE("commit " + std::to_string(commit));
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    auto heaviest = [&] {
      return std::max_element(model.begin(), model.end(), [](const auto& a, const auto& b) {
        return a.second[4].is_null() || (!b.second[4].is_null() && a.second[4].as_double() < b.second[4].as_double());
      });
    };
    const size_t kind = pick(5);
    if (kind == 0) {
      insert(db.get());  // a new Id, at the primary key's end
    } else if (kind <= 2) {
      // The newest row, the heaviest or any: the last entry of the last
      // leaf, of some leaf, or any entry goes.
      auto gone = kind == 1 ? std::prev(model.end()) : commit % 2 ? heaviest() : std::next(model.begin(), static_cast<long>(pick(model.size())));
      ASSERT_TRUE(db->DeleteRow(kTable, places[gone->first]).ok());
      places.erase(gone->first);
      model.erase(gone);
    } else {
      auto it = kind == 3 ? heaviest() : std::next(model.begin(), static_cast<long>(pick(model.size())));
      Row row = it->second;
      row[1] = Value(ColumnType::kLong, int64_t{static_cast<int>(pick(30))});
      row[4] = Value(ColumnType::kDouble, static_cast<double>(pick(6000)) / 7.0);
      Status s = db->UpdateRow(kTable, places[it->first], row);
      if (s.ok()) it->second = row;
      else ASSERT_EQ(s.jet_error(), 3022) << s.ToString();
    }
    db.reset();
    ExpectIndexesInStep(path, kTable);
    ExpectRowsAsModelled(path, model);
    ExpectSiblingLinks(path);
    if (::testing::Test::HasFailure()) return;
  }
  EXPECT_EQ(MdbExportRowCount(path, kTable), static_cast<long>(model.size()));
}

// Runs of equal keys that cross from leaf to leaf: a one-row change at a
// leaf's first or last entry counts distinct keys against the neighbouring
// leaf. Every row is taken out and put back, one commit each, so every
// leaf end is changed at least once.
TEST(WriterIndexTree, ChangesAtLeafEndsCountKeysAcrossTheNeighbours) {
  const std::string path = NewDatabase("jet-index-tree-tests", "runs.mdb");
  TableSpec t;
  t.name = "Observers";
  t.columns = {{"Id", ColumnType::kLong}, {"Name", ColumnType::kText, 255}};
  t.indexes = {{"Name", {"Name"}}};
  ASSERT_TRUE(CreateTables(path, {t}, {}).ok());
  // Names of 200 letters that share no prefix, about seventeen entries to a
  // leaf, one to four rows each.
  std::mt19937 random(3);
  std::vector<Row> rows;
  while (rows.size() < 200) {
    std::string text;
    for (size_t n = rows.size(); text.size() < 4; n /= 26) text += static_cast<char>('a' + n % 26);
    std::reverse(text.begin(), text.end());
    while (text.size() < 200) text += static_cast<char>('a' + random() % 26);
    for (int n = 1 + static_cast<int>(random() % 4); n > 0; --n) {
      rows.push_back({Value(ColumnType::kLong, static_cast<int64_t>(rows.size())), Value(ColumnType::kText, text)});
    }
  }
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  std::vector<RowId> places(rows.size());
  ASSERT_TRUE(db->BeginTransaction().ok());
  for (size_t i = 0; i < rows.size(); ++i) ASSERT_TRUE(db->InsertRow(t.name, rows[i], &places[i]).ok());
  ASSERT_TRUE(db->Commit().ok());
  db.reset();
  ASSERT_GE(ExpectSiblingLinks(path, t.name).leaves, 10u);
  for (size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE("row " + std::to_string(i));
    db = OpenForWriting(path);
    ASSERT_TRUE(db->DeleteRow(t.name, places[i]).ok());
    db.reset();
    ExpectIndexesInStep(path, t.name);
    db = OpenForWriting(path);
    ASSERT_TRUE(db->InsertRow(t.name, rows[i], &places[i]).ok());
    db.reset();
    ExpectIndexesInStep(path, t.name);
    if (::testing::Test::HasFailure()) return;
  }
  ExpectSiblingLinks(path, t.name);
}

// Commits whose keys fall all over an index (as a bulk load's do) pack the
// leaves they change together: each split would otherwise leave a part-filled
// page behind, and the tree would grow to several times its size.
TEST(WriterIndexTree, CommitsSpreadOverManyLeavesKeepThemFull) {
  const std::string path = NewSurvey("fill.mdb");
  std::mt19937 random(5);
  int serial = 0;
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  for (int commit = 0; commit < 30; ++commit) {
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int i = 0; i < 300; ++i) ASSERT_TRUE(db->InsertRow(kTable, RandomRow(random, ++serial)).ok());
    ASSERT_TRUE(db->Commit().ok());
  }
  db.reset();
  ExpectIndexesInStep(path, kTable);
  const std::map<std::string, double> fill = ExpectSiblingLinks(path).leaf_fill;
  // Packed leaf by leaf, every split left a page behind that few keys ever
  // reached: these indexes were filled to a sixth.
  EXPECT_GT(fill.at("SiteDay"), 0.75);
  EXPECT_GT(fill.at("Weight"), 0.75);
  EXPECT_GT(fill.at("Tag"), 0.5);  // long keys, few to a page: a single leaf's split still leaves room
  EXPECT_GT(fill.at("PrimaryKey"), 0.9);  // ascending keys split left-full
}

TEST(WriterIndexTree, AUniqueKeyIsRefusedAgainstCommittedAndPendingRows) {
  const std::string path = NewSurvey("unique.mdb");
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  std::mt19937 random(9);
  ASSERT_TRUE(db->BeginTransaction().ok());
  for (int i = 0; i < 3000; ++i) ASSERT_TRUE(db->InsertRow(kTable, RandomRow(random, i)).ok());
  ASSERT_TRUE(db->Commit().ok());
  db.reset();
  db = OpenForWriting(path);  // a new session, which has not read the trees' shapes
  Row taken = RandomRow(random, 1500);
  taken[3] = AllRows(*db, kTable)[1500][3];
  taken[1] = AllRows(*db, kTable)[1500][1];
  EXPECT_EQ(db->InsertRow(kTable, taken).jet_error(), 3022);  // in the committed tree, mid-index

  ASSERT_TRUE(db->BeginTransaction().ok());
  Row fresh = RandomRow(random, 99999);
  RowId id;
  ASSERT_TRUE(db->InsertRow(kTable, fresh, &id).ok());
  EXPECT_EQ(db->InsertRow(kTable, fresh).jet_error(), 3022);  // in the transaction's own changes
  ASSERT_TRUE(db->DeleteRow(kTable, id).ok());
  EXPECT_TRUE(db->InsertRow(kTable, fresh).ok());  // its delete freed the key again
  ASSERT_TRUE(db->Commit().ok());
  db.reset();
  ExpectIndexesInStep(path, kTable);
}

}  // namespace
}  // namespace jet::testing
