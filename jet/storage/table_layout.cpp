#include "storage/table_layout.h"

#include <algorithm>
#include <unordered_set>

#include "storage/byte_span.h"

namespace jet {
namespace {

// Where things sit in a table definition, per format.
struct TdefFormat {
  size_t num_rows, autonumber, table_type, max_cols, num_var_cols, num_cols, num_idx,
      num_real_idx, used_pages, free_pages, real_idx_start;
  size_t real_idx_entry;     // per physical index, in the header block
  size_t column_entry;       // per column
  size_t col_type, col_num, col_var_index, col_index, col_misc, col_flags, col_ext_flags,
      col_fixed_offset, col_length;
  size_t name_length_bytes;  // 1 (Jet 3) or 2 (Jet 4)
  size_t real_idx_cols_skip; // bytes before the 10 column slots
  size_t real_idx_block;     // whole physical-index block
  size_t real_idx_flags;     // offset of the flags byte in that block
  size_t logical_idx_skip;   // bytes before index_num
  size_t logical_idx_entry;
};

constexpr TdefFormat kJet3Tdef{
    0x0C, 0x10, 0x14, 0x15, 0x17, 0x19, 0x1B, 0x1F, 0x23, 0x27, 0x2B,
    8,  18,
    0, 1, 3, 5, 11, 13, 255, 14, 16,
    1, 0, 39, 38, 0, 20};
constexpr TdefFormat kJet4Tdef{
    0x10, 0x14, 0x28, 0x29, 0x2B, 0x2D, 0x2F, 0x33, 0x37, 0x3B, 0x3F,
    12, 25,
    0, 5, 7, 9, 11, 15, 16, 21, 23,
    2, 4, 52, 46, 4, 28};

constexpr size_t kTdefPageHeader = 8;
constexpr size_t kJet3ColumnSortOrder = 9;
constexpr size_t kJet4ColumnSortVersion = 14;
constexpr size_t kMaxIndexColumns = 10;
constexpr size_t kLogicalIndexTypeOffset = 19;  // from index_num
constexpr uint8_t kIndexTypePrimary = 0x01;
constexpr uint8_t kIndexTypeForeign = 0x02;

// A TDEF may continue over several pages: join their payloads.
Status ReadTdefChain(const Pager& pager, uint32_t first_page, std::vector<uint8_t>* bytes,
                     std::vector<uint32_t>* pages) {
  std::unordered_set<uint32_t> seen;
  uint32_t page_no = first_page;
  while (page_no != 0) {
    if (!seen.insert(page_no).second) {
      return Status::Corruption("table definition chain loops at page " + std::to_string(page_no));
    }
    Page page;
    JET_RETURN_IF_ERROR(pager.ReadPageOfType(page_no, PageType::kTableDef, &page));
    pages->push_back(page_no);
    if (bytes->empty()) {
      bytes->assign(page.begin(), page.end());
    } else {
      bytes->insert(bytes->end(), page.begin() + kTdefPageHeader, page.end());
    }
    page_no = Get32(page.data() + 4);
  }
  return Status::OK();
}

class TdefParser {
 public:
  TdefParser(const std::vector<uint8_t>& bytes, const TdefFormat& f, const TextReader& text,
             bool jet3)
      : in_(bytes), f_(f), text_(text), jet3_(jet3) {}

  Status Parse(TableLayout* layout);

 private:
  Status Need(size_t length, const char* what) const {
    if (in_.Has(pos_, length)) return Status::OK();
    return Status::Corruption(std::string("table definition is truncated in ") + what);
  }
  Status ReadName(std::string* name);
  Status ParseColumns(TableDef* def, uint16_t num_cols);
  Status ParseIndexes(TableDef* def, uint32_t num_idx, uint32_t num_real_idx,
                      const std::vector<uint32_t>& real_counts, std::vector<uint32_t>* index_maps);

  ByteSpan in_;
  const TdefFormat& f_;
  const TextReader& text_;
  bool jet3_;
  size_t pos_ = 0;
};

Status TdefParser::ReadName(std::string* name) {
  JET_RETURN_IF_ERROR(Need(f_.name_length_bytes, "a name"));
  size_t len = jet3_ ? in_.U8(pos_) : in_.U16(pos_);
  pos_ += f_.name_length_bytes;
  JET_RETURN_IF_ERROR(Need(len, "a name"));
  *name = text_.Decode(in_.data() + pos_, len);
  pos_ += len;
  return Status::OK();
}

Status TdefParser::Parse(TableLayout* layout) {
  if (!in_.Has(0, f_.real_idx_start)) return Status::Corruption("table definition is truncated");
  auto def = std::make_shared<TableDef>();
  def->stored_row_count = in_.U32(f_.num_rows);
  def->last_autonumber = in_.U32(f_.autonumber);
  def->table_type = in_.U8(f_.table_type);
  layout->max_cols = in_.U16(f_.max_cols);
  layout->var_cols = in_.U16(f_.num_var_cols);
  uint16_t num_cols = in_.U16(f_.num_cols);
  uint32_t num_idx = in_.U32(f_.num_idx);
  uint32_t num_real_idx = in_.U32(f_.num_real_idx);
  layout->usage_map = in_.U32(f_.used_pages);
  layout->free_map = in_.U32(f_.free_pages);
  // Access allows 255 columns and 32 indexes; anything far beyond is damage.
  if (num_cols > 4096 || num_idx > 1024 || num_real_idx > 1024) {
    return Status::Corruption("table definition has absurd column or index counts");
  }

  pos_ = f_.real_idx_start;
  std::vector<uint32_t> real_counts(num_real_idx);
  JET_RETURN_IF_ERROR(Need(size_t(num_real_idx) * f_.real_idx_entry, "index statistics"));
  for (uint32_t i = 0; i < num_real_idx; ++i) {
    real_counts[i] = in_.U32(pos_ + 4);
    pos_ += f_.real_idx_entry;
  }
  JET_RETURN_IF_ERROR(ParseColumns(def.get(), num_cols));
  JET_RETURN_IF_ERROR(ParseIndexes(def.get(), num_idx, num_real_idx, real_counts, &layout->index_maps));
  layout->def = std::move(def);
  return Status::OK();
}

Status TdefParser::ParseColumns(TableDef* def, uint16_t num_cols) {
  JET_RETURN_IF_ERROR(Need(size_t(num_cols) * f_.column_entry, "the column list"));
  struct Ordered {
    uint16_t display;
    ColumnDef col;
  };
  std::vector<Ordered> cols(num_cols);
  for (auto& o : cols) {
    const size_t c = pos_;
    ColumnDef& col = o.col;
    col.type = static_cast<ColumnType>(in_.U8(c + f_.col_type));
    col.number = in_.U16(c + f_.col_num);
    col.var_index = in_.U16(c + f_.col_var_index);
    o.display = in_.U16(c + f_.col_index);
    uint8_t flags = in_.U8(c + f_.col_flags);
    col.fixed = flags & 0x01;
    col.nullable = flags & 0x02;
    col.autonumber = (flags & 0x04) && col.type != ColumnType::kGuid;
    col.guid_autonumber = (flags & 0x40) && col.type == ColumnType::kGuid;
    col.hyperlink = flags & 0x80;
    if (f_.col_ext_flags != 255) col.compressed_unicode = in_.U8(c + f_.col_ext_flags) & 0x01;
    col.fixed_offset = in_.U16(c + f_.col_fixed_offset);
    col.size = in_.U16(c + f_.col_length);
    if (col.type == ColumnType::kDecimal) {
      col.precision = in_.U8(c + f_.col_misc);
      col.scale = in_.U8(c + f_.col_misc + 1);
    } else if (col.type == ColumnType::kText || col.type == ColumnType::kMemo) {
      // Jet 3 keeps the sort order just before the code page; Jet 4 the sort
      // order and, two bytes on, its version (0 = General as Access 2000-2007
      // sort, 1 = the order Access 2010 introduced).
      if (jet3_) {
        col.sort_order = in_.U16(c + kJet3ColumnSortOrder);
        col.code_page = in_.U16(c + f_.col_misc);
      } else {
        col.sort_order = in_.U16(c + f_.col_misc);
        col.sort_order_version = in_.U8(c + kJet4ColumnSortVersion);
      }
    }
    pos_ += f_.column_entry;
  }
  for (auto& o : cols) JET_RETURN_IF_ERROR(ReadName(&o.col.name));
  // Access lists fields by their ordinal position, which need not be the
  // order of the entries in the definition.
  std::stable_sort(cols.begin(), cols.end(),
                   [](const Ordered& a, const Ordered& b) { return a.display < b.display; });
  for (auto& o : cols) def->columns.push_back(std::move(o.col));
  return Status::OK();
}

Status TdefParser::ParseIndexes(TableDef* def, uint32_t num_idx, uint32_t num_real_idx,
                                const std::vector<uint32_t>& real_counts, std::vector<uint32_t>* index_maps) {
  struct RealIndex {
    std::vector<IndexColumn> columns;
    uint32_t first_page = 0;
    uint8_t flags = 0;
  };
  std::vector<RealIndex> reals(num_real_idx);
  JET_RETURN_IF_ERROR(Need(size_t(num_real_idx) * f_.real_idx_block, "the index list"));
  for (auto& r : reals) {
    size_t p = pos_ + f_.real_idx_cols_skip;
    for (size_t k = 0; k < kMaxIndexColumns; ++k, p += 3) {
      uint16_t col_num = in_.U16(p);
      if (col_num == 0xFFFF) continue;
      auto it = std::find_if(def->columns.begin(), def->columns.end(),
                             [&](const ColumnDef& c) { return c.number == col_num; });
      if (it == def->columns.end()) {
        return Status::Corruption("index refers to a column that does not exist (id " +
                                  std::to_string(col_num) + ")");
      }
      r.columns.push_back({static_cast<int>(it - def->columns.begin()), in_.U8(p + 2) == 0x01});
    }
    index_maps->push_back(in_.U32(p));  // the index's own usage map
    r.first_page = in_.U32(p + 4);
    r.flags = in_.U8(pos_ + f_.real_idx_flags);
    pos_ += f_.real_idx_block;
  }

  JET_RETURN_IF_ERROR(Need(size_t(num_idx) * f_.logical_idx_entry, "the index list"));
  for (uint32_t i = 0; i < num_idx; ++i) {
    size_t p = pos_ + f_.logical_idx_skip;
    IndexDef idx;
    idx.number = static_cast<int>(in_.U32(p));
    idx.real_index = static_cast<int>(in_.U32(p + 4));
    uint8_t index_type = in_.U8(p + kLogicalIndexTypeOffset);
    if (idx.real_index < 0 || static_cast<uint32_t>(idx.real_index) >= num_real_idx) {
      return Status::Corruption("index refers to a missing physical index");
    }
    const RealIndex& r = reals[idx.real_index];
    idx.columns = r.columns;
    idx.first_page = r.first_page;
    idx.real_flags = r.flags;
    idx.unique = r.flags & 0x01;
    idx.ignore_nulls = r.flags & 0x02;
    idx.required = r.flags & 0x08;
    idx.primary = index_type == kIndexTypePrimary;
    idx.foreign_key = index_type == kIndexTypeForeign;
    idx.distinct_count = real_counts[idx.real_index];
    def->indexes.push_back(std::move(idx));
    pos_ += f_.logical_idx_entry;
  }
  for (auto& idx : def->indexes) JET_RETURN_IF_ERROR(ReadName(&idx.name));
  return Status::OK();
}

}  // namespace

Status ReadTableLayout(const Pager& pager, const TextReader& text, uint32_t tdef_page,
                       TableLayout* layout) {
  std::vector<uint8_t> bytes;
  layout->tdef_pages.clear();
  layout->index_maps.clear();
  JET_RETURN_IF_ERROR(ReadTdefChain(pager, tdef_page, &bytes, &layout->tdef_pages));
  TdefParser parser(bytes, pager.is_jet3() ? kJet3Tdef : kJet4Tdef, text, pager.is_jet3());
  Status s = parser.Parse(layout);
  if (!s.ok()) return Status::Corruption(s.message() + " (table definition at page " +
                                         std::to_string(tdef_page) + ")");
  layout->def->tdef_page = tdef_page;
  return Status::OK();
}

}  // namespace jet
