// Row encoding against the reader's decoding, for every column type Jet 4
// stores, including the ones no fixture table has (Decimal, GUID, Binary).
#include <gtest/gtest.h>

#include "storage/long_value_writer.h"
#include "storage/row_decoder.h"
#include "storage/row_encoder.h"
#include "test_support.h"

namespace jet::testing {
namespace {

// A table with one column of each type, laid out as Access lays them out:
// fixed columns packed in order (Booleans take no room), variable ones
// numbered in order.
TableLayout EveryTypeLayout() {
  TableLayout layout;
  layout.def = std::make_shared<TableDef>();
  const std::vector<std::pair<ColumnType, uint16_t>> types = {
      {ColumnType::kBoolean, 0}, {ColumnType::kByte, 1},     {ColumnType::kInteger, 2}, {ColumnType::kLong, 4},
      {ColumnType::kCurrency, 8}, {ColumnType::kSingle, 4},  {ColumnType::kDouble, 8},  {ColumnType::kDateTime, 8},
      {ColumnType::kGuid, 16},   {ColumnType::kDecimal, 17}, {ColumnType::kText, 20},   {ColumnType::kBinary, 10},
      {ColumnType::kMemo, 0},    {ColumnType::kOle, 0},      {ColumnType::kText, 510}};
  uint16_t fixed = 0, var = 0;
  for (size_t i = 0; i < types.size(); ++i) {
    ColumnDef c;
    c.name = "c" + std::to_string(i);
    c.type = types[i].first;
    c.number = static_cast<uint16_t>(i);
    c.size = types[i].second;
    c.fixed = FixedSize(c.type) != 0 || c.type == ColumnType::kBoolean;
    c.compressed_unicode = c.type == ColumnType::kText || c.type == ColumnType::kMemo;
    if (c.type == ColumnType::kDecimal) c.precision = 18, c.scale = 4;
    if (c.fixed && c.type != ColumnType::kBoolean) {
      c.fixed_offset = fixed;
      fixed = static_cast<uint16_t>(fixed + FixedSize(c.type));
    } else if (!c.fixed) {
      c.var_index = var++;
    }
    layout.def->columns.push_back(c);
  }
  layout.max_cols = static_cast<uint16_t>(types.size());
  layout.var_cols = var;
  return layout;
}

// Encodes `row` (long values inline) and decodes it again.
Status RoundTrip(const TableLayout& layout, const Row& row, Row* back) {
  std::vector<FieldBytes> fields(row.size());
  for (size_t i = 0; i < row.size(); ++i) {
    const ColumnDef& c = layout.def->columns[i];
    if (!IsLongValueType(c.type)) {
      JET_RETURN_IF_ERROR(EncodeField(c, row[i], &fields[i]));
      continue;
    }
    if (row[i].is_null()) continue;
    std::vector<uint8_t> value, field;
    JET_RETURN_IF_ERROR(LongValueBytes(c, row[i], &value));
    JET_RETURN_IF_ERROR(WriteLongValue(nullptr, value, nullptr, &field));  // short enough to stay inline
    fields[i] = field;
  }
  const std::vector<uint8_t> bytes = BuildRow(layout, fields, row);
  std::unique_ptr<Pager> pager;
  JET_RETURN_IF_ERROR(Pager::Open(FixturePath("jackcess-empty.mdb"), &pager));
  TextReader text;
  return RowDecoder(*pager, text, layout).Decode(ByteSpan(bytes), back);
}

TEST(WriterEncoding, EveryTypeComesBackAsWritten) {
  const TableLayout layout = EveryTypeLayout();
  Guid guid;
  for (size_t i = 0; i < guid.size(); ++i) guid[i] = static_cast<uint8_t>(0xF0 - i);
  Decimal decimal;
  decimal.negative = true;
  decimal.magnitude = (static_cast<unsigned __int128>(0x12345678) << 64) | 0x9ABCDEF012345678ull;
  decimal.scale = 4;
  const Row full = {Value(ColumnType::kBoolean, true),
                    Value(ColumnType::kByte, int64_t{255}),
                    Value(ColumnType::kInteger, int64_t{-32768}),
                    Value(ColumnType::kLong, int64_t{-2147483647 - 1}),
                    Value(ColumnType::kCurrency, Currency{-922337203685477580}),
                    Value(ColumnType::kSingle, 1.5f),
                    Value(ColumnType::kDouble, -0.1),
                    Value(ColumnType::kDateTime, DateTime{-728.25}),
                    Value(ColumnType::kGuid, guid),
                    Value(ColumnType::kDecimal, decimal),
                    Value(ColumnType::kText, std::string("Łódź 東京")),
                    Value(ColumnType::kBinary, Bytes{0, 1, 2, 0xFF}),
                    Value(ColumnType::kMemo, std::string("Ålesund")),
                    Value(ColumnType::kOle, Bytes{9, 8, 7}),
                    Value(ColumnType::kText, std::string("plain ascii, compressed"))};
  Row back;
  Status s = RoundTrip(layout, full, &back);
  ASSERT_TRUE(s.ok()) << s.ToString();
  EXPECT_EQ(back, full);

  Row nulls;
  for (const ColumnDef& c : layout.def->columns) nulls.push_back(Value::Null(c.type));
  nulls[0] = Value(ColumnType::kBoolean, false);  // a Boolean is never Null
  ASSERT_TRUE(RoundTrip(layout, nulls, &back).ok());
  EXPECT_EQ(back, nulls);
}

TEST(WriterEncoding, ValuesThatDoNotFitAreRefusedWithJetsError) {
  const TableLayout layout = EveryTypeLayout();
  const auto& cols = layout.def->columns;
  FieldBytes out;
  EXPECT_EQ(EncodeField(cols[1], Value(ColumnType::kByte, int64_t{256}), &out).jet_error(), 3349);
  EXPECT_EQ(EncodeField(cols[2], Value(ColumnType::kInteger, int64_t{40000}), &out).jet_error(), 3349);
  EXPECT_EQ(EncodeField(cols[10], Value(ColumnType::kText, std::string(11, 'x')), &out).jet_error(), 3163);
  EXPECT_TRUE(EncodeField(cols[10], Value(ColumnType::kText, std::string(10, 'x')), &out).ok());
  EXPECT_EQ(EncodeField(cols[11], Value(ColumnType::kBinary, Bytes(11)), &out).jet_error(), 3163);
  EXPECT_EQ(EncodeField(cols[6], Value(ColumnType::kText, std::string("1.5")), &out).jet_error(), 3464);
  Decimal wrong_scale;
  wrong_scale.scale = 2;
  EXPECT_EQ(EncodeField(cols[9], Value(ColumnType::kDecimal, wrong_scale), &out).jet_error(), 3464);
}

}  // namespace
}  // namespace jet::testing
