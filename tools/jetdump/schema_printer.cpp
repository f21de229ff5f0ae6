#include "schema_printer.h"

#include <cstdio>

#include "jet/text_form.h"

namespace jetdump {
namespace {

std::string PropertyText(const jet::Value& v) { return v.is_null() ? "Null" : jet::CanonicalText(v); }

std::string ColumnLine(const jet::ColumnDef& c) {
  std::string line = "  " + c.name + "\t" + std::string(jet::ColumnTypeName(c.type));
  if (c.type == jet::ColumnType::kText || c.type == jet::ColumnType::kBinary) {
    line += " (" + std::to_string(c.size) + ")";
  }
  if (c.type == jet::ColumnType::kDecimal) {
    line += " (" + std::to_string(c.precision) + "," + std::to_string(c.scale) + ")";
  }
  if (c.autonumber) line += " autonumber";
  if (c.guid_autonumber) line += " guid-autonumber";
  if (!c.nullable) line += " required";
  for (const auto& [name, value] : c.properties.entries()) line += "\t" + name + "=" + PropertyText(value);
  return line + "\n";
}

std::string IndexLine(const jet::TableDef& def, const jet::IndexDef& idx) {
  std::string line = "  index " + idx.name + " (";
  for (size_t i = 0; i < idx.columns.size(); ++i) {
    if (i) line += ", ";
    line += def.columns[idx.columns[i].column].name + (idx.columns[i].ascending ? "" : " DESC");
  }
  line += ")";
  if (idx.primary) line += " primary";
  if (idx.unique) line += " unique";
  if (idx.required) line += " required";
  if (idx.ignore_nulls) line += " ignore-nulls";
  if (idx.foreign_key) line += " foreign-key";
  return line + " distinct=" + std::to_string(idx.distinct_count) + "\n";
}

int PrintTable(jet::Database& db, const std::string& name) {
  std::shared_ptr<const jet::TableDef> def;
  if (jet::Status s = db.GetTableDef(name, &def); !s.ok()) {
    std::fprintf(stderr, "jetdump: %s\n", s.ToString().c_str());
    return 1;
  }
  std::string out = "table " + name + " (definition page " + std::to_string(def->tdef_page) + ")\n";
  for (const auto& [prop, value] : def->properties.entries()) out += "  property " + prop + "=" + PropertyText(value) + "\n";
  for (const auto& c : def->columns) out += ColumnLine(c);
  for (const auto& idx : def->indexes) out += IndexLine(*def, idx);
  std::fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

}  // namespace

int PrintSchema(jet::Database& db, const std::string& table, bool system) {
  if (!table.empty()) return PrintTable(db, table);
  int rc = 0;
  for (const auto& e : db.catalog()) {
    if (e.kind != jet::ObjectKind::kTable && e.kind != jet::ObjectKind::kLinkedTable &&
        e.kind != jet::ObjectKind::kLinkedOdbc) {
      continue;
    }
    if (e.system && !system) continue;
    rc |= PrintTable(db, e.name);
  }
  return rc;
}

}  // namespace jetdump
