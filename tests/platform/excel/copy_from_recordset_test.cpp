#include <QDateTime>
#include <gtest/gtest.h>

#include "office_test_support.h"
#include "platform/dao/recordset.h"
#include "platform/excel/application.h"
#include "platform/excel/excel_errors.h"
#include "xls_reader.h"

using jet::ColumnType;

namespace {

dao::Recordset MixedRecords() {
  QVector<dao::FieldInfo> fields = {
      {"Code", ColumnType::kText, {}},        {"Count", ColumnType::kLong, {}},
      {"Price", ColumnType::kCurrency, {}},   {"Caught", ColumnType::kDateTime, {}},
      {"Landed", ColumnType::kDateTime, {}},  {"Start", ColumnType::kDateTime, {}},
      {"Kept", ColumnType::kBoolean, {}},     {"Notes", ColumnType::kMemo, {}},
  };
  const QDate day_zero(1899, 12, 30);
  QVector<QVector<QVariant>> rows = {
      {"007", 3, 12.34, QDateTime(QDate(2003, 7, 14), QTime(0, 0)), QDateTime(QDate(2003, 7, 14), QTime(6, 30)),
       QDateTime(day_zero, QTime(18, 15)), true, "first"},
      {QVariant(), QVariant(), 0.0, QVariant(), QDateTime(QDate(1999, 12, 31), QTime(23, 59)),
       QDateTime(day_zero, QTime(0, 5)), false, QVariant()},
      {"1/2", -40000, -0.5, QDateTime(QDate(1900, 3, 1), QTime(0, 0)), QVariant(), QVariant(), QVariant(),
       QStringLiteral("line one\nline two")},
  };
  return dao::Recordset(fields, rows);
}

}  // namespace

TEST(CopyFromRecordset, WritesTheBlockWithExcelsTypesFromAnyCell) {
  OutputFolder out;
  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add();
  auto sheet = book.Worksheets().Item(1);
  auto records = MixedRecords();
  records.MoveNext();  // Excel copies from the current record on
  const auto target = sheet.Cells(5, 3);
  EXPECT_EQ(sheet.Range(target, target).CopyFromRecordset(records), 2);
  EXPECT_TRUE(records.IsEOF());
  records.MoveFirst();
  auto from_a1 = book.Worksheets().Item(2);
  EXPECT_EQ(from_a1.Cells(1, 1).CopyFromRecordset(records), 3);
  book.SaveAs(out.File("records.xls"));
  book.Close();

  const XlsBook saved = ReadXls(out.File("records.xls"));
  const auto& moved = saved.Sheet("Sheet1");
  EXPECT_EQ(moved.At(4, 3).kind, XlsCell::Kind::kEmpty) << "nothing above the target cell";
  EXPECT_EQ(moved.At(5, 2).kind, XlsCell::Kind::kEmpty) << "nothing left of it";
  EXPECT_EQ(moved.At(5, 3).kind, XlsCell::Kind::kEmpty) << "Null is an empty cell";
  EXPECT_EQ(moved.Text(6, 3), "1/2") << "text that looks like a date stays text";
  EXPECT_DOUBLE_EQ(moved.At(6, 4).value.toDouble(), -40000);
  EXPECT_EQ(moved.rows, 6);
  EXPECT_EQ(moved.columns, 10);

  const auto& all = saved.Sheet("Sheet2");
  EXPECT_EQ(all.At(1, 1).kind, XlsCell::Kind::kText);
  EXPECT_EQ(all.Text(1, 1), "007");
  EXPECT_EQ(all.At(1, 2).kind, XlsCell::Kind::kNumber);
  EXPECT_DOUBLE_EQ(all.At(1, 3).value.toDouble(), 12.34);
  EXPECT_EQ(all.At(1, 4).kind, XlsCell::Kind::kDate);
  EXPECT_EQ(all.Text(1, 4), "2003-07-14");
  EXPECT_EQ(all.At(1, 5).kind, XlsCell::Kind::kDateTime);
  EXPECT_EQ(all.Text(1, 5), "2003-07-14 06:30:00");
  EXPECT_EQ(all.Text(2, 5), "1999-12-31 23:59:00");
  EXPECT_EQ(all.At(1, 6).kind, XlsCell::Kind::kTime);
  EXPECT_EQ(all.Text(1, 6), "18:15:00");
  EXPECT_EQ(all.Text(3, 4), "1900-03-01");
  EXPECT_EQ(all.At(2, 1).kind, XlsCell::Kind::kEmpty);
  EXPECT_EQ(all.At(2, 8).kind, XlsCell::Kind::kEmpty);
  EXPECT_EQ(all.Text(3, 8), "line one\nline two");
}

TEST(CopyFromRecordset, BooleansShowAsExcelShowsThem) {
  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add();
  auto sheet = book.Worksheets().Item(1);
  dao::Recordset records({{"Kept", ColumnType::kBoolean, {}}}, {{true}, {false}});
  sheet.Cells(1, 1).CopyFromRecordset(records);
  EXPECT_EQ(sheet.Cells(1, 1).Text(), "TRUE");
  EXPECT_EQ(sheet.Cells(2, 1).Text(), "FALSE");
  book.Close();
}

TEST(CopyFromRecordset, RefusesWhatAnXlsSheetCannotHoldAndBinaryFields) {
  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add();
  auto sheet = book.Worksheets().Item(1);

  dao::Recordset binary({{"Name", ColumnType::kText, {}}, {"Photo", ColumnType::kOle, {}}},
                        {{"a", QByteArray("\x01\x02", 2)}});
  EXPECT_EQ(ErrorNumberOf([&] { sheet.Cells(1, 1).CopyFromRecordset(binary); }), excel::kApplicationDefined);
  EXPECT_FALSE(sheet.Cells(1, 1).Value().isValid()) << "nothing written";

  QVector<QVector<QVariant>> rows(3, QVector<QVariant>{1});
  dao::Recordset three({{"N", ColumnType::kLong, {}}}, rows);
  EXPECT_EQ(ErrorNumberOf([&] { sheet.Cells(65535, 1).CopyFromRecordset(three); }), excel::kApplicationDefined);
  three.MoveFirst();
  EXPECT_EQ(ErrorNumberOf([&] { sheet.Cells(65534, 256).CopyFromRecordset(three); }), 0) << "the last rows fit exactly";

  QVector<dao::FieldInfo> wide_fields(2, {"W", ColumnType::kLong, {}});
  dao::Recordset wide(wide_fields, {{1, 2}});
  EXPECT_EQ(ErrorNumberOf([&] { sheet.Cells(1, 256).CopyFromRecordset(wide); }), excel::kApplicationDefined);
  book.Close();
}

// ScreenUpdating = False locks the office's views; the writing and saving
// done meanwhile must still reach the file, for books open before and after.
TEST(CopyFromRecordset, BlocksWrittenWhileScreenUpdatingIsOffReachTheFile) {
  OutputFolder out;
  auto app = excel::Application::Create();
  auto before = app->Workbooks().Add();
  app->SetScreenUpdating(false);
  auto during = app->Workbooks().Add();
  for (auto* book : {&before, &during}) {
    auto records = MixedRecords();
    EXPECT_EQ(book->Worksheets().Item(1).Cells(2, 2).CopyFromRecordset(records), 3);
  }
  during.SaveAs(out.File("during.xls"));  // saved while the views are still locked
  app->SetScreenUpdating(true);
  before.SaveAs(out.File("before.xls"));
  during.Close();
  before.Close();

  for (const char* name : {"before.xls", "during.xls"}) {
    const XlsSheet sheet = ReadXls(out.File(name)).Sheet("Sheet1");
    EXPECT_EQ(sheet.Text(2, 2), "007") << name;
    EXPECT_EQ(sheet.Text(4, 2), "1/2") << name;
    EXPECT_DOUBLE_EQ(sheet.At(4, 3).value.toDouble(), -40000) << name;
  }
  EXPECT_TRUE(app->ScreenUpdating());
}
