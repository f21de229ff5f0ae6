// INSERT, UPDATE and DELETE on a table linked to a server: the rows the
// statement finds are told by their primary key rather than by a place in
// the file, and each change goes to the server in the engine's transaction.
#pragma once

#include "jet/database.h"
#include "jet/query.h"
#include "sql/action_plan.h"

namespace jet::sql {

// For an UPDATE or DELETE: the select gives the key's values (in the key's
// column order) where it gave the row's place. ReadOnly (3027) when the
// server's table has no primary key.
Status SelectKeysInsteadOfPlaces(const std::string& link, const TableDef& def, ActionPlan* plan);

// Sends what the select found: new rows (`fresh` holds the columns'
// defaults), or the key's values followed, for an UPDATE, by the new ones.
Status ApplyToServer(Database& db, const ActionPlan& plan, const TableDef& def, const QueryResult& found,
                     const Row& fresh, int64_t* affected);

}  // namespace jet::sql
