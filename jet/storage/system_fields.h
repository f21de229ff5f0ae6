// Fields of the file's own tables (the catalogue, MSysQueries,
// MSysRelationships) read with their kind checked. A column's type comes
// from the file's table definition, so a damaged definition can make the
// catalogue's property column Text or its name column a number; such a field
// is Corruption naming the table and column, never an exception.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "jet/schema.h"
#include "jet/status.h"
#include "jet/value.h"

namespace jet {

class SystemFields {
 public:
  // `table` names the table in messages (the catalogue's own definition
  // carries no name).
  SystemFields(const TableDef& def, std::string table) : def_(def), table_(std::move(table)) {}

  // The column's position, or -1 when the table lacks it.
  int Column(std::string_view name) const { return def_.FindColumn(std::string(name)); }

  // Null, and a column of -1, read as nullopt.
  Status Text(const Row& row, int column, std::optional<std::string>* out) const;
  Status Integer(const Row& row, int column, std::optional<int64_t>* out) const;
  // *out stays nullptr for Null and for a column of -1.
  Status Binary(const Row& row, int column, const Bytes** out) const;

 private:
  template <class T>
  Status Field(const Row& row, int column, std::string_view kind, const T** out) const;

  const TableDef& def_;
  std::string table_;
};

}  // namespace jet
