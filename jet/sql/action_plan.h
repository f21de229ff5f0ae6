// An INSERT, UPDATE or DELETE recast as the SELECT that finds what it
// changes: the rows' places and new values come out of the query machinery,
// and the writer then changes the rows one by one.
#pragma once

#include <string>
#include <vector>

#include "jet/status.h"
#include "sql/ast.h"

namespace jet::sql {

struct ActionPlan {
  StatementKind kind = StatementKind::kSelect;
  std::string table;  // the table whose rows change
  // INSERT: the target columns, empty for all of them in order.
  // UPDATE: the assigned column of each value after the row place.
  std::vector<std::string> columns;
  // UPDATE and DELETE select the row place (kRowPlaceField) first, then, for
  // UPDATE, one new value per assignment. INSERT selects the new rows.
  Statement select;
};

// Jet's 3127 for a column the changed table does not have.
Status UnknownField(const std::string& name);

// Takes the statement apart (it is left empty). InvalidArgument (3075) when
// the table to change cannot be told.
Status PlanAction(Statement&& statement, ActionPlan* plan);

}  // namespace jet::sql
