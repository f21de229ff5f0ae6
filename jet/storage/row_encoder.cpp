#include "storage/row_encoder.h"

#include <algorithm>
#include <cstring>

#include "storage/row_decoder.h"
#include "storage/text_codec.h"

namespace jet {
namespace {

Status TooLong(const ColumnDef& column) {
  return Status::InvalidArgument("The field is too small to accept the amount of data you attempted to add ('" +
                                     column.name + "')",
                                 3163);
}

Status WrongType(const ColumnDef& column) {
  return Status::InvalidArgument("Data type mismatch: the value for '" + column.name + "' is not a " +
                                     std::string(ColumnTypeName(column.type)),
                                 3464);
}

template <typename T>
std::vector<uint8_t> Raw(T v) {
  std::vector<uint8_t> out(sizeof v);
  std::memcpy(out.data(), &v, sizeof v);  // the file is little-endian, as is every host we build for
  return out;
}

// Jet 4 text: when every character fits one byte (and none is 0, which
// switches modes), it is stored as FF FE and one byte a character.
std::vector<uint8_t> Jet4Text(const std::u16string& units, bool may_compress) {
  const bool compress = may_compress && !units.empty() &&
                        std::all_of(units.begin(), units.end(), [](char16_t u) { return u > 0 && u < 0x100; });
  std::vector<uint8_t> out;
  if (compress) {
    out = {0xFF, 0xFE};
    for (char16_t u : units) out.push_back(static_cast<uint8_t>(u));
    return out;
  }
  for (char16_t u : units) {
    out.push_back(static_cast<uint8_t>(u));
    out.push_back(static_cast<uint8_t>(u >> 8));
  }
  return out;
}

std::vector<uint8_t> DecimalBytes(const Decimal& d) {
  std::vector<uint8_t> out(17, 0);
  out[0] = d.negative ? 0x80 : 0x00;
  for (int w = 0; w < 4; ++w) {
    const uint32_t word = static_cast<uint32_t>(d.magnitude >> (32 * (3 - w)));
    for (int b = 0; b < 4; ++b) out[1 + 4 * w + b] = static_cast<uint8_t>(word >> (8 * b));
  }
  return out;
}

Status IntegerField(const ColumnDef& column, const Value& value, int64_t low, int64_t high, FieldBytes* out) {
  if (!std::holds_alternative<int64_t>(value.data())) return WrongType(column);
  const int64_t v = value.as_int();
  if (v < low || v > high) {
    return Status::InvalidArgument("Numeric field overflow: " + std::to_string(v) + " does not fit '" + column.name + "'",
                                   3349);
  }
  std::vector<uint8_t> bytes = Raw(v);
  bytes.resize(FixedSize(column.type));
  *out = std::move(bytes);
  return Status::OK();
}

template <typename T>
Status Typed(const ColumnDef& column, const Value& value, FieldBytes* out) {
  if (!std::holds_alternative<T>(value.data())) return WrongType(column);
  *out = Raw(std::get<T>(value.data()));
  return Status::OK();
}

}  // namespace

Status EncodeField(const ColumnDef& column, const Value& value, FieldBytes* out) {
  out->reset();
  if (value.is_null()) return Status::OK();
  switch (column.type) {
    case ColumnType::kBoolean:  // the null mask holds it
      return value.get_if<bool>() ? Status::OK() : WrongType(column);
    case ColumnType::kByte: return IntegerField(column, value, 0, 255, out);
    case ColumnType::kInteger: return IntegerField(column, value, INT16_MIN, INT16_MAX, out);
    case ColumnType::kLong:
    case ColumnType::kComplex: return IntegerField(column, value, INT32_MIN, INT32_MAX, out);
    case ColumnType::kBigInt: return IntegerField(column, value, INT64_MIN, INT64_MAX, out);
    case ColumnType::kSingle: return Typed<float>(column, value, out);
    case ColumnType::kDouble: return Typed<double>(column, value, out);
    case ColumnType::kCurrency:
      if (!std::holds_alternative<Currency>(value.data())) return WrongType(column);
      *out = Raw(value.as_currency().scaled);
      return Status::OK();
    case ColumnType::kDateTime:
      if (!std::holds_alternative<DateTime>(value.data())) return WrongType(column);
      *out = Raw(value.as_datetime().serial);
      return Status::OK();
    case ColumnType::kGuid: {
      if (!std::holds_alternative<Guid>(value.data())) return WrongType(column);
      *out = std::vector<uint8_t>(value.as_guid().begin(), value.as_guid().end());
      return Status::OK();
    }
    case ColumnType::kDecimal:
      if (!std::holds_alternative<Decimal>(value.data())) return WrongType(column);
      if (value.as_decimal().scale != column.scale) {
        return Status::InvalidArgument("decimal value for '" + column.name + "' has the wrong scale", 3464);
      }
      *out = DecimalBytes(value.as_decimal());
      return Status::OK();
    case ColumnType::kText: {
      if (!std::holds_alternative<std::string>(value.data())) return WrongType(column);
      const std::u16string units = Utf8ToUtf16(value.as_text());
      if (units.size() * 2 > column.size) return TooLong(column);
      std::vector<uint8_t> bytes = Jet4Text(units, column.compressed_unicode);
      // A fixed-length text column is padded with spaces to its width.
      if (column.fixed) {
        bytes = Jet4Text(units, false);
        while (bytes.size() + 2 <= column.size) bytes.insert(bytes.end(), {0x20, 0x00});
      }
      *out = std::move(bytes);
      return Status::OK();
    }
    case ColumnType::kBinary: {
      if (!std::holds_alternative<Bytes>(value.data())) return WrongType(column);
      std::vector<uint8_t> bytes = value.as_bytes();
      if (bytes.size() > column.size) return TooLong(column);
      if (column.fixed) bytes.resize(column.size, 0);
      *out = std::move(bytes);
      return Status::OK();
    }
    default:
      return Status::Unsupported("column '" + column.name + "' of type " + std::string(ColumnTypeName(column.type)) +
                                 " cannot be written");
  }
}

Status LongValueBytes(const ColumnDef& column, const Value& value, std::vector<uint8_t>* out) {
  if (column.type == ColumnType::kMemo) {
    if (!std::holds_alternative<std::string>(value.data())) return WrongType(column);
    // Access picks the storage form by the uncompressed length and never
    // compresses a chain; plain UCS-2 is always right.
    *out = Jet4Text(Utf8ToUtf16(value.as_text()), false);
    return Status::OK();
  }
  if (!std::holds_alternative<Bytes>(value.data())) return WrongType(column);
  *out = value.as_bytes();
  return Status::OK();
}

RowCounts WrittenRowCounts(const TableLayout& layout) {
  RowCounts counts;
  counts.columns = layout.max_cols;
  for (const ColumnDef& c : layout.def->columns) {
    counts.columns = std::max<size_t>(counts.columns, size_t(c.number) + 1);
    if (c.fixed || c.type == ColumnType::kBoolean) continue;
    counts.has_variable = true;
    counts.variable = std::max<size_t>(counts.variable, size_t(c.var_index) + 1);
  }
  if (counts.has_variable) counts.variable = std::max<size_t>(counts.variable, layout.var_cols);
  return counts;
}

std::vector<uint8_t> BuildRow(const TableLayout& layout, const std::vector<FieldBytes>& fields, const Row& values) {
  const auto& columns = layout.def->columns;
  const RowCounts counts = WrittenRowCounts(layout);
  const size_t column_count = counts.columns, var_count = counts.variable;
  const bool has_variable = counts.has_variable;
  size_t fixed_length = 0;
  for (const ColumnDef& c : columns) {
    if (c.type == ColumnType::kBoolean || !c.fixed) continue;
    const size_t size = FixedSize(c.type) ? FixedSize(c.type) : c.size;
    fixed_length = std::max<size_t>(fixed_length, size_t(c.fixed_offset) + size);
  }

  std::vector<uint8_t> row(2 + fixed_length, 0);
  row[0] = static_cast<uint8_t>(column_count);
  row[1] = static_cast<uint8_t>(column_count >> 8);
  std::vector<uint8_t> mask((column_count + 7) / 8, 0);
  auto mark = [&](uint16_t number) { mask[number / 8] |= static_cast<uint8_t>(1u << (number % 8)); };
  std::vector<const std::vector<uint8_t>*> variable(var_count, nullptr);
  for (size_t i = 0; i < columns.size(); ++i) {
    const ColumnDef& c = columns[i];
    if (c.type == ColumnType::kBoolean) {
      if (!values[i].is_null() && values[i].as_bool()) mark(c.number);
      continue;
    }
    if (!fields[i]) continue;
    mark(c.number);
    if (c.fixed) {
      std::copy(fields[i]->begin(), fields[i]->end(), row.begin() + 2 + c.fixed_offset);
    } else {
      variable[c.var_index] = &*fields[i];
    }
  }
  if (has_variable) {
    std::vector<uint16_t> offsets;
    for (const auto* field : variable) {
      offsets.push_back(static_cast<uint16_t>(row.size()));
      if (field) row.insert(row.end(), field->begin(), field->end());
    }
    offsets.push_back(static_cast<uint16_t>(row.size()));
    for (size_t i = offsets.size(); i-- > 0;) {
      row.push_back(static_cast<uint8_t>(offsets[i]));
      row.push_back(static_cast<uint8_t>(offsets[i] >> 8));
    }
    row.push_back(static_cast<uint8_t>(var_count));
    row.push_back(static_cast<uint8_t>(var_count >> 8));
  }
  row.insert(row.end(), mask.begin(), mask.end());
  return row;
}

Status VariableField(const TableLayout& layout, ByteSpan row, const ColumnDef& column, ByteSpan* field) {
  *field = ByteSpan();
  if (row.size() < 2 || column.fixed) return Status::OK();
  const size_t row_cols = row.U16(0);
  const size_t mask_length = (row_cols + 7) / 8;
  if (column.number >= row_cols || layout.var_cols == 0 || row.size() < 2 + mask_length + 2) return Status::OK();
  const uint8_t* mask = row.data() + row.size() - mask_length;
  if (!(mask[column.number / 8] & (1u << (column.number % 8)))) return Status::OK();
  const size_t end = row.size() - mask_length;
  const size_t var_count = row.U16(end - 2);
  if (column.var_index >= var_count) return Status::OK();
  if (end < 4 + 2 * (var_count + 1)) return Status::Corruption("row offset table is truncated");
  const size_t start = row.U16(end - 4 - 2 * column.var_index);
  const size_t stop = row.U16(end - 4 - 2 * (size_t(column.var_index) + 1));
  if (start > stop || stop > row.size()) return Status::Corruption("variable column '" + column.name + "' lies outside its row");
  *field = ByteSpan(row.data() + start, stop - start);
  return Status::OK();
}

}  // namespace jet
