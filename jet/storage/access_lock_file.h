// The Access lock file (.ldb beside an .mdb, .laccdb beside an .accdb):
// Access lists each user with the file open in it — 32 bytes of machine
// name, 32 of user name — and the last one out removes it. A writer here
// keeps the same convention so Access users see who else is in the file.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "jet/file_system.h"

namespace jet {

class AccessLockFile {
 public:
  static Status Enter(FileSystem* fs, const std::string& database_path, const std::string& user,
                      std::unique_ptr<AccessLockFile>* lock);
  // Takes our entry out again; removes the file when no one is left in it.
  ~AccessLockFile();

  static std::string PathFor(const std::string& database_path);
  // Who the lock file lists: (machine, user) for each entry in use.
  static std::vector<std::pair<std::string, std::string>> Users(FileSystem* fs, const std::string& database_path);

 private:
  AccessLockFile() = default;
  FileSystem* fs_ = nullptr;
  std::string path_;
  std::unique_ptr<File> file_;
  uint64_t slot_ = 0;
};

}  // namespace jet
