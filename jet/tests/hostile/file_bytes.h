// A whole file's bytes, to hold a file up against itself before and after.
#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace jet::testing {

inline std::vector<char> FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<char>(std::istreambuf_iterator<char>(in), {});
}

}  // namespace jet::testing
