// The table browser's sorts over a real table the engine writes: each kind
// in both directions against the order its rule gives, worked out here from
// the values put in (not from what the list shows), and a long sort that
// keeps the windows painted under the hourglass.
#include <gtest/gtest.h>

#include <QCursor>
#include <QDateTime>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <random>

#include "assistant/list_view.h"
#include "assistant/list_view_model.h"
#include "assistant/mlistview_extensions.h"
#include "jet/create.h"
#include "jet/database.h"
#include "platform/dao/dao.h"
#include "platform/dao/table_rows.h"

namespace {

using assistant::ListViewModel;
using assistant::SortKind;

struct Case {
  std::optional<QDateTime> when;  // day and time as written, no time zone
  std::optional<int> count;
  std::optional<QString> label;
  std::optional<QString> block;
};

// Time blocks as people write them, with the minute each starts at.
const std::pair<const char*, std::optional<int>> kBlocks[] = {
    {"06:00-10:00", 6 * 60}, {"6:30 PM to 9 PM", 18 * 60 + 30}, {"12:15 AM", 15},
    {"Evening 17:00-21:00", 17 * 60}, {"Dawn", std::nullopt}, {"dawn", std::nullopt}, {"Night", std::nullopt}};

// Shares prefixes, differs only in case, reaches past the Basic Multilingual
// Plane (U+10400 folds to U+10428) and into Latin-1.
const char16_t* const kLabels[] = {u"Site a 10", u"site A 10", u"Site a 9", u"Site B", u"site", u"Ærø",
                                   u"ærø",       u"Zulu",      u"\U00010400x", u"\U00010428X", u"", u"Site a 10 "};

// Jet keeps a date as days from 30 December 1899 with the time as a
// fraction of a day added to the day's magnitude: before 1900 the serial
// goes more negative as the day goes on.
double Serial(const QDateTime& when) {
  const qint64 days = QDate(1899, 12, 30).daysTo(when.date());
  const double fraction = when.time().msecsSinceStartOfDay() / 86'400'000.0;
  return days >= 0 ? days + fraction : days - fraction;
}

std::vector<Case> MakeCases(int rows) {
  std::mt19937 random(7);
  const auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  std::vector<Case> cases;
  for (int i = 0; i < rows; ++i) {
    Case c;
    const QTime time(pick(24), pick(4) * 15, pick(2) * 30);
    switch (pick(4)) {
      case 0: c.when = QDateTime(QDate(1899, 12, 30), time); break;              // a time without a date
      case 1: c.when = QDateTime(QDate(1890 + pick(10), 1 + pick(12), 1 + pick(28)), time); break;  // before 1900
      case 2: c.when = QDateTime(QDate(2020, 5, 1 + pick(3)), QTime(0, 0)); break;  // many equal
      default: c.when = QDateTime(QDate(1900 + pick(130), 1 + pick(12), 1 + pick(28)), time); break;
    }
    c.count = pick(40) - 20;
    if (pick(10) > 0) c.label = QString::fromUtf16(kLabels[pick(std::size(kLabels))]) + QString::number(pick(3));
    if (pick(10) > 0) c.block = QString::fromLatin1(kBlocks[pick(std::size(kBlocks))].first);
    cases.push_back(c);
  }
  return cases;
}

// A table of the cases behind an autonumber, so a row is known by its number.
void WriteTable(const QString& path, const std::vector<Case>& cases) {
  using jet::ColumnType;
  using jet::Value;
  ASSERT_TRUE(jet::CreateDatabase(path.toStdString(), {}).ok());
  jet::TableSpec table;
  table.name = "tblCases";
  jet::ColumnSpec number("Record Num", ColumnType::kLong);
  number.autonumber = true;
  table.columns = {number, {"When", ColumnType::kDateTime}, {"Count", ColumnType::kLong},
                   {"Label", ColumnType::kText, 40}, {"Time Block", ColumnType::kText, 30}};
  table.indexes = {{"PrimaryKey", {"Record Num"}, true}};
  ASSERT_TRUE(jet::CreateTables(path.toStdString(), {table}, {}).ok());
  jet::OpenOptions options;
  options.writable = true;
  std::unique_ptr<jet::Database> db;
  ASSERT_TRUE(jet::Database::Open(path.toStdString(), options, &db).ok());
  ASSERT_TRUE(db->BeginTransaction().ok());
  const auto text = [](const std::optional<QString>& s) {
    return s ? Value(ColumnType::kText, s->toStdString()) : Value::Null(ColumnType::kText);
  };
  for (const Case& c : cases) {
    jet::Row row{Value::Null(ColumnType::kLong),
                 c.when ? Value(ColumnType::kDateTime, jet::DateTime{Serial(*c.when)})
                        : Value::Null(ColumnType::kDateTime),
                 c.count ? Value(ColumnType::kLong, int64_t{*c.count}) : Value::Null(ColumnType::kLong),
                 text(c.label), text(c.block)};
    ASSERT_TRUE(db->InsertRow("tblCases", row).ok());
  }
  ASSERT_TRUE(db->Commit().ok());
}

// Record numbers in the order the list shows them.
std::vector<int> Shown(const ListViewModel& model) {
  std::vector<int> numbers;
  for (int row = 0; row < model.ItemCount(); ++row) numbers.push_back(model.ItemText(row, 0).toInt());
  return numbers;
}

// The order a rule gives: equal keys keep the order they were shown in,
// whichever way round.
template <typename Less>
std::vector<int> Expected(std::vector<int> numbers, const std::vector<Case>& cases, Qt::SortOrder order, Less less) {
  std::stable_sort(numbers.begin(), numbers.end(), [&](int a, int b) {
    const Case& x = cases[a - 1];
    const Case& y = cases[b - 1];
    return order == Qt::AscendingOrder ? less(x, y) : less(y, x);
  });
  return numbers;
}

int StartMinute(const std::optional<QString>& block) {
  for (const auto& [text, minute] : kBlocks) {
    if (block && *block == QLatin1String(text)) return minute.value_or(24 * 60);
  }
  return 24 * 60;  // Null: no clock time
}

class TableSortsTest : public ::testing::Test {
 protected:
  void Open(int rows) {
    cases = MakeCases(rows);
    const QString path = dir.filePath(QStringLiteral("cases.mdb"));
    WriteTable(path, cases);
    database = dao::DBEngine::Workspaces(0).OpenDatabase(path, false, true);
    model.ShowTableRows(dao::TableRows::Open(*database, QStringLiteral("tblCases")));
  }

  QTemporaryDir dir;
  std::vector<Case> cases;
  std::shared_ptr<dao::Database> database;
  ListViewModel model;
};

TEST_F(TableSortsTest, EachKindOrdersTheRowsAsItsRuleSaysBothWaysRound) {
  Open(3000);
  const std::vector<int> unsorted = Shown(model);
  const auto text = [](const std::optional<QString>& s) { return s.value_or(QString()); };
  struct Rule {
    int column;
    SortKind kind;
    std::function<bool(const Case&, const Case&)> less;
  };
  const Rule rules[] = {
      {1, SortKind::kDate, [](const Case& x, const Case& y) { return *x.when < *y.when; }},
      {2, SortKind::kNumber, [](const Case& x, const Case& y) { return *x.count < *y.count; }},
      {3, SortKind::kText,
       [&](const Case& x, const Case& y) {
         return QString::compare(text(x.label), text(y.label), Qt::CaseInsensitive) < 0;
       }},
      {4, SortKind::kTimeBlock,
       [&](const Case& x, const Case& y) {
         const int a = StartMinute(x.block), b = StartMinute(y.block);
         return a != b ? a < b : QString::compare(text(x.block), text(y.block), Qt::CaseInsensitive) < 0;
       }},
  };
  for (const Rule& rule : rules) {
    for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder, Qt::AscendingOrder}) {
      SCOPED_TRACE(testing::Message() << "column " << rule.column << (order == Qt::DescendingOrder ? " descending" : " ascending"));
      ASSERT_TRUE(model.Sort(rule.column, order, rule.kind));
      // The shown order the sort started from does not matter: ties keep
      // the table's order.
      EXPECT_EQ(Shown(model), Expected(unsorted, cases, order, rule.less));
    }
  }
  // A cell that is no date (a label, an empty one among them) or no number
  // leaves the order as the last sort made it.
  const std::vector<int> before = Shown(model);
  EXPECT_FALSE(model.Sort(3, Qt::AscendingOrder, SortKind::kDate));
  EXPECT_FALSE(model.Sort(4, Qt::DescendingOrder, SortKind::kNumber));
  EXPECT_EQ(Shown(model), before);
}

// More rows than a sort reads at once: the windows are painted between the
// slices with the hourglass showing, and a list filled again meanwhile ends
// the sort without touching the new rows.
TEST_F(TableSortsTest, ALongSortKeepsTheListPaintedUnderTheHourglass) {
  Open(70000);
  assistant::ListView list;
  list.Model().AddColumnHeader(QStringLiteral("Record Num"));
  list.Model().AddColumnHeader(QStringLiteral("When"));
  list.Model().ShowTableRows(dao::TableRows::Open(*database, QStringLiteral("tblCases")));
  list.resize(400, 300);
  list.show();
  int ticks = 0, hourglasses = 0;
  QTimer tick;
  QObject::connect(&tick, &QTimer::timeout, [&] {
    ++ticks;
    const QCursor* cursor = QGuiApplication::overrideCursor();
    if (cursor && cursor->shape() == Qt::WaitCursor) ++hourglasses;
  });
  tick.start(0);
  assistant::SortByDate(list, 1, Qt::DescendingOrder);
  tick.stop();
  EXPECT_GT(ticks, 1);
  EXPECT_EQ(hourglasses, ticks);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  ASSERT_TRUE(list.Model().CurrentSort());
  const auto latest = std::max_element(cases.begin(), cases.end(),
                                       [](const Case& x, const Case& y) { return *x.when < *y.when; });
  EXPECT_EQ(list.Model().ItemText(0, 0).toInt(), latest - cases.begin() + 1);

  bool filledAgain = false;
  EXPECT_FALSE(list.Model().Sort(0, Qt::DescendingOrder, SortKind::kText, [&] {
    if (!filledAgain) list.Model().ClearItems();
    filledAgain = true;
  }));
  EXPECT_EQ(list.Model().ItemCount(), 0);
  EXPECT_FALSE(list.Model().CurrentSort());
}

}  // namespace
