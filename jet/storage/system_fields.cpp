#include "storage/system_fields.h"

namespace jet {

template <class T>
Status SystemFields::Field(const Row& row, int column, std::string_view kind, const T** out) const {
  *out = nullptr;
  if (column < 0 || static_cast<size_t>(column) >= row.size() || row[column].is_null()) return Status::OK();
  *out = row[column].get_if<T>();
  if (*out) return Status::OK();
  const ColumnDef& c = def_.columns[column];
  return Status::Corruption("the system table " + table_ + " is damaged: its column " + c.name + " is of type " +
                            std::string(ColumnTypeName(c.type)) + " where " + std::string(kind) + " belongs");
}

Status SystemFields::Text(const Row& row, int column, std::optional<std::string>* out) const {
  const std::string* text;
  JET_RETURN_IF_ERROR(Field(row, column, "text", &text));
  *out = text ? std::optional<std::string>(*text) : std::nullopt;
  return Status::OK();
}

Status SystemFields::Integer(const Row& row, int column, std::optional<int64_t>* out) const {
  const int64_t* number;
  JET_RETURN_IF_ERROR(Field(row, column, "a whole number", &number));
  *out = number ? std::optional<int64_t>(*number) : std::nullopt;
  return Status::OK();
}

Status SystemFields::Binary(const Row& row, int column, const Bytes** out) const {
  return Field(row, column, "binary data", out);
}

}  // namespace jet
