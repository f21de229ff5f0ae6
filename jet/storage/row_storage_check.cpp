#include "storage/row_storage_check.h"

#include <map>
#include <string>

#include "storage/row_encoder.h"

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

// A reader refuses a row counting more variable columns than columns, and
// with no variable column at all it would take fixed bytes for the count
// the header promises.
Status CheckRowCounts(const TableLayout& layout) {
  const RowCounts counts = WrittenRowCounts(layout);
  if (counts.has_variable != (layout.var_cols > 0))
    return Damaged(*layout.def, "counts " + std::to_string(layout.var_cols) + " variable columns where the table has " +
                                    (counts.has_variable ? "some" : "none"));
  if (counts.variable > counts.columns) return Damaged(*layout.def, "counts more variable columns than columns");
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
