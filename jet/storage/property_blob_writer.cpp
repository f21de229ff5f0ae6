#include "storage/property_blob_writer.h"

#include <algorithm>

#include "storage/tdef_writer.h"

namespace jet {
namespace {

constexpr uint16_t kNamesBlock = 0x80;
constexpr uint16_t kObjectBlock = 0x00;
constexpr uint16_t kColumnBlock = 0x01;

void Add16(Bytes* b, size_t v) { b->push_back(uint8_t(v)); b->push_back(uint8_t(v >> 8)); }
void Add32(Bytes* b, size_t v) { Add16(b, v & 0xFFFF); Add16(b, (v >> 16) & 0xFFFF); }
void Set32(Bytes* b, size_t at, size_t v) {
  for (int i = 0; i < 4; ++i) (*b)[at + i] = uint8_t(v >> (8 * i));
}

// Properties read back from a damaged blob keep their declared type over
// data of another kind; those are written as the empty value of the type.
Bytes ValueBytes(const Value& v) {
  Bytes out;
  switch (v.type()) {
    case ColumnType::kBoolean: {
      const bool* truth = v.get_if<bool>();
      out.push_back(truth && *truth ? 0xFF : 0x00);
      break;
    }
    case ColumnType::kLong: {
      const int64_t* number = v.get_if<int64_t>();
      Add32(&out, static_cast<uint32_t>(number ? *number : 0));
      break;
    }
    default: {
      const std::string* text = v.get_if<std::string>();
      out = EncodeUcs2(text ? *text : std::string());
      break;
    }
  }
  return out;
}

// The blocks open with their length and type; the length is known last.
size_t OpenBlock(Bytes* b, uint16_t type) {
  const size_t at = b->size();
  Add32(b, 0);
  Add16(b, type);
  return at;
}

}  // namespace

Bytes EncodePropertyBlob(const std::vector<PropertyBlock>& blocks) {
  std::vector<std::string> names;
  for (const auto& block : blocks) {
    for (const auto& [name, value] : block.values) {
      if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    }
  }
  Bytes out{'M', 'R', '2', 0};
  size_t at = OpenBlock(&out, kNamesBlock);
  for (const std::string& name : names) {
    Bytes n = EncodeUcs2(name);
    Add16(&out, n.size());
    out.insert(out.end(), n.begin(), n.end());
  }
  Set32(&out, at, out.size() - at);
  for (const auto& block : blocks) {
    at = OpenBlock(&out, block.owner.empty() ? kObjectBlock : kColumnBlock);
    const Bytes owner = EncodeUcs2(block.owner);
    Add32(&out, 4 + 2 + owner.size());
    Add16(&out, owner.size());
    out.insert(out.end(), owner.begin(), owner.end());
    for (const auto& [name, value] : block.values) {
      const Bytes data = ValueBytes(value);
      Add16(&out, 8 + data.size());
      out.push_back(0);  // not a DDL property
      out.push_back(static_cast<uint8_t>(value.type()));
      Add16(&out, std::find(names.begin(), names.end(), name) - names.begin());
      Add16(&out, data.size());
      out.insert(out.end(), data.begin(), data.end());
    }
    Set32(&out, at, out.size() - at);
  }
  return out;
}

}  // namespace jet
