// The Access lock file (.ldb beside an .mdb, .laccdb beside an .accdb):
// one 64-byte entry per user with the database open — 32 bytes of machine
// name, 32 of user name — a newcomer takes the first free entry and the
// last one out removes the file, so Access users see who else is in.
// Between our own programs an entry is live while its writer holds an
// open-file-description lock on the entry's bytes; an entry nobody locks
// was left by a program that died, and counts as free. Entering and
// leaving are done under a lock on one byte past every entry.
// Kept only on the operating system's files: a file system of a test's own
// has no other programs to tell.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "jet/file_system.h"

namespace jet {

class AccessLockFile {
 public:
  // Writes our entry and holds it; an error when the lock file cannot be
  // made or written (a read-only folder, say).
  static Status Enter(FileSystem* fs, const std::string& database_path, const std::string& user,
                      std::unique_ptr<AccessLockFile>* lock);
  // Takes our entry out again; removes the file when no one live is left in it.
  ~AccessLockFile();
  AccessLockFile(const AccessLockFile&) = delete;
  AccessLockFile& operator=(const AccessLockFile&) = delete;

  static std::string PathFor(const std::string& database_path);
  // Who is in the database now: (machine, user) for each live entry.
  static std::vector<std::pair<std::string, std::string>> Users(FileSystem* fs, const std::string& database_path);

 private:
  AccessLockFile(std::string path, int fd, uint64_t slot) : path_(std::move(path)), fd_(fd), slot_(slot) {}
  void Leave();

  std::string path_;
  int fd_ = -1;  // -1 when no lock file is kept
  uint64_t slot_ = 0;
};

}  // namespace jet
