#include "storage/properties.h"

#include <vector>

#include "storage/byte_span.h"
#include "storage/row_decoder.h"

namespace jet {
namespace {

constexpr uint16_t kNamesBlock = 0x80;
constexpr size_t kBlockHeader = 6;  // length (4) and type (2)

Value DecodePropertyValue(ColumnType type, ByteSpan data, const TextReader& text) {
  switch (type) {
    case ColumnType::kText:
    case ColumnType::kMemo:
      return Value(type, text.Decode(data.data(), data.size()));
    case ColumnType::kBoolean:
      return Value(type, data.size() > 0 && data.U8(0) != 0);
    case ColumnType::kByte:
      if (data.size() >= 1) return Value(type, int64_t{data.U8(0)});
      break;
    case ColumnType::kInteger:
      if (data.size() >= 2) return Value(type, int64_t{static_cast<int16_t>(data.U16(0))});
      break;
    case ColumnType::kLong:
      if (data.size() >= 4) return Value(type, int64_t{static_cast<int32_t>(data.U32(0))});
      break;
    default:
      break;
  }
  return Value(type, Bytes(data.data(), data.data() + data.size()));
}

// One block of values: a name (which column, or none) and its entries.
Status ParseValueBlock(ByteSpan block, const std::vector<std::string>& names,
                       const TextReader& text, ObjectProperties* out) {
  if (!block.Has(0, 4)) return Status::Corruption("property block is truncated");
  const size_t name_block = block.U32(0);  // includes its own length word
  if (name_block < 4 || !block.Has(0, name_block)) return Status::Corruption("property block name is truncated");
  // The name is stored as its length and the text.
  std::string owner;
  if (name_block >= 6) {
    size_t len = block.U16(4);
    if (!block.Has(6, len)) return Status::Corruption("property block name is truncated");
    owner = text.Decode(block.data() + 6, len);
  }
  PropertyMap& target = owner.empty() ? out->object : out->by_name[owner];
  size_t pos = name_block;
  while (block.Has(pos, 8)) {
    const size_t entry_length = block.U16(pos);
    if (entry_length < 8 || !block.Has(pos, entry_length)) return Status::Corruption("property entry is truncated");
    const auto type = static_cast<ColumnType>(block.U8(pos + 3));
    const size_t name_index = block.U16(pos + 4);
    const size_t data_length = block.U16(pos + 6);
    if (name_index >= names.size() || 8 + data_length > entry_length) {
      return Status::Corruption("property entry is malformed");
    }
    target.Set(names[name_index], DecodePropertyValue(type, ByteSpan(block.data() + pos + 8, data_length), text));
    pos += entry_length;
  }
  return Status::OK();
}

}  // namespace

Status ParseProperties(const Bytes& blob, const TextReader& text, ObjectProperties* out) {
  ByteSpan in(blob);
  if (in.size() < 4) return Status::OK();
  if (std::memcmp(blob.data(), "MR2", 3) != 0 && std::memcmp(blob.data(), "KKD", 3) != 0) {
    return Status::Corruption("property blob has an unknown signature");
  }
  std::vector<std::string> names;
  size_t pos = 4;
  while (in.Has(pos, kBlockHeader)) {
    const size_t length = in.U32(pos);
    const uint16_t type = in.U16(pos + 4);
    if (length < kBlockHeader || !in.Has(pos, length)) return Status::Corruption("property blob is truncated");
    ByteSpan body(in.data() + pos + kBlockHeader, length - kBlockHeader);
    if (type == kNamesBlock) {
      for (size_t p = 0; body.Has(p, 2);) {
        size_t len = body.U16(p);
        if (!body.Has(p + 2, len)) return Status::Corruption("property name is truncated");
        names.push_back(text.Decode(body.data() + p + 2, len));
        p += 2 + len;
      }
    } else {
      JET_RETURN_IF_ERROR(ParseValueBlock(body, names, text, out));
    }
    pos += length;
  }
  return Status::OK();
}

}  // namespace jet
