#include "jet/schema.h"

#include <strings.h>

namespace jet {

void PropertyMap::Set(const std::string& name, Value value) {
  for (auto& [n, v] : entries_) {
    if (strcasecmp(n.c_str(), name.c_str()) == 0) {
      v = std::move(value);
      return;
    }
  }
  entries_.emplace_back(name, std::move(value));
}

const Value* PropertyMap::Find(const std::string& name) const {
  for (const auto& [n, v] : entries_) {
    if (strcasecmp(n.c_str(), name.c_str()) == 0) return &v;
  }
  return nullptr;
}

int TableDef::FindColumn(const std::string& name) const {
  for (size_t i = 0; i < columns.size(); ++i) {
    if (strcasecmp(columns[i].name.c_str(), name.c_str()) == 0) return static_cast<int>(i);
  }
  return -1;
}

const IndexDef* TableDef::PrimaryKey() const {
  for (const IndexDef& index : indexes) {
    if (index.primary && !index.columns.empty()) return &index;
  }
  return nullptr;
}

}  // namespace jet
