#include "storage/row_decoder.h"

#include "storage/long_value.h"

namespace jet {
namespace {

template <typename T>
T Load(const uint8_t* p) {
  T v;
  std::memcpy(&v, p, sizeof v);  // the file is little-endian, as is every host we build for
  return v;
}

// Decimal: a sign byte and a 128-bit magnitude stored as four little-endian
// 32-bit words, most significant word first.
Decimal LoadDecimal(const uint8_t* p, uint8_t scale) {
  Decimal d;
  d.negative = p[0] != 0;
  for (int w = 0; w < 4; ++w) d.magnitude = (d.magnitude << 32) | Get32(p + 1 + 4 * w);
  d.scale = scale;
  return d;
}

}  // namespace

size_t FixedSize(ColumnType type) {
  switch (type) {
    case ColumnType::kBoolean: return 0;  // lives in the null mask
    case ColumnType::kByte: return 1;
    case ColumnType::kInteger: return 2;
    case ColumnType::kLong:
    case ColumnType::kSingle:
    case ColumnType::kComplex: return 4;
    case ColumnType::kCurrency:
    case ColumnType::kDouble:
    case ColumnType::kDateTime:
    case ColumnType::kBigInt: return 8;
    case ColumnType::kGuid: return 16;
    case ColumnType::kDecimal: return 17;
    default: return 0;
  }
}

Status RowDecoder::ReadVarOffsets(ByteSpan row, size_t mask_length, uint16_t var_count,
                                  std::vector<uint16_t>* offsets) const {
  // var_count + 1 offsets (the last one is the end of the variable data),
  // stored backwards from just before the count that precedes the null mask.
  offsets->resize(size_t(var_count) + 1);
  const size_t end = row.size() - mask_length;
  if (!pager_.is_jet3()) {
    if (end < 2 + 2 * (size_t(var_count) + 1)) return Status::Corruption("row offset table is truncated");
    for (size_t i = 0; i <= var_count; ++i) (*offsets)[i] = row.U16(end - 4 - 2 * i);
    return Status::OK();
  }
  return ReadJet3VarOffsets(row, mask_length, var_count, offsets);
}

Status ReadJet3VarOffsets(ByteSpan row, size_t mask_length, uint16_t var_count, std::vector<uint16_t>* offsets) {
  // Jet 3 offsets are one byte; a jump table, just before the count, records
  // at which variable column each further 256-byte segment begins.
  offsets->resize(size_t(var_count) + 1);
  const size_t end = row.size() - mask_length;
  size_t jumps = (row.size() - 1) / 256;
  if (end < 2 + jumps + var_count) return Status::Corruption("row offset table is truncated");
  const size_t table = end - 2 - jumps;  // the first offset; later ones precede it
  // A row whose offset table itself crosses a boundary carries one entry
  // more than its data needs. That filler keeps its byte, so the offsets
  // stay where they are: only the entry is not read.
  if ((table - var_count) / 256 < jumps) --jumps;
  size_t used = 0;
  for (size_t i = 0; i <= var_count; ++i) {
    while (used < jumps && i == row.U8(end - 2 - used)) ++used;
    (*offsets)[i] = static_cast<uint16_t>(row.U8(table - i) + used * 256);
  }
  return Status::OK();
}

Status RowDecoder::Decode(ByteSpan row, Row* values, const ColumnSet* wanted) const {
  const bool jet3 = pager_.is_jet3();
  const size_t count_bytes = jet3 ? 1 : 2;
  if (row.size() < count_bytes) return Status::Corruption("row is truncated");
  const size_t row_cols = jet3 ? row.U8(0) : row.U16(0);
  const size_t mask_length = (row_cols + 7) / 8;
  if (row.size() < count_bytes + mask_length) return Status::Corruption("row is truncated");
  const uint8_t* mask = row.data() + row.size() - mask_length;
  auto present = [&](uint16_t number) {
    return number < row_cols && (mask[number / 8] & (1u << (number % 8)));
  };

  std::vector<uint16_t>& offsets = offsets_;  // kept from row to row: a scan allocates nothing for it
  offsets.clear();
  uint16_t var_count = 0;
  if (layout_.var_cols > 0) {
    size_t count_pos = row.size() - mask_length - count_bytes;
    if (count_pos < count_bytes) return Status::Corruption("row is truncated");
    var_count = jet3 ? row.U8(count_pos) : row.U16(count_pos);
    if (var_count > row_cols) return Status::Corruption("row has more variable columns than columns");
    JET_RETURN_IF_ERROR(ReadVarOffsets(row, mask_length, var_count, &offsets));
  }

  const auto& columns = layout_.def->columns;
  values->resize(columns.size());
  for (size_t i = 0; i < columns.size(); ++i) {
    const ColumnDef& col = columns[i];
    Value& v = (*values)[i];
    if (wanted && !wanted->empty() && (i >= wanted->size() || !(*wanted)[i])) {
      if (!v.is_null() || v.type() != col.type) v = Value::Null(col.type);  // a scan's rows keep theirs
      continue;
    }
    if (col.type == ColumnType::kBoolean) {
      v = Value(col.type, present(col.number));
      continue;
    }
    if (!present(col.number)) {
      v = Value::Null(col.type);
      continue;
    }
    if (col.fixed) {
      size_t size = FixedSize(col.type) ? FixedSize(col.type) : col.size;
      size_t at = count_bytes + col.fixed_offset;
      if (!row.Has(at, size)) return Status::Corruption("fixed column '" + col.name + "' lies outside its row");
      JET_RETURN_IF_ERROR(DecodeFixed(col, row.data() + at, &v));
      continue;
    }
    if (col.var_index >= var_count) {  // the column was added after the row was written
      v = Value::Null(col.type);
      continue;
    }
    size_t start = offsets[col.var_index], end = offsets[col.var_index + 1];
    if (start > end || end > row.size()) return Status::Corruption("variable column '" + col.name + "' lies outside its row");
    JET_RETURN_IF_ERROR(DecodeVariable(col, ByteSpan(row.data() + start, end - start), &v));
  }
  return Status::OK();
}

Status RowDecoder::DecodeFixed(const ColumnDef& col, const uint8_t* p, Value* v) const {
  switch (col.type) {
    case ColumnType::kByte: *v = Value(col.type, int64_t{p[0]}); break;
    case ColumnType::kInteger: *v = Value(col.type, int64_t{Load<int16_t>(p)}); break;
    case ColumnType::kLong:
    case ColumnType::kComplex: *v = Value(col.type, int64_t{Load<int32_t>(p)}); break;
    case ColumnType::kBigInt: *v = Value(col.type, Load<int64_t>(p)); break;
    case ColumnType::kCurrency: *v = Value(col.type, Currency{Load<int64_t>(p)}); break;
    case ColumnType::kSingle: *v = Value(col.type, Load<float>(p)); break;
    case ColumnType::kDouble: *v = Value(col.type, Load<double>(p)); break;
    case ColumnType::kDateTime: *v = Value(col.type, DateTime{Load<double>(p)}); break;
    case ColumnType::kDecimal: *v = Value(col.type, LoadDecimal(p, col.scale)); break;
    case ColumnType::kGuid: {
      Guid g;
      std::memcpy(g.data(), p, g.size());
      *v = Value(col.type, g);
      break;
    }
    case ColumnType::kText: *v = Value(col.type, text_.Decode(p, col.size)); break;
    default: *v = Value(col.type, Bytes(p, p + col.size)); break;
  }
  return Status::OK();
}

Status RowDecoder::DecodeVariable(const ColumnDef& col, ByteSpan bytes, Value* v) const {
  switch (col.type) {
    case ColumnType::kText:
      *v = Value(col.type, text_.Decode(bytes.data(), bytes.size()));
      return Status::OK();
    case ColumnType::kMemo:
    case ColumnType::kOle: {
      Bytes data;
      Status s = ReadLongValue(pager_, bytes, &data);
      if (!s.ok()) return Status::Corruption("column '" + col.name + "': " + s.message());
      if (col.type == ColumnType::kMemo) {
        *v = Value(col.type, text_.Decode(data.data(), data.size()));
      } else {
        *v = Value(col.type, std::move(data));
      }
      return Status::OK();
    }
    default:
      // A fixed-size type stored in the variable area (seen for GUIDs and
      // numbers in old files) decodes like its fixed form when it fits.
      if (FixedSize(col.type) && bytes.size() >= FixedSize(col.type)) return DecodeFixed(col, bytes.data(), v);
      *v = Value(col.type, Bytes(bytes.data(), bytes.data() + bytes.size()));
      return Status::OK();
  }
}

}  // namespace jet
