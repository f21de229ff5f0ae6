#include "storage/row_storage_check.h"

#include <algorithm>
#include <map>
#include <string>

namespace jet {
namespace {

// Types whose values always take the same bytes: Jet stores them in the
// fixed area. (A Yes/No takes a bit of the null mask and no bytes.)
bool FixedSizeType(ColumnType type) {
  switch (type) {
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kCurrency:
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kDateTime:
    case ColumnType::kGuid:
    case ColumnType::kDecimal:
    case ColumnType::kComplex:
    case ColumnType::kBigInt: return true;
    default: return false;
  }
}

Status Damaged(const TableDef& def, const std::string& what) {
  return Status::Corruption("The table '" + def.name + "' cannot be changed: its definition " + what + ".");
}

// A written row carries a column count and a variable-column count taken
// from the header as well as the columns; a reader refuses a row counting
// more variable columns than columns, and with no variable column at all it
// would take fixed bytes for the count the header promises.
Status CheckRowCounts(const TableLayout& layout) {
  const TableDef& def = *layout.def;
  size_t column_count = layout.max_cols, var_count = 0;
  bool has_variable = false;
  for (const ColumnDef& c : def.columns) {
    column_count = std::max<size_t>(column_count, size_t(c.number) + 1);
    if (c.fixed || c.type == ColumnType::kBoolean) continue;
    has_variable = true;
    var_count = std::max<size_t>(var_count, size_t(c.var_index) + 1);
  }
  if (has_variable != (layout.var_cols > 0))
    return Damaged(def, "counts " + std::to_string(layout.var_cols) + " variable columns where the table has " +
                            (has_variable ? "some" : "none"));
  if (std::max<size_t>(var_count, layout.var_cols) > column_count)
    return Damaged(def, "counts more variable columns than columns");
  return Status::OK();
}

}  // namespace

Status CheckRowStorage(const TableLayout& layout) {
  const TableDef& def = *layout.def;
  JET_RETURN_IF_ERROR(CheckRowCounts(layout));
  std::map<uint16_t, const ColumnDef*> slots;  // variable columns by offset-table slot
  std::map<uint16_t, const ColumnDef*> fixed;  // fixed columns by first byte
  for (const ColumnDef& c : def.columns) {
    if (FixedSizeType(c.type) && !c.fixed) return Damaged(def, "stores the number column '" + c.name + "' as text");
    if (!c.fixed) {
      if (const auto [it, added] = slots.emplace(c.var_index, &c); !added)
        return Damaged(def, "stores '" + it->second->name + "' and '" + c.name + "' in one place");
    } else if (c.type != ColumnType::kBoolean && c.size > 0) {
      fixed.emplace(c.fixed_offset, &c);
    }
  }
  const ColumnDef* previous = nullptr;
  for (const auto& [offset, c] : fixed) {
    if (previous && previous->fixed_offset + previous->size > offset)
      return Damaged(def, "stores '" + previous->name + "' and '" + c->name + "' over the same bytes");
    previous = c;
  }
  return Status::OK();
}

}  // namespace jet
