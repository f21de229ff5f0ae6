// Changes a row of every user table of a database — rewrites it in place,
// then deletes it and inserts it again — each in its own transaction, and
// checks the one promise that holds even for a damaged file: a transaction
// the engine refuses leaves the file byte for byte as it was.
#pragma once

#include <string>

namespace jet::testing {

struct WriteExerciseResult {
  bool opened = false;      // opened for writing
  int committed = 0;        // transactions that went through
  int refused = 0;          // transactions the engine answered with an error
  int half_written = 0;     // refused transactions that still changed the file
};

WriteExerciseResult ExerciseWriter(const std::string& path);

}  // namespace jet::testing
