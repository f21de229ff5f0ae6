// Damaged copies of real fixtures, the same on every run and machine:
// scrambled definition, data and catalogue pages, absurd lengths and counts,
// page chains that loop, pages of the wrong type, truncation.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace jet::testing {

struct Case {
  const char* file;  // a fixture of fixtures/jet
  int mutations;     // damaged copies made of it
};

// Writes each damaged variant of each case's fixture to one scratch file and
// hands it to `check`, inside a trace that says how it was damaged.
void ForEachDamagedFile(const std::vector<Case>& cases, const std::function<void(const std::string& scratch)>& check);

}  // namespace jet::testing
