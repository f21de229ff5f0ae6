#include "storage/access_lock_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

namespace jet {
namespace {

constexpr size_t kNameBytes = 32;
constexpr size_t kEntryBytes = 2 * kNameBytes;
constexpr uint64_t kMaxEntries = 255;  // as many users as Access lets in
constexpr off_t kAllEntriesBytes = kMaxEntries * kEntryBytes;
// Far past the last entry, so that holding it keeps no entry from anyone.
constexpr off_t kGuardByte = 0x7FFFFFF0;
// Another program enters or leaves in a moment; a few seconds means it is stuck.
constexpr int kGuardTries = 300;
constexpr auto kGuardPause = std::chrono::milliseconds(10);
// Each retry means the last one out removed the file we had just opened.
constexpr int kReopenTries = 20;

using Entry = std::array<uint8_t, kEntryBytes>;

Status Errno(const std::string& what, const std::string& path) {
  return Status::IOError(what + " " + path + ": " + std::strerror(errno));
}

off_t EntryStart(uint64_t slot) { return static_cast<off_t>(slot * kEntryBytes); }

struct flock Range(short type, off_t start, off_t length) {
  struct flock lock = {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = start;
  lock.l_len = length;
  return lock;
}

// An exclusive lock for this open file; *taken is false when another holds part of the range.
Status TryLock(int fd, const std::string& path, off_t start, off_t length, bool* taken) {
  struct flock lock = Range(F_WRLCK, start, length);
  *taken = ::fcntl(fd, F_OFD_SETLK, &lock) == 0;
  if (*taken || errno == EAGAIN || errno == EACCES) return Status::OK();
  return Errno("cannot lock", path);
}

void Unlock(int fd, off_t start, off_t length) {
  struct flock lock = Range(F_UNLCK, start, length);
  ::fcntl(fd, F_OFD_SETLK, &lock);
}

// Whether another open file locks part of the range. When the system cannot
// tell, it counts as locked: better a user too many than a file removed
// from under someone.
bool LockedElsewhere(int fd, off_t start, off_t length) {
  struct flock lock = Range(F_WRLCK, start, length);
  return ::fcntl(fd, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

// Our locks go explicitly: a child forked meanwhile shares the descriptor
// and would otherwise keep them.
void Close(int fd) {
  Unlock(fd, 0, 0);
  ::close(fd);
}

Status TakeGuard(int fd, const std::string& path) {
  for (int i = 0; i < kGuardTries; ++i) {
    bool taken = false;
    JET_RETURN_IF_ERROR(TryLock(fd, path, kGuardByte, 1, &taken));
    if (taken) return Status::OK();
    std::this_thread::sleep_for(kGuardPause);
  }
  return Status::Busy("another program keeps the lock file " + path + " busy");
}

// Whether `path` still names the open file, or the last one out removed it.
bool StillNamed(int fd, const std::string& path) {
  struct stat opened = {}, named = {};
  return ::fstat(fd, &opened) == 0 && ::stat(path.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
         opened.st_ino == named.st_ino;
}

// Opens the lock file, made if absent, with the guard held.
Status OpenGuarded(const std::string& path, int* fd) {
  for (int i = 0; i < kReopenTries; ++i) {
    // Everyone who opens the database writes an entry here: the umask says who may.
    const int opened = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (opened < 0) return Errno("cannot open the lock file", path);
    const Status guarded = TakeGuard(opened, path);
    if (guarded.ok() && StillNamed(opened, path)) {
      *fd = opened;
      return Status::OK();
    }
    Close(opened);
    JET_RETURN_IF_ERROR(guarded);
  }
  return Status::Busy("the lock file " + path + " keeps being removed");
}

// The first entry nobody live holds: an empty one, or one a program that died left.
Status TakeFreeSlot(int fd, const std::string& path, uint64_t* slot) {
  for (uint64_t s = 0; s < kMaxEntries; ++s) {
    bool taken = false;
    JET_RETURN_IF_ERROR(TryLock(fd, path, EntryStart(s), kEntryBytes, &taken));
    if (taken) {
      *slot = s;
      return Status::OK();
    }
  }
  return Status::Busy("the database already has " + std::to_string(kMaxEntries) + " users (" + path + ")");
}

std::string MachineName() {
  std::array<char, 256> host{};
  if (gethostname(host.data(), host.size() - 1) != 0) return "localhost";
  return host.data();
}

void PutName(const std::string& name, uint8_t* out) {
  std::copy_n(name.begin(), std::min(name.size(), kNameBytes - 1), out);
}

Entry EntryFor(const std::string& user) {
  Entry entry{};
  PutName(MachineName(), entry.data());
  PutName(user.empty() ? "Admin" : user, entry.data() + kNameBytes);
  return entry;
}

std::string NameAt(const uint8_t* p) {
  return std::string(reinterpret_cast<const char*>(p), std::find(p, p + kNameBytes, 0) - p);
}

Status WriteEntry(int fd, const std::string& path, uint64_t slot, const Entry& entry) {
  const ssize_t written = ::pwrite(fd, entry.data(), entry.size(), EntryStart(slot));
  if (written == static_cast<ssize_t>(entry.size())) return Status::OK();
  if (written >= 0) errno = ENOSPC;
  return Errno("cannot write the lock file", path);
}

// Under the guard: the file goes when the entries left in it are stale.
void RemoveIfNoOneLive(int fd, const std::string& path) {
  if (!LockedElsewhere(fd, 0, kAllEntriesBytes) && StillNamed(fd, path)) ::unlink(path.c_str());
}

}  // namespace

std::string AccessLockFile::PathFor(const std::string& database_path) {
  const size_t dot = database_path.find_last_of('.');
  const size_t slash = database_path.find_last_of('/');
  const bool has_extension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  const std::string stem = has_extension ? database_path.substr(0, dot) : database_path;
  const std::string ext = has_extension ? database_path.substr(dot) : "";
  return stem + (ext == ".accdb" || ext == ".ACCDB" ? ".laccdb" : ".ldb");
}

Status AccessLockFile::Enter(FileSystem* fs, const std::string& database_path, const std::string& user,
                             std::unique_ptr<AccessLockFile>* lock) {
  const std::string path = PathFor(database_path);
  if (fs != DefaultFileSystem()) {
    lock->reset(new AccessLockFile(path, -1, 0));
    return Status::OK();
  }
  int fd = -1;
  JET_RETURN_IF_ERROR(OpenGuarded(path, &fd));
  uint64_t slot = 0;
  Status s = TakeFreeSlot(fd, path, &slot);
  if (s.ok()) s = WriteEntry(fd, path, slot, EntryFor(user));
  if (!s.ok()) {
    RemoveIfNoOneLive(fd, path);
    Close(fd);
    return s;
  }
  Unlock(fd, kGuardByte, 1);
  lock->reset(new AccessLockFile(path, fd, slot));
  return Status::OK();
}

void AccessLockFile::Leave() {
  // Without the guard someone may be entering this moment: the file is left to the last one out.
  const bool guarded = TakeGuard(fd_, path_).ok();
  WriteEntry(fd_, path_, slot_, Entry{});
  Unlock(fd_, EntryStart(slot_), kEntryBytes);
  if (guarded) RemoveIfNoOneLive(fd_, path_);
  Close(fd_);
}

AccessLockFile::~AccessLockFile() {
  if (fd_ >= 0) Leave();
}

std::vector<std::pair<std::string, std::string>> AccessLockFile::Users(FileSystem* fs,
                                                                       const std::string& database_path) {
  std::vector<std::pair<std::string, std::string>> users;
  if (fs != DefaultFileSystem()) return users;
  const int fd = ::open(PathFor(database_path).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return users;
  std::vector<uint8_t> entries(kAllEntriesBytes);
  const ssize_t read = ::pread(fd, entries.data(), entries.size(), 0);
  for (uint64_t slot = 0; read > 0 && EntryStart(slot + 1) <= read; ++slot) {
    const uint8_t* entry = entries.data() + EntryStart(slot);
    const bool empty = entry[0] == 0 && entry[kNameBytes] == 0;
    if (empty || !LockedElsewhere(fd, EntryStart(slot), kEntryBytes)) continue;  // free, or left by one who died
    users.emplace_back(NameAt(entry), NameAt(entry + kNameBytes));
  }
  ::close(fd);
  return users;
}

}  // namespace jet
