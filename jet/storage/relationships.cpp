#include "storage/relationships.h"

#include <strings.h>

#include <algorithm>
#include <map>
#include <optional>

#include "storage/index_key.h"
#include "storage/system_fields.h"

namespace jet {
namespace {

bool Same(const std::string& a, const std::string& b) { return strcasecmp(a.c_str(), b.c_str()) == 0; }

// The values of `columns` as one comparable key (index keys compare text as
// Jet does, without regard to case); nullopt when one of them is Null.
Status KeyOf(Database& db, const TableDef& def, const std::vector<std::string>& columns, const Row& row,
             std::optional<std::string>* key) {
  key->reset();
  std::string bytes;
  for (const std::string& name : columns) {
    const int c = def.FindColumn(name);
    if (c < 0) return Status::Corruption("relationship names a missing column " + def.name + "." + name);
    if (row[c].is_null()) return Status::OK();
    JET_RETURN_IF_ERROR(AppendIndexColumnKey(def.columns[c], row[c], true, db.format(), &bytes));
  }
  *key = std::move(bytes);
  return Status::OK();
}

// One row of MSysRelationships: a column pair of the relationship it names.
struct RelationshipRow {
  std::string name, table, column, referenced_table, referenced_column;
  int64_t order = 0;
  int32_t flags = 0;
};

Status ReadRelationshipRow(const SystemFields& fields, const Row& row, RelationshipRow* out) {
  std::optional<std::string> name, table, column, ref_table, ref_column;
  std::optional<int64_t> order, flags;
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("szRelationship"), &name));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("szObject"), &table));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("szColumn"), &column));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("szReferencedObject"), &ref_table));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("szReferencedColumn"), &ref_column));
  JET_RETURN_IF_ERROR(fields.Integer(row, fields.Column("icolumn"), &order));
  JET_RETURN_IF_ERROR(fields.Integer(row, fields.Column("grbit"), &flags));
  *out = {name.value_or(""),       table.value_or(""), column.value_or(""), ref_table.value_or(""),
          ref_column.value_or(""), order.value_or(0),  static_cast<int32_t>(flags.value_or(0))};
  return Status::OK();
}

}  // namespace

Status ReadRelationships(Database& db, std::vector<Relationship>* relationships) {
  relationships->clear();
  if (!db.FindTable("MSysRelationships")) return Status::OK();
  std::unique_ptr<TableCursor> cursor;
  JET_RETURN_IF_ERROR(db.OpenTable("MSysRelationships", &cursor));
  const SystemFields fields(cursor->def(), "MSysRelationships");
  std::map<std::string, std::vector<RelationshipRow>> by_name;
  while (cursor->Next()) {
    RelationshipRow row;
    JET_RETURN_IF_ERROR(ReadRelationshipRow(fields, cursor->row(), &row));
    by_name[row.name].push_back(std::move(row));
  }
  JET_RETURN_IF_ERROR(cursor->status());
  for (auto& [rel_name, rows] : by_name) {
    std::sort(rows.begin(), rows.end(), [](const auto& a, const auto& b) { return a.order < b.order; });
    Relationship r;
    r.name = rel_name;
    r.table = rows[0].table;
    r.referenced_table = rows[0].referenced_table;
    r.flags = rows[0].flags;
    for (const RelationshipRow& row : rows) {
      r.columns.push_back(row.column);
      r.referenced_columns.push_back(row.referenced_column);
    }
    relationships->push_back(std::move(r));
  }
  return Status::OK();
}

Status IntegrityChecker::Keys(Database& db, size_t relationship, bool referenced_side,
                              const std::set<std::string>** keys) {
  auto [it, fresh] = keys_.try_emplace({relationship, referenced_side});
  if (fresh) {
    const Relationship& r = relationships_[relationship];
    const std::vector<std::string>& columns = referenced_side ? r.referenced_columns : r.columns;
    std::unique_ptr<TableCursor> cursor;
    Status s = db.OpenTable(referenced_side ? r.referenced_table : r.table, &cursor);
    while (s.ok() && cursor->Next()) {
      std::optional<std::string> key;
      s = KeyOf(db, cursor->def(), columns, cursor->row(), &key);
      if (key) it->second.insert(std::move(*key));
    }
    if (s.ok()) s = cursor->status();
    if (!s.ok()) {
      keys_.erase(it);
      return s;
    }
  }
  *keys = &it->second;
  return Status::OK();
}

void IntegrityChecker::Forget(const std::string& table) {
  for (auto it = keys_.begin(); it != keys_.end();) {
    const Relationship& r = relationships_[it->first.first];
    it = Same(it->first.second ? r.referenced_table : r.table, table) ? keys_.erase(it) : std::next(it);
  }
}

Status IntegrityChecker::CheckRelatedRowsExist(Database& db, const std::string& table, const Row& row) {
  std::shared_ptr<const TableDef> def;
  JET_RETURN_IF_ERROR(db.GetTableDef(table, &def));
  for (size_t i = 0; i < relationships_.size(); ++i) {
    const Relationship& r = relationships_[i];
    if (!r.enforced() || !Same(r.table, table)) continue;
    std::optional<std::string> key;
    JET_RETURN_IF_ERROR(KeyOf(db, *def, r.columns, row, &key));
    if (!key) continue;
    const std::set<std::string>* keys = nullptr;
    JET_RETURN_IF_ERROR(Keys(db, i, true, &keys));
    if (!keys->count(*key)) {
      return Status::InvalidArgument(
          "You cannot add or change a record because a related record is required in table '" + r.referenced_table + "'",
          3201);
    }
  }
  return Status::OK();
}

Status IntegrityChecker::CheckNothingRefersTo(Database& db, const std::string& table, const Row& old_row,
                                              const Row* new_row) {
  std::shared_ptr<const TableDef> def;
  JET_RETURN_IF_ERROR(db.GetTableDef(table, &def));
  for (size_t i = 0; i < relationships_.size(); ++i) {
    const Relationship& r = relationships_[i];
    if (!r.enforced() || !Same(r.referenced_table, table)) continue;
    std::optional<std::string> old_key, new_key;
    JET_RETURN_IF_ERROR(KeyOf(db, *def, r.referenced_columns, old_row, &old_key));
    if (!old_key) continue;
    if (new_row) {
      JET_RETURN_IF_ERROR(KeyOf(db, *def, r.referenced_columns, *new_row, &new_key));
      if (new_key == old_key) continue;
    }
    const std::set<std::string>* keys = nullptr;
    JET_RETURN_IF_ERROR(Keys(db, i, false, &keys));
    if (!keys->count(*old_key)) continue;
    std::string message = "The record cannot be deleted or changed because table '" + r.table +
                          "' includes related records";
    // Jet would carry the change on to the related records; this engine
    // does not, so it refuses as for a relationship that does not cascade,
    // and says why.
    if (new_row ? r.cascades_updates() : r.cascades_deletes()) {
      message += " (relationship '" + r.name + "' cascades " + (new_row ? "updates" : "deletes") +
                 ", which this program does not do: change the related records first)";
    }
    return Status::InvalidArgument(message, 3200);
  }
  return Status::OK();
}

}  // namespace jet
