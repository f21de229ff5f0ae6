// Reads everything a database offers — catalogue, every table definition,
// every row — and reports only whether it got through; used on damaged files,
// where any outcome but a crash or a hang is acceptable.
#pragma once

#include <string>

namespace jet::testing {

struct ExerciseResult {
  bool opened = false;
  int tables_read = 0;
  int errors = 0;
  long rows = 0;
};

ExerciseResult ExerciseReader(const std::string& path);

}  // namespace jet::testing
