// Runs every saved query of a database, as a report run would: each query's
// SQL is rebuilt from MSysQueries, its parameters are asked for, and it runs
// with values made up from their declared types. Selects, unions and
// crosstabs give rows; action queries run inside a transaction that is then
// rolled back, which must leave the file byte for byte as it was.
#pragma once

#include <string>

namespace jet::testing {

struct QueryExerciseResult {
  bool opened = false;
  int queries = 0;       // saved queries the catalogue lists
  int ran = 0;           // that ran to the end
  int refused = 0;       // that ended with an error
  long rows = 0;         // rows the selects gave
  int half_written = 0;  // rolled-back action queries that still changed the file
};

// `writable` opens the file for writing so that action queries run too.
QueryExerciseResult ExerciseSavedQueries(const std::string& path, bool writable);

}  // namespace jet::testing
