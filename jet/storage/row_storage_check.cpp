#include "storage/row_storage_check.h"

#include <map>

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

}  // namespace

Status CheckRowStorage(const TableDef& def) {
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
