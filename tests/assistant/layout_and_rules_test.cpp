// The Assistant's rules that need no window: the pane arithmetic in twips,
// which tables the browser offers, and how the list's sorts read cells.
#include <gtest/gtest.h>

#include "assistant/list_view_model.h"
#include "assistant/pane_layout.h"
#include "assistant/top_level_tables.h"
#include "assistant/value_text.h"
#include "platform/dao/dao.h"

namespace assistant {
namespace {

PaneFrame Frame(float width, float innerHeight = 6000) {
  PaneFrame frame;
  frame.windowWidth = width;
  frame.innerHeight = innerHeight;
  frame.titlesHeight = kTitleStripHeight;
  frame.toolbarHeight = 420;
  frame.statusHeight = 300;
  return frame;
}

TEST(PaneLayout, TheSplitterKeepsItsDistanceAndTheListsFollowIt) {
  // Dropped 600 twips from the left edge: pulled back to 1500.
  PaneLayout layout = SizeControls(Frame(6500), 600);
  EXPECT_EQ(layout.splitter, 1500);
  for (int row = 0; row < 3; ++row) {
    EXPECT_EQ(layout.trees[row].width, 1500);
    EXPECT_EQ(layout.lists[row].left, 1540);
    EXPECT_EQ(layout.lists[row].width, 6500 - (1500 + 140));
    EXPECT_EQ(layout.treeTitles[row].width, 1500);
    EXPECT_EQ(layout.listTitles[row].left, 1560);
    EXPECT_EQ(layout.listTitles[row].width, 6500 - (1500 + 140) - 40);
  }
  EXPECT_EQ(SizeControls(Frame(6500), 6000).splitter, 5000);
  EXPECT_EQ(SizeControls(Frame(6500), 2600).splitter, 2600);
  // At the narrowest window both limits meet.
  EXPECT_EQ(SizeControls(Frame(3000), 100).splitter, 1500);
  EXPECT_EQ(SizeControls(Frame(3000), 2900).splitter, 1500);
}

TEST(PaneLayout, OnlyTheTableRowGrowsAndTheSplitterSpansAllRows) {
  const PaneFrame frame = Frame(8000, 9000);
  const PaneLayout layout = SizeControls(frame, 3000);
  const float top = kTitleStripHeight + 420;
  EXPECT_EQ(layout.trees[0].top, top);
  EXPECT_EQ(layout.lists[0].top, top);
  EXPECT_EQ(layout.trees[0].height, kReportRowHeight);
  EXPECT_EQ(layout.trees[1].height, kQueryRowHeight);
  EXPECT_EQ(layout.trees[2].top, layout.picture2.bottom());
  EXPECT_EQ(layout.trees[2].height, 9000 - layout.picture2.bottom() - 300);
  EXPECT_EQ(layout.splitterBar.top, top);
  EXPECT_EQ(layout.splitterBar.bottom(), layout.trees[2].bottom());

  PaneFrame bare = frame;
  bare.toolbarVisible = false;
  bare.statusVisible = false;
  const PaneLayout without = SizeControls(bare, 3000);
  EXPECT_EQ(without.trees[0].top, kTitleStripHeight);
  EXPECT_EQ(without.trees[2].height, 9000 - without.picture2.bottom());
}

TEST(PaneLayout, TheDraggedBarStops500FromEitherEdge) {
  EXPECT_EQ(DragBarLeft(6500, 200), 500);
  EXPECT_EQ(DragBarLeft(6500, 600), 600);
  EXPECT_EQ(DragBarLeft(6500, 6300), 6000);
}

dao::TableDef Table(const QString& name, QVector<long> distinctCounts) {
  dao::TableDef table;
  table.Name = name;
  for (long count : distinctCounts) {
    dao::Index index;
    index.Primary = index.Unique = index.Required = true;
    index.DistinctCount = count;
    table.Indexes.append(index);
  }
  return table;
}

TEST(TopLevelTables, OneKeyedIndexWithRowsMakesATableTopLevel) {
  EXPECT_TRUE(IsTopLevelTable(Table(QStringLiteral("tblGearType"), {4})));
  EXPECT_FALSE(IsTopLevelTable(Table(QStringLiteral("tblEmpty"), {0})));
  EXPECT_FALSE(IsTopLevelTable(Table(QStringLiteral("tblTwoKeys"), {4, 4})));
  EXPECT_FALSE(IsTopLevelTable(Table(QStringLiteral("tblNoIndex"), {})));
  dao::TableDef loose = Table(QStringLiteral("tblLoose"), {4});
  loose.Indexes[0].Required = false;
  EXPECT_FALSE(IsTopLevelTable(loose));
  // The estimate definitions and the output tables need only an index.
  EXPECT_TRUE(IsTopLevelTable(Table(QStringLiteral("tblESTIMATE_DEFINITION"), {0})));
  EXPECT_TRUE(IsTopLevelTable(Table(QStringLiteral("tblOUT_Weekly"), {0, 3})));
  EXPECT_FALSE(IsTopLevelTable(Table(QStringLiteral("tblOUT_NoIndex"), {})));
  // System tables and links to text files never.
  dao::TableDef system = Table(QStringLiteral("MSysObjects"), {4});
  system.Attributes = dao::dbSystemObject;
  EXPECT_FALSE(IsTopLevelTable(system));
  dao::TableDef linked = Table(QStringLiteral("tblOUT_Import"), {4});
  linked.SourceTableName = QStringLiteral("catch.csv");
  EXPECT_FALSE(IsTopLevelTable(linked));
  linked.SourceTableName = QStringLiteral("notes.TXT");
  EXPECT_FALSE(IsTopLevelTable(linked));
}

TEST(ValueText, CellsReadBackAsTheSortsNeedThem) {
  EXPECT_EQ(ValueText(QVariant()), QString());
  EXPECT_EQ(ValueText(true), QStringLiteral("True"));
  EXPECT_EQ(ValueText(QDateTime(QDate(2021, 5, 1), QTime(0, 0))), QStringLiteral("2021-05-01"));
  EXPECT_EQ(ValueText(QDateTime(QDate(1899, 12, 30), QTime(6, 30))), QStringLiteral("06:30:00"));
  EXPECT_EQ(ValueText(QDateTime(QDate(2021, 5, 1), QTime(5, 44))), QStringLiteral("2021-05-01 05:44:00"));
  EXPECT_EQ(ValueText(2.5), QStringLiteral("2.5"));

  EXPECT_EQ(DateFromText(QStringLiteral("2021-05-01 05:44:00")), QDateTime(QDate(2021, 5, 1), QTime(5, 44)));
  EXPECT_EQ(DateFromText(QStringLiteral("15-Mar-2021")), QDateTime(QDate(2021, 3, 15), QTime(0, 0)));
  EXPECT_EQ(DateFromText(QStringLiteral("06:30:00")), QDateTime(QDate(1899, 12, 30), QTime(6, 30)));
  EXPECT_FALSE(DateFromText(QStringLiteral("Dawn")));
  EXPECT_FALSE(DateFromText(QString()));

  EXPECT_EQ(NumberFromText(QStringLiteral(" 42 ")), 42);
  EXPECT_EQ(NumberFromText(QStringLiteral("2.5")), 2);  // halves go to the even number
  EXPECT_FALSE(NumberFromText(QStringLiteral("3000000000")));
  EXPECT_FALSE(NumberFromText(QStringLiteral("twelve")));

  EXPECT_EQ(FirstClockTime(QStringLiteral("Evening 17:00-21:00")), 17 * 60);
  EXPECT_EQ(FirstClockTime(QStringLiteral("6:30 PM to 9 PM")), 18 * 60 + 30);
  EXPECT_EQ(FirstClockTime(QStringLiteral("12:15 AM")), 15);
  EXPECT_FALSE(FirstClockTime(QStringLiteral("Dawn")));
}

TEST(ListSorts, EachKindOrdersByWhatTheTextMeans) {
  ListViewModel model;
  model.AddColumnHeader(QStringLiteral("Time Block"));
  for (const char* text : {"Evening 17:00-21:00", "Dawn", "05:00-08:00", "afternoon 12:00", "Night"}) {
    model.AddItem({QString::fromLatin1(text)});
  }
  ASSERT_TRUE(model.Sort(0, Qt::AscendingOrder, SortKind::kTimeBlock));
  EXPECT_EQ(model.ItemText(0, 0), QStringLiteral("05:00-08:00"));
  EXPECT_EQ(model.ItemText(1, 0), QStringLiteral("afternoon 12:00"));
  EXPECT_EQ(model.ItemText(2, 0), QStringLiteral("Evening 17:00-21:00"));
  EXPECT_EQ(model.ItemText(3, 0), QStringLiteral("Dawn"));
  EXPECT_EQ(model.ItemText(4, 0), QStringLiteral("Night"));

  ASSERT_TRUE(model.Sort(0, Qt::AscendingOrder, SortKind::kText));
  EXPECT_EQ(model.ItemText(0, 0), QStringLiteral("05:00-08:00"));
  EXPECT_EQ(model.ItemText(1, 0), QStringLiteral("afternoon 12:00"));  // case does not count
  EXPECT_EQ(model.ItemText(2, 0), QStringLiteral("Dawn"));

  ListViewModel numbers;
  numbers.AddColumnHeader(QStringLiteral("Catch"));
  for (const char* text : {"10", "9", "-3", "100"}) numbers.AddItem({QString::fromLatin1(text)});
  ASSERT_TRUE(numbers.Sort(0, Qt::DescendingOrder, SortKind::kNumber));
  EXPECT_EQ(numbers.ItemText(0, 0), QStringLiteral("100"));
  EXPECT_EQ(numbers.ItemText(3, 0), QStringLiteral("-3"));
}

TEST(ListSorts, ACellThatDoesNotReadAsItsKindLeavesTheOrderAsItWas) {
  ListViewModel model;
  model.AddColumnHeader(QStringLiteral("When"));
  model.AddColumnHeader(QStringLiteral("Count"));
  model.AddItem({QStringLiteral("2021-06-01"), QStringLiteral("3")});
  model.AddItem({QStringLiteral("not recorded"), QStringLiteral("")});
  model.AddItem({QStringLiteral("2020-01-01"), QStringLiteral("1")});
  EXPECT_FALSE(model.Sort(0, Qt::AscendingOrder, SortKind::kDate));
  EXPECT_FALSE(model.Sort(1, Qt::AscendingOrder, SortKind::kNumber));
  EXPECT_EQ(model.ItemText(0, 0), QStringLiteral("2021-06-01"));
  EXPECT_EQ(model.ItemText(1, 0), QStringLiteral("not recorded"));
  EXPECT_EQ(model.ItemText(2, 0), QStringLiteral("2020-01-01"));
}

}  // namespace
}  // namespace assistant
