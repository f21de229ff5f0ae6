#include "test_support.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>

#include "jet/create.h"

namespace jet::testing {

std::string FixturePath(const std::string& name) {
  return std::string(TABULON_FIXTURES) + "/jet/" + name;
}

std::unique_ptr<Database> OpenFixture(const std::string& name, const OpenOptions& options) {
  std::unique_ptr<Database> db;
  Status s = Database::Open(FixturePath(name), options, &db);
  EXPECT_TRUE(s.ok()) << name << ": " << s.ToString();
  return db;
}

std::string NewDatabase(const std::string& folder, const std::string& name) {
  const std::string dir = ::testing::TempDir() + folder;
  std::filesystem::create_directories(dir);
  const std::string path = dir + "/" + name;
  for (const std::string& leftover : {path, path + "-journal", std::filesystem::path(path).replace_extension(".ldb").string()})
    std::filesystem::remove(leftover);
  Status s = CreateDatabase(path, {});
  EXPECT_TRUE(s.ok()) << s.ToString();
  return path;
}

std::string RunCommand(const std::string& command, int* exit_code) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return out;
  std::array<char, 65536> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), pipe)) > 0) out.append(buf.data(), n);
  int rc = pclose(pipe);
  if (exit_code) *exit_code = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
  return out;
}

}  // namespace jet::testing
