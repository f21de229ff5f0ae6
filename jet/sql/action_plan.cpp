#include "sql/action_plan.h"

#include "sql/function_support.h"
#include "sql/translator.h"

namespace jet::sql {
namespace {

bool SameName(const std::string& a, const std::string& b) { return FoldCase(a) == FoldCase(b); }

// The named table in `ref` (a join is searched on both sides) whose alias,
// or name when it has none, is `alias`; any named table when `alias` is empty.
const TableRef* FindNamed(const TableRef& ref, const std::string& alias) {
  if (ref.kind == TableRef::Kind::kNamed) {
    const std::string& known = ref.alias.empty() ? ref.name : ref.alias;
    return alias.empty() || SameName(known, alias) ? &ref : nullptr;
  }
  if (ref.kind != TableRef::Kind::kJoin) return nullptr;
  if (const TableRef* left = FindNamed(*ref.left, alias)) return left;
  return FindNamed(*ref.right, alias);
}

Status TargetTable(const std::vector<std::unique_ptr<TableRef>>& from, const std::string& alias,
                   const TableRef** target) {
  for (const auto& ref : from) {
    if ((*target = FindNamed(*ref, alias))) return Status::OK();
  }
  if (alias.empty()) return Status::InvalidArgument("The statement names no table to change.", 3075);
  return Status::InvalidArgument("Could not find the table '" + alias + "' the statement changes.", 3078);
}

// Rows of another file are only read here: changing them would need that
// file's own writer and transaction.
Status RefuseOtherDatabase(const std::string& table, const std::string& database) {
  if (database.empty()) return Status::OK();
  return Status::Unsupported("'" + table + "' is a table of another database (IN '" + database +
                             "'); open that database to change it.");
}

Status RefuseOtherDatabase(const TableRef& target) {
  return RefuseOtherDatabase(target.name, target.external_db.empty() ? target.external_connect : target.external_db);
}

ExprPtr RowPlace(const TableRef& target) {
  auto e = std::make_unique<Expr>();
  e->kind = ExprKind::kName;
  e->parts = {target.alias.empty() ? target.name : target.alias, kRowPlaceField};
  e->separators = {'.'};
  return e;
}

// The table a DELETE's targets (t.*, t.Field) point at; empty when unqualified.
std::string DeleteAlias(const std::vector<ExprPtr>& targets) {
  for (const auto& t : targets) {
    if (t->kind == ExprKind::kStar && !t->parts.empty()) return t->parts[0];
    if (t->kind == ExprKind::kName && t->parts.size() >= 2) return t->parts[0];
  }
  return std::string();
}

Status PlanInsert(Statement&& st, ActionPlan* plan) {
  JET_RETURN_IF_ERROR(RefuseOtherDatabase(st.target_table, st.target_database));
  plan->table = st.target_table;
  plan->columns = std::move(st.target_columns);
  if (st.query) {
    plan->select.query = std::move(st.query);
    return Status::OK();
  }
  auto q = std::make_shared<QueryExpr>();
  for (auto& v : st.values) q->select.items.push_back({std::move(v), std::string()});
  plan->select.query = std::move(q);
  return Status::OK();
}

Status PlanUpdate(Statement&& st, ActionPlan* plan) {
  std::string alias;
  for (const auto& a : st.assignments) {
    if (a.target->parts.size() >= 2) alias = a.target->parts[a.target->parts.size() - 2];
  }
  const TableRef* target = nullptr;
  JET_RETURN_IF_ERROR(TargetTable(st.update_tables, alias, &target));
  JET_RETURN_IF_ERROR(RefuseOtherDatabase(*target));
  plan->table = target->name;
  auto q = std::make_shared<QueryExpr>();
  q->select.items.push_back({RowPlace(*target), std::string()});
  for (auto& a : st.assignments) {
    plan->columns.push_back(a.target->parts.back());
    q->select.items.push_back({std::move(a.value), std::string()});
  }
  q->select.from = std::move(st.update_tables);
  q->select.where = std::move(st.where);
  plan->select.query = std::move(q);
  return Status::OK();
}

Status PlanDelete(Statement&& st, ActionPlan* plan) {
  if (!st.query) return Status::InvalidArgument("DELETE needs a FROM clause.", 3075);
  const TableRef* target = nullptr;
  JET_RETURN_IF_ERROR(TargetTable(st.query->select.from, DeleteAlias(st.delete_targets), &target));
  JET_RETURN_IF_ERROR(RefuseOtherDatabase(*target));
  plan->table = target->name;
  st.query->select.items.clear();
  st.query->select.items.push_back({RowPlace(*target), std::string()});
  plan->select.query = std::move(st.query);
  return Status::OK();
}

}  // namespace

Status UnknownField(const std::string& name) {
  return Status::InvalidArgument("The statement contains the following unknown field name: '" + name +
                                     "'.  Make sure you have typed the name correctly, and try the operation again.",
                                 3127);
}

Status PlanAction(Statement&& statement, ActionPlan* plan) {
  plan->kind = statement.kind;
  plan->select.kind = StatementKind::kSelect;
  plan->select.parameters = std::move(statement.parameters);
  switch (statement.kind) {
    case StatementKind::kInsert: return PlanInsert(std::move(statement), plan);
    case StatementKind::kUpdate: return PlanUpdate(std::move(statement), plan);
    case StatementKind::kDelete: return PlanDelete(std::move(statement), plan);
    default:
      if (statement.query && !statement.query->is_union && !statement.query->select.into_table.empty()) {
        return Status::Unsupported("Make-table queries (SELECT ... INTO " + statement.query->select.into_table +
                                   ") cannot be run here; create the table and use INSERT INTO ... SELECT.");
      }
      return Status::InvalidArgument("Cannot execute a select query.", 3065);
  }
}

}  // namespace jet::sql
