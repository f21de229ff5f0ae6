// A whole file's bytes, to hold a file up against itself before and after.
#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace jet::testing {

// One read of the whole file: the fuzz targets compare a database with
// itself after every action query, and reading it a character at a time
// through the stream, with every comparison instrumented, was most of
// their time.
inline std::vector<char> FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = in ? std::streamoff(in.tellg()) : -1;
  if (size <= 0) return {};
  std::vector<char> bytes(static_cast<size_t>(size));
  in.seekg(0);
  in.read(bytes.data(), size);
  bytes.resize(static_cast<size_t>(in.gcount()));
  return bytes;
}

}  // namespace jet::testing
