// ApplyAutoFilter through the exporter, read back from the saved file's own
// records: what Excel finds when it opens the workbook.
#include "biff_records.h"
#include "biff_sheet_view.h"
#include "export/excel_slots.h"
#include "exporter_fixture.h"
#include "platform/dao/recordset.h"
#include "platform/excel/excel_errors.h"

using jet::ColumnType;

namespace {

// Excel's comparison codes in a filter condition, and its value types.
constexpr uint8_t kEqual = 2;
constexpr uint8_t kGreater = 4;
constexpr uint8_t kNumberValue = 0x04;
constexpr uint8_t kStringValue = 0x06;
constexpr uint8_t kFilterDatabaseName = 0x0D;

dao::Recordset Catches() {
  return dao::Recordset({{"Species", ColumnType::kText, {}},
                         {"Site", ColumnType::kText, {}},
                         {"Weight", ColumnType::kDouble, {}}},
                        {{"Snapper", "Ferry Landing", 10.0},
                         {"Bream", "Cedar Bar", 20.0},
                         {"Snapper", "Pine Flat", 30.0},
                         {"Whiting", "Jetty Road", 40.0}});
}

struct Condition {
  int column = -1;  // within the filtered block, from 0
  uint8_t type = 0;
  uint8_t comparison = 0;
  QString text;
  double number = 0;
};

// One AUTOFILTER record: column, flags, two 10-byte conditions, then the
// first condition's text when it compares text.
Condition ConditionOf(const biff::Record& record) {
  Condition c;
  c.column = record.U16(0);
  c.type = static_cast<uint8_t>(record.data.at(4));
  c.comparison = static_cast<uint8_t>(record.data.at(5));
  if (c.type == kStringValue) c.text = biff::StringNoCount(record.data, 24, static_cast<uint8_t>(record.data.at(10)));
  if (c.type == kNumberValue) c.number = record.F64(6);
  return c;
}

// The block the workbook names as the sheet's filtered database (the
// built-in name Excel calls _FilterDatabase): "sheet:top,left:bottom,right", 1-based.
QString FilterDatabaseOf(const biff::Workbook& book) {
  constexpr uint16_t kBuiltIn = 0x0020;
  constexpr uint8_t kArea3d = 0x1B;  // any class of the area token
  for (const auto& name : book.globals.All(biff::kName)) {
    if (!(name.U16(0) & kBuiltIn) || static_cast<uint8_t>(name.data.at(15)) != kFilterDatabaseName) continue;
    const int formula = 16;  // one built-in code, stored as one narrow character
    if ((static_cast<uint8_t>(name.data.at(formula)) & 0x1F) != kArea3d) continue;
    return QStringLiteral("%1:%2,%3:%4,%5")
        .arg(name.U16(8))
        .arg(name.U16(formula + 3) + 1)
        .arg((name.U16(formula + 7) & 0x3FFF) + 1)
        .arg(name.U16(formula + 5) + 1)
        .arg((name.U16(formula + 9) & 0x3FFF) + 1);
  }
  return QString();
}

}  // namespace

class AutoFilterTest : public ExporterTest {
 protected:
  // The catches written at B3 of Sheet2, filtered, saved and read back.
  biff::Workbook FilteredBook(int field, const QString& criteria) {
    const QString file = out_.File("filtered.xls");
    EXPECT_TRUE(exporter_.CreateExcelFile(file, QString(), true));
    auto records = Catches();
    exporter_.DoExport(records, 2, 3, QStringLiteral("Sheet2"));
    exporter_.ApplyAutoFilter(QStringLiteral("Sheet2"), QStringLiteral("B3:D7"), field, criteria);
    gExcelWorkbook->Save();
    return biff::Read(file);
  }
};

TEST_F(AutoFilterTest, ATextCriterionIsSavedWithItsColumnAndHidesTheOtherRows) {
  const biff::Workbook book = FilteredBook(1, QStringLiteral("Snapper"));
  const auto& sheet = book.Sheet(QStringLiteral("Sheet2"));

  ASSERT_TRUE(sheet.First(biff::kAutoFilterInfo));
  EXPECT_EQ(sheet.First(biff::kAutoFilterInfo)->U16(0), 3) << "a button on each of the block's three columns";
  const auto conditions = sheet.All(biff::kAutoFilter);
  ASSERT_EQ(conditions.size(), 1);
  const Condition condition = ConditionOf(conditions.first());
  EXPECT_EQ(condition.column, 0);
  EXPECT_EQ(condition.type, kStringValue);
  EXPECT_EQ(condition.comparison, kEqual);
  EXPECT_EQ(condition.text, "Snapper");

  EXPECT_EQ(FilterDatabaseOf(book), "2:3,2:7,4") << "the filtered block is Sheet2!B3:D7";
  EXPECT_EQ(biff::HiddenRows(sheet), QList<int>({5, 7})) << "Bream and Whiting are filtered out";
  EXPECT_FALSE(book.Sheet(QStringLiteral("Sheet1")).First(biff::kAutoFilterInfo)) << "other sheets keep no filter";
}

// The office saves the operand as the text "25" rather than as a number; the
// comparison, its column and the rows it hides are what must survive.
TEST_F(AutoFilterTest, AComparisonIsSavedWithItsOperatorAndOperand) {
  const biff::Workbook book = FilteredBook(3, QStringLiteral(">25"));
  const auto& sheet = book.Sheet(QStringLiteral("Sheet2"));
  const auto conditions = sheet.All(biff::kAutoFilter);
  ASSERT_EQ(conditions.size(), 1);
  const Condition condition = ConditionOf(conditions.first());
  EXPECT_EQ(condition.column, 2);
  EXPECT_EQ(condition.comparison, kGreater);
  ASSERT_TRUE(condition.type == kNumberValue || condition.type == kStringValue);
  if (condition.type == kNumberValue) EXPECT_DOUBLE_EQ(condition.number, 25);
  else EXPECT_EQ(condition.text, "25");
  EXPECT_EQ(biff::HiddenRows(sheet), QList<int>({4, 5}));
}

TEST_F(AutoFilterTest, AMissingSheetOrAFieldOutsideTheBlockIsAnError) {
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("bad.xls"), QString(), true));
  auto records = Catches();
  exporter_.DoExport(records, 1, 1, QString());
  EXPECT_EQ(ErrorNumberOf([&] {
              exporter_.ApplyAutoFilter(QStringLiteral("Nowhere"), QStringLiteral("A1:C5"), 1, QStringLiteral("x"));
            }),
            excel::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] {
              exporter_.ApplyAutoFilter(QStringLiteral("Sheet1"), QStringLiteral("A1:C5"), 4, QStringLiteral("x"));
            }),
            excel::kApplicationDefined);
}
