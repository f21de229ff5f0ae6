// Saved queries: the input is a whole database file whose saved queries are
// rebuilt from MSysQueries and run with parameters made up from their
// declared types; action queries run in a transaction that is rolled back.
#include <cstdint>
#include <cstdlib>

#include "query_exerciser.h"
#include "scratch_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteScratchFile("queries.mdb", data, size);
  if (path.empty()) return 0;
  const jet::testing::QueryExerciseResult r = jet::testing::ExerciseSavedQueries(path, true);
  // A rolled-back change that reached the file is as bad as a crash.
  if (r.half_written > 0) std::abort();
  return 0;
}
