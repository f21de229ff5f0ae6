// jetdump's query options: list saved queries, run one, run SQL statements.
#pragma once

#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/query.h"

namespace jetdump {

// Each query's name, type, parameters (name and type) and SQL text.
int PrintQueries(const std::string& file, const jet::OpenOptions& options);
// Runs a saved query with parameter values by position; prints canonical CSV.
int RunSavedQuery(const std::string& file, const jet::OpenOptions& options, const std::string& query,
                  const std::vector<std::string>& values);
// Runs one statement and prints what it gives: a query's result as canonical
// CSV, a change's count of rows. Prints nothing when it fails.
jet::Status RunStatement(jet::QueryEngine& engine, const std::string& sql);
// Runs each statement in turn, all in one transaction when any of them
// changes data: prints each query's result as canonical CSV and each
// change's count of rows; on a failure nothing is changed.
int RunStatements(const std::string& file, const jet::OpenOptions& options,
                  const std::vector<std::string>& statements);

}  // namespace jetdump
