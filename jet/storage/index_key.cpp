// Each column's part of a key starts with a flag byte: 0x7F (ascending) or
// 0x80 (descending) before a value, 0x00 or 0xFF for Null, so Null ranks
// below every value in either direction. Values are big-endian with the bits
// arranged so that unsigned byte order is numeric order; descending columns
// invert them.
#include "storage/index_key.h"

#include <bit>
#include <cstring>

#include "jet/sort_order.h"

namespace jet {
namespace {

constexpr char kAscendingFlag = '\x7F';
constexpr char kDescendingFlag = '\x80';
constexpr char kAscendingNull = '\x00';
constexpr char kDescendingNull = '\xFF';
constexpr uint16_t kGeneralSortOrderId = 1033;

void AppendBigEndian(uint64_t value, int bytes, std::string* out) {
  for (int i = bytes - 1; i >= 0; --i) out->push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

void Invert(std::string* out, size_t from) {
  for (size_t i = from; i < out->size(); ++i) (*out)[i] = static_cast<char>(~(*out)[i]);
}

// Two's complement with the sign bit flipped orders as unsigned.
void AppendInteger(int64_t value, int bytes, bool ascending, std::string* out) {
  const size_t start = out->size();
  AppendBigEndian(static_cast<uint64_t>(value), bytes, out);
  (*out)[start] = static_cast<char>((*out)[start] ^ 0x80);
  if (!ascending) Invert(out, start);
}

// IEEE: positives get the sign bit set; negatives are inverted whole, which
// reverses their magnitude order.
void AppendFloatBits(uint64_t bits, int bytes, bool ascending, std::string* out) {
  const size_t start = out->size();
  const bool negative = (bits >> (8 * bytes - 1)) & 1;
  AppendBigEndian(bits, bytes, out);
  if (!negative) (*out)[start] = static_cast<char>((*out)[start] ^ 0x80);
  if (negative == ascending) Invert(out, start);
}

// Binary and GUID values: 8-byte segments, each followed by 9 when more
// follow or by the count of bytes used in the last one.
void AppendSegmentedBinary(const uint8_t* data, size_t length, bool ascending, std::string* out) {
  size_t pos = 0;
  while (length - pos > 8) {
    const size_t start = out->size();
    out->append(reinterpret_cast<const char*>(data + pos), 8);
    if (!ascending) Invert(out, start);  // the continuation byte stays as is
    out->push_back('\x09');
    pos += 8;
  }
  if (pos == length) return;
  const size_t start = out->size();
  const size_t used = length - pos;
  out->append(reinterpret_cast<const char*>(data + pos), used);
  out->append(8 - used, '\0');
  out->push_back(static_cast<char>(used));
  if (!ascending) Invert(out, start);
}

// GUIDs are keyed in their textual order: the first three fields, stored
// little-endian, go in big-endian.
void AppendGuid(const Guid& guid, bool ascending, std::string* out) {
  uint8_t bytes[16];
  std::memcpy(bytes, guid.data(), 16);
  std::swap(bytes[0], bytes[3]);
  std::swap(bytes[1], bytes[2]);
  std::swap(bytes[4], bytes[5]);
  std::swap(bytes[6], bytes[7]);
  AppendSegmentedBinary(bytes, 16, ascending, out);
}

bool UsesLegacyDecimalKeys(FileFormat format) { return format == FileFormat::kJet3 || format == FileFormat::kJet4; }

// A sign byte and the 16-byte magnitude. Jet 3 and 4 files order negative
// descending values wrongly (fixed in Access 2007); the bytes must match.
Status AppendDecimal(const ColumnDef& column, const Decimal& value, bool ascending, FileFormat format,
                     std::string* out) {
  if (value.scale > column.scale) {
    return Status::InvalidArgument("decimal value has more digits after the point than column " + column.name);
  }
  unsigned __int128 magnitude = value.magnitude;  // at the column's scale, as stored
  for (int s = value.scale; s < column.scale; ++s) magnitude *= 10;
  const size_t start = out->size();
  out->push_back(value.negative ? '\x80' : '\x00');
  AppendBigEndian(static_cast<uint64_t>(magnitude >> 64), 8, out);
  AppendBigEndian(static_cast<uint64_t>(magnitude), 8, out);
  if (UsesLegacyDecimalKeys(format)) {
    if (value.negative == ascending) Invert(out, start);
    (*out)[start] = value.negative ? '\x00' : '\xFF';
  } else {
    (*out)[start] = '\xFF';
    if (value.negative == ascending) Invert(out, start);
  }
  return Status::OK();
}

Status TextSortVersion(const ColumnDef& column, FileFormat format, SortOrderVersion* version) {
  if (column.sort_order != kGeneralSortOrderId && column.sort_order != 0) {
    return Status::Unsupported("column " + column.name + " uses sort order " + std::to_string(column.sort_order) +
                               "; only the General sort order is supported for text indexes");
  }
  switch (format) {
    case FileFormat::kJet3: *version = SortOrderVersion::kGeneral97; return Status::OK();
    case FileFormat::kJet4:
    case FileFormat::kAce12: *version = SortOrderVersion::kGeneral; return Status::OK();
    default:
      return Status::Unsupported(
          "text index keys of the General sort order of Access 2010 and later are not supported");
  }
}

Status AppendText(const ColumnDef& column, const std::string& text, bool ascending, FileFormat format,
                  std::string* out) {
  SortOrderVersion version = SortOrderVersion::kGeneral;
  JET_RETURN_IF_ERROR(TextSortVersion(column, format, &version));
  std::string sort_key;
  Status s = GeneralSortKey(text, version, &sort_key);
  if (!s.ok()) {
    std::string message = "column " + column.name + ": " + s.message();
    return s.code() == Status::Code::kUnsupported ? Status::Unsupported(message) : Status::InvalidArgument(message);
  }
  const size_t start = out->size();
  out->append(sort_key);
  if (!ascending) {
    Invert(out, start);
    // Jet 4 ends a descending text with an uninverted terminator as well.
    if (version == SortOrderVersion::kGeneral) out->push_back('\x00');
  }
  return Status::OK();
}

Status AppendValue(const ColumnDef& column, const Value& value, bool ascending, FileFormat format,
                   std::string* out) {
  switch (column.type) {
    case ColumnType::kByte: {
      const size_t start = out->size();
      out->push_back(static_cast<char>(value.as_int()));
      if (!ascending) Invert(out, start);
      return Status::OK();
    }
    case ColumnType::kInteger: AppendInteger(value.as_int(), 2, ascending, out); return Status::OK();
    case ColumnType::kLong:
    case ColumnType::kComplex: AppendInteger(value.as_int(), 4, ascending, out); return Status::OK();
    case ColumnType::kBigInt: AppendInteger(value.as_int(), 8, ascending, out); return Status::OK();
    case ColumnType::kCurrency: AppendInteger(value.as_currency().scaled, 8, ascending, out); return Status::OK();
    case ColumnType::kSingle:
      AppendFloatBits(std::bit_cast<uint32_t>(value.as_float()), 4, ascending, out);
      return Status::OK();
    case ColumnType::kDouble:
      AppendFloatBits(std::bit_cast<uint64_t>(value.as_double()), 8, ascending, out);
      return Status::OK();
    case ColumnType::kDateTime:
      AppendFloatBits(std::bit_cast<uint64_t>(value.as_datetime().serial), 8, ascending, out);
      return Status::OK();
    case ColumnType::kDecimal: return AppendDecimal(column, value.as_decimal(), ascending, format, out);
    case ColumnType::kGuid: AppendGuid(value.as_guid(), ascending, out); return Status::OK();
    case ColumnType::kBinary: {
      const Bytes& bytes = value.as_bytes();
      AppendSegmentedBinary(bytes.data(), bytes.size(), ascending, out);
      return Status::OK();
    }
    case ColumnType::kText:
    case ColumnType::kMemo: return AppendText(column, value.as_text(), ascending, format, out);
    default:
      return Status::Unsupported("column " + column.name + " of type " + std::string(ColumnTypeName(column.type)) +
                                 " cannot be part of an index key");
  }
}

}  // namespace

Status AppendIndexColumnKey(const ColumnDef& column, const Value& value, bool ascending, FileFormat format,
                            std::string* key) {
  // A row read from a damaged file can hold a value of another kind than
  // its column's; that is refused here rather than becoming a crash.
  if (!HoldsKindOf(column.type, value)) {
    return Status::InvalidArgument("value for column " + column.name + " does not have the column's type");
  }
  if (column.type == ColumnType::kBoolean) {
    // Booleans are never Null in a key: Null is keyed as False. True sorts first.
    const bool truth = !value.is_null() && value.as_bool();
    key->push_back(ascending ? kAscendingFlag : kDescendingFlag);
    key->push_back(truth == ascending ? '\x00' : '\xFF');
    return Status::OK();
  }
  if (value.is_null()) {
    key->push_back(ascending ? kAscendingNull : kDescendingNull);
    return Status::OK();
  }
  key->push_back(ascending ? kAscendingFlag : kDescendingFlag);
  return AppendValue(column, value, ascending, format, key);
}

Status EncodeIndexKey(const TableDef& table, const IndexDef& index, const Row& row, FileFormat format,
                      std::string* key) {
  key->clear();
  for (const IndexColumn& ic : index.columns) {
    if (ic.column < 0 || static_cast<size_t>(ic.column) >= table.columns.size() ||
        static_cast<size_t>(ic.column) >= row.size()) {
      return Status::InvalidArgument("index " + index.name + " names a column the row does not have");
    }
    JET_RETURN_IF_ERROR(AppendIndexColumnKey(table.columns[ic.column], row[ic.column], ic.ascending, format, key));
  }
  return Status::OK();
}

}  // namespace jet
