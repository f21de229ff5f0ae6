#include "sql/server_row_changes.h"

#include <set>

#include "jet/text_form.h"
#include "sql/translator.h"

namespace jet::sql {
namespace {

Status Targets(const ActionPlan& plan, const TableDef& def, std::vector<size_t>* targets) {
  for (const std::string& name : plan.columns) {
    const int at = def.FindColumn(name);
    if (at < 0) return UnknownField(name);
    targets->push_back(static_cast<size_t>(at));
  }
  return Status::OK();
}

Status InsertRows(Database& db, const ActionPlan& plan, const TableDef& def, const QueryResult& found,
                  const Row& fresh, int64_t* affected) {
  std::vector<size_t> targets;
  if (plan.columns.empty()) {
    for (size_t i = 0; i < found.columns.size() && i < def.columns.size(); ++i) targets.push_back(i);
  } else {
    JET_RETURN_IF_ERROR(Targets(plan, def, &targets));
  }
  if (targets.size() != found.columns.size()) {
    return Status::InvalidArgument("Number of query values and destination fields are not the same.", 3346);
  }
  for (const Row& values : found.rows) {
    ServerChange change;
    change.new_row = fresh;
    for (size_t i = 0; i < targets.size(); ++i)
      JET_RETURN_IF_ERROR(FitToColumn(values[i], def.columns[targets[i]], &change.new_row[targets[i]]));
    for (size_t i = 0; i < change.new_row.size(); ++i) {
      if (!change.new_row[i].is_null()) change.columns.push_back(i);  // the server numbers its identity columns
    }
    JET_RETURN_IF_ERROR(db.ChangeServerRow(plan.table, change));
    ++*affected;
  }
  return Status::OK();
}

// Each found row starts with the key's values; a join may bring a row twice.
Status ChangeFoundRows(Database& db, const ActionPlan& plan, const TableDef& def, const QueryResult& found,
                       int64_t* affected) {
  const IndexDef& key = *def.PrimaryKey();
  std::vector<size_t> targets;
  JET_RETURN_IF_ERROR(Targets(plan, def, &targets));
  std::set<std::string> done;
  for (const Row& values : found.rows) {
    ServerChange change;
    change.kind = plan.kind == StatementKind::kUpdate ? ServerChange::Kind::kUpdate : ServerChange::Kind::kDelete;
    change.key_row.assign(def.columns.size(), Value());
    Row key_values(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(key.columns.size()));
    std::string seen;
    for (const Value& v : key_values) seen += CanonicalText(v) + '\x1f';
    if (!done.insert(seen).second) continue;
    for (size_t i = 0; i < key.columns.size(); ++i) {
      JET_RETURN_IF_ERROR(FitToColumn(key_values[i], def.columns[key.columns[i].column], &change.key_row[key.columns[i].column]));
    }
    change.new_row = change.key_row;
    for (size_t i = 0; i < targets.size(); ++i) {
      JET_RETURN_IF_ERROR(FitToColumn(values[key.columns.size() + i], def.columns[targets[i]], &change.new_row[targets[i]]));
    }
    change.columns = targets;
    JET_RETURN_IF_ERROR(db.ChangeServerRow(plan.table, change));
    ++*affected;
  }
  return Status::OK();
}

}  // namespace

Status SelectKeysInsteadOfPlaces(const std::string& link, const TableDef& def, ActionPlan* plan) {
  if (plan->kind == StatementKind::kInsert) return Status::OK();
  const IndexDef* key = def.PrimaryKey();
  if (!key) {
    return Status::ReadOnly("The linked table '" + link +
                                "' cannot be changed: the server's table has no primary key to tell its rows apart.",
                            3027);
  }
  auto& items = plan->select.query->select.items;
  const std::string alias = items.front().expr->parts.front();  // the row's place, as table.place
  items.erase(items.begin());
  std::vector<SelectItem> keys;
  for (const IndexColumn& c : key->columns) {
    auto e = std::make_unique<Expr>();
    e->kind = ExprKind::kName;
    e->parts = {alias, def.columns[c.column].name};
    e->separators = {'.'};
    keys.push_back({std::move(e), std::string()});
  }
  items.insert(items.begin(), std::make_move_iterator(keys.begin()), std::make_move_iterator(keys.end()));
  return Status::OK();
}

Status ApplyToServer(Database& db, const ActionPlan& plan, const TableDef& def, const QueryResult& found,
                     const Row& fresh, int64_t* affected) {
  if (plan.kind == StatementKind::kInsert) return InsertRows(db, plan, def, found, fresh, affected);
  return ChangeFoundRows(db, plan, def, found, affected);
}

}  // namespace jet::sql
