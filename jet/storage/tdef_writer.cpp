#include "storage/tdef_writer.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "storage/row_decoder.h"

namespace jet {
namespace {

constexpr uint16_t kGeneralSortOrder = 0x0409;
constexpr size_t kHeaderSize = 0x3F;
constexpr size_t kContinuationHeader = 8;
constexpr size_t kRealIndexStat = 12;
constexpr size_t kMaxIndexColumns = 10;
constexpr uint8_t kSystemTable = 0x53;
constexpr uint8_t kUserTable = 0x4E;

class Out {
 public:
  explicit Out(std::vector<uint8_t>* b) : b_(b) {}
  void U8(uint8_t v) { b_->push_back(v); }
  void U16(uint16_t v) { U8(uint8_t(v)); U8(uint8_t(v >> 8)); }
  void U32(uint32_t v) { U16(uint16_t(v)); U16(uint16_t(v >> 16)); }
  void Zeros(size_t n) { b_->insert(b_->end(), n, 0); }
  void Name(const std::string& utf8) {
    std::vector<uint8_t> s = EncodeUcs2(utf8);
    U16(static_cast<uint16_t>(s.size()));
    b_->insert(b_->end(), s.begin(), s.end());
  }
  void Put16At(size_t at, uint16_t v) { (*b_)[at] = uint8_t(v); (*b_)[at + 1] = uint8_t(v >> 8); }
  void Put32At(size_t at, uint32_t v) { Put16At(at, uint16_t(v)); Put16At(at + 2, uint16_t(v >> 16)); }

 private:
  std::vector<uint8_t>* b_;
};

bool IsText(ColumnType t) { return t == ColumnType::kText || t == ColumnType::kMemo; }

bool IsFixedWidth(ColumnType type) { return FixedSize(type) > 0 || type == ColumnType::kBoolean; }

// The order of the column entries: the columns' own order, except that the
// system tables Jet makes list theirs by name (their numbers keep the order).
std::vector<size_t> EntryOrder(const NewTable& t) {
  std::vector<size_t> order(t.columns.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  if (!t.system) return order;
  auto folded = [&t](size_t i) {
    std::string name = t.columns[i].name;
    for (char& ch : name) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return name;
  };
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return folded(a) < folded(b); });
  return order;
}

void WriteColumns(const NewTable& t, Out* out) {
  // Fixed offsets and variable slots follow the column numbers.
  std::vector<uint16_t> place(t.columns.size());
  uint16_t fixed_offset = 0, var_index = 0;
  for (size_t i = 0; i < t.columns.size(); ++i) {
    const ColumnType type = t.columns[i].type;
    place[i] = IsFixedWidth(type) ? fixed_offset : var_index;
    if (IsFixedWidth(type)) fixed_offset += static_cast<uint16_t>(FixedSize(type));
    else ++var_index;
  }
  const std::vector<size_t> order = EntryOrder(t);
  for (size_t i : order) {
    const NewColumn& c = t.columns[i];
    const uint16_t fixed = static_cast<uint16_t>(FixedSize(c.type));
    const bool is_fixed = IsFixedWidth(c.type);
    out->U8(static_cast<uint8_t>(c.type));
    out->Zeros(4);
    out->U16(static_cast<uint16_t>(i));                   // column id
    out->U16(is_fixed ? 0 : place[i]);                    // variable slot
    out->U16(static_cast<uint16_t>(i));                   // ordinal position
    if (c.type == ColumnType::kDecimal) {                 // precision and scale in the sort order's place
      out->U8(c.precision);
      out->U8(c.scale);
    } else {
      out->U16(IsText(c.type) ? kGeneralSortOrder : 0);   // sort order
    }
    out->Zeros(2);                                        // sort order version 0
    uint8_t flags = (is_fixed ? 0x01 : 0) | (c.nullable ? 0x02 : 0) | (c.autonumber ? 0x04 : 0);
    out->U8(flags);
    out->U8(IsText(c.type) ? 0x01 : 0);                   // compressed Unicode
    out->Zeros(4);
    out->U16(is_fixed ? place[i] : 0);
    out->U16(c.type == ColumnType::kBoolean ? 1 : (is_fixed ? fixed : c.size));
  }
  for (size_t i : order) out->Name(t.columns[i].name);
}

void WriteIndexes(const NewTable& t, const TdefPlacement& where, Out* out) {
  for (size_t i = 0; i < t.indexes.size(); ++i) {
    const NewIndex& idx = t.indexes[i];
    out->Zeros(4);
    for (size_t k = 0; k < kMaxIndexColumns; ++k) {
      if (k < idx.columns.size()) {
        out->U16(static_cast<uint16_t>(idx.columns[k]));
        out->U8(0x01);  // ascending
      } else {
        out->U16(0xFFFF);
        out->U8(0);
      }
    }
    out->U32(where.index_maps[i]);
    out->U32(where.index_roots[i]);
    out->Zeros(4);
    const bool unique = idx.unique || idx.primary;
    out->U8((unique ? 0x01 : 0) | (idx.ignore_nulls ? 0x02 : 0) | (idx.required || idx.primary ? 0x08 : 0));
    out->Zeros(5);
  }
  for (size_t i = 0; i < t.indexes.size(); ++i) {
    out->Zeros(4);
    out->U32(static_cast<uint32_t>(i));  // logical number
    out->U32(static_cast<uint32_t>(i));  // its physical index
    out->U8(0);                          // no related table
    out->U32(0xFFFFFFFF);
    out->U32(0);
    out->U8(0);
    out->U8(0);
    out->U8(t.indexes[i].primary ? 0x01 : 0x00);
    out->Zeros(4);
  }
  for (const NewIndex& idx : t.indexes) out->Name(idx.name);
}

}  // namespace

std::vector<uint8_t> EncodeUcs2(const std::string& utf8) {
  std::vector<uint8_t> out;
  for (size_t i = 0; i < utf8.size();) {
    uint32_t cp = static_cast<uint8_t>(utf8[i]);
    size_t n = cp < 0x80 ? 1 : cp < 0xE0 ? 2 : cp < 0xF0 ? 3 : 4;
    if (n > 1) cp &= (0x3F >> (n - 1));
    for (size_t k = 1; k < n && i + k < utf8.size(); ++k) cp = (cp << 6) | (utf8[i + k] & 0x3F);
    i += n;
    if (cp > 0xFFFF) cp = '?';  // names never need characters beyond the BMP
    out.push_back(static_cast<uint8_t>(cp));
    out.push_back(static_cast<uint8_t>(cp >> 8));
  }
  return out;
}

Status EncodeTableDef(const NewTable& t, const TdefPlacement& where, std::vector<uint8_t>* bytes) {
  if (t.columns.empty() || t.columns.size() > 255) {
    return Status::InvalidArgument("table '" + t.name + "' must have between 1 and 255 columns");
  }
  if (t.indexes.size() > 32 || where.index_roots.size() != t.indexes.size() ||
      where.index_maps.size() != t.indexes.size()) {
    return Status::InvalidArgument("table '" + t.name + "' has too many indexes");
  }
  uint16_t var_cols = 0;
  for (const NewColumn& c : t.columns) {
    if (FixedSize(c.type) == 0 && c.type != ColumnType::kBoolean) ++var_cols;
  }
  bytes->clear();
  Out out(bytes);
  out.U8(0x02);
  out.U8(0x01);
  out.U16(0);  // free bytes and next page: set when laid out on pages
  out.U32(0);
  out.Zeros(kHeaderSize - 8);
  out.Put32At(0x14, 0);  // autonumber: none used yet
  (*bytes)[0x28] = t.system ? kSystemTable : kUserTable;
  out.Put16At(0x29, static_cast<uint16_t>(t.columns.size()));
  out.Put16At(0x2B, var_cols);
  out.Put16At(0x2D, static_cast<uint16_t>(t.columns.size()));
  out.Put32At(0x2F, static_cast<uint32_t>(t.indexes.size()));
  out.Put32At(0x33, static_cast<uint32_t>(t.indexes.size()));
  out.Put32At(0x37, where.usage_map);
  out.Put32At(0x3B, where.free_map);
  for (size_t i = 0; i < t.indexes.size(); ++i) out.Zeros(kRealIndexStat);
  WriteColumns(t, &out);
  WriteIndexes(t, where, &out);
  out.U16(0xFFFF);  // no further per-column sections
  out.Put32At(8, static_cast<uint32_t>(bytes->size() - 8));
  return Status::OK();
}

size_t TdefPageCount(size_t length, uint32_t page_size) {
  if (length <= page_size) return 1;
  const size_t per_page = page_size - kContinuationHeader;
  return 1 + (length - page_size + per_page - 1) / per_page;
}

std::vector<std::vector<uint8_t>> ChainTdefPages(const std::vector<uint8_t>& bytes, const std::vector<uint32_t>& pages,
                                                 uint32_t page_size) {
  std::vector<std::vector<uint8_t>> images;
  size_t at = 0;
  for (size_t n = 0; n < pages.size(); ++n) {
    // Every page after the first repeats the 8-byte header before the next part.
    std::vector<uint8_t> image(bytes.begin(), bytes.begin() + 8);
    if (n > 0) std::fill(image.begin() + 2, image.end(), 0);
    const size_t begin = n == 0 ? 8 : at;
    const size_t end = std::min(bytes.size(), begin + page_size - kContinuationHeader);
    image.insert(image.end(), bytes.begin() + begin, bytes.begin() + end);
    at = end;
    Out out(&image);
    out.Put16At(2, static_cast<uint16_t>(page_size - image.size()));
    out.Put32At(4, n + 1 < pages.size() ? pages[n + 1] : 0);
    image.resize(page_size, 0);
    images.push_back(std::move(image));
  }
  return images;
}

}  // namespace jet
