#include "sql/output_names.h"

#include <algorithm>

#include "sql/translator_impl.h"

namespace jet::sql {
namespace {

bool IsField(const ColumnOrigin& c) { return c.alias.empty() && !c.field.empty(); }

bool SameField(const ColumnOrigin& a, const ColumnOrigin& b) {
  return IsField(a) && IsField(b) && NamesEqual(a.source, b.source) && NamesEqual(a.field, b.field);
}

bool ShownAgainLater(const std::vector<ColumnOrigin>& columns, size_t i) {
  return std::any_of(columns.begin() + static_cast<std::ptrdiff_t>(i) + 1, columns.end(),
                     [&](const ColumnOrigin& later) { return SameField(columns[i], later); });
}

bool NameTakenElsewhere(const std::vector<std::string>& names, size_t i) {
  for (size_t j = 0; j < names.size(); ++j)
    if (j != i && NamesEqual(names[j], names[i])) return true;
  return false;
}

}  // namespace

std::vector<std::string> OutputColumnNames(const std::vector<ColumnOrigin>& columns) {
  std::vector<std::string> names(columns.size());
  std::vector<bool> plain_field(columns.size(), false);
  for (size_t i = 0; i < columns.size(); ++i) {
    const ColumnOrigin& c = columns[i];
    plain_field[i] = IsField(c) && !ShownAgainLater(columns, i);
    names[i] = !c.alias.empty() ? c.alias : plain_field[i] ? c.field : "Expr" + std::to_string(1000 + i);
  }
  std::vector<std::string> result = names;
  for (size_t i = 0; i < columns.size(); ++i)
    if (plain_field[i] && !columns[i].source.empty() && NameTakenElsewhere(names, i))
      result[i] = columns[i].source + "." + columns[i].field;
  return result;
}

}  // namespace jet::sql
