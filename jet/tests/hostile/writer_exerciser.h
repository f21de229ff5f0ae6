// Changes every user table of a database — a value of its first row
// rewritten, then that row deleted and inserted again — each in its own
// transaction, and checks the promises that hold even for a damaged file: a
// transaction the engine refuses leaves the file byte for byte as it was,
// and one it commits changes what it said and nothing else. Every table and
// catalogue entry that read whole before reads the same afterwards, but for
// the committed changes.
#pragma once

#include <set>
#include <string>

namespace jet::testing {

struct WriteExerciseResult {
  bool opened = false;      // opened for writing
  int committed = 0;        // transactions that went through
  int refused = 0;          // transactions the engine answered with an error
  int half_written = 0;     // refused transactions that still changed the file
  int altered = 0;          // tables (or the catalogue) read back otherwise than the commits explain
  std::set<std::string> changed_tables;  // tables a committed transaction changed
};

WriteExerciseResult ExerciseWriter(const std::string& path);

}  // namespace jet::testing
