#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "jet/file_system.h"

namespace jet {
namespace {

Status Errno(const std::string& what, const std::string& path) {
  const int err = errno;
  if (err == ENOSPC) return Status::IOError(what + " " + path + ": disk full");
  return Status::IOError(what + " " + path + ": " + std::strerror(err));
}

class PosixFile : public File {
 public:
  PosixFile(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
  ~PosixFile() override { ::close(fd_); }

  Status Read(uint64_t offset, size_t length, uint8_t* out) override {
    while (length > 0) {
      ssize_t n = ::pread(fd_, out, length, static_cast<off_t>(offset));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return Errno("cannot read", path_);
      if (n == 0) return Status::IOError("unexpected end of " + path_);
      out += n;
      offset += n;
      length -= n;
    }
    return Status::OK();
  }

  Status Write(uint64_t offset, const uint8_t* data, size_t length) override {
    while (length > 0) {
      ssize_t n = ::pwrite(fd_, data, length, static_cast<off_t>(offset));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return Errno("cannot write", path_);
      data += n;
      offset += n;
      length -= n;
    }
    return Status::OK();
  }

  Status Sync() override {
    if (::fdatasync(fd_) != 0) return Errno("cannot sync", path_);
    return Status::OK();
  }

  Status Size(uint64_t* size) override {
    struct stat st;
    if (::fstat(fd_, &st) != 0) return Errno("cannot stat", path_);
    *size = static_cast<uint64_t>(st.st_size);
    return Status::OK();
  }

  Status Truncate(uint64_t size) override {
    if (::ftruncate(fd_, static_cast<off_t>(size)) != 0) return Errno("cannot truncate", path_);
    return Status::OK();
  }

  Status TryLock(uint64_t offset, LockKind kind) override {
    struct flock lock = Range(offset, kind == LockKind::kShared ? F_RDLCK : F_WRLCK);
    if (::fcntl(fd_, F_OFD_SETLK, &lock) == 0) return Status::OK();
    if (errno == EAGAIN || errno == EACCES) {
      return Status::Busy("the database " + path_ + " is being changed by another program", 3261);
    }
    return Errno("cannot lock", path_);
  }

  void Unlock(uint64_t offset) override {
    struct flock lock = Range(offset, F_UNLCK);
    ::fcntl(fd_, F_OFD_SETLK, &lock);
  }

  Status IsLocked(uint64_t offset, LockKind kind, bool* locked) override {
    struct flock lock = Range(offset, kind == LockKind::kShared ? F_RDLCK : F_WRLCK);
    if (::fcntl(fd_, F_OFD_GETLK, &lock) != 0) return Errno("cannot test a lock of", path_);
    *locked = lock.l_type != F_UNLCK;
    return Status::OK();
  }

 private:
  static struct flock Range(uint64_t offset, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(offset);
    lock.l_len = 1;
    return lock;
  }

  int fd_;
  std::string path_;
};

class PosixFileSystem : public FileSystem {
 public:
  Status Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) override {
    int flags = O_CLOEXEC;
    switch (mode) {
      case Mode::kRead: flags |= O_RDONLY; break;
      case Mode::kReadWrite: flags |= O_RDWR; break;
      case Mode::kCreate: flags |= O_RDWR | O_CREAT | O_TRUNC; break;
    }
    int fd = ::open(path.c_str(), flags, 0644);
    if (fd < 0) {
      if (errno == ENOENT) return Status::NotFound("file not found: " + path);
      return Errno("cannot open", path);
    }
    *file = std::make_unique<PosixFile>(fd, path);
    return Status::OK();
  }

  bool Exists(const std::string& path) override { return ::access(path.c_str(), F_OK) == 0; }
  bool IsWritable(const std::string& path) override { return ::access(path.c_str(), W_OK) == 0; }

  Status Remove(const std::string& path) override {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) return Errno("cannot remove", path);
    return Status::OK();
  }

  Status Rename(const std::string& from, const std::string& to) override {
    if (::rename(from.c_str(), to.c_str()) != 0) return Errno("cannot rename", from);
    return Status::OK();
  }

  Status SyncDirectory(const std::string& directory) override {
    int fd = ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return Errno("cannot open folder", directory);
    int rc = ::fsync(fd);
    ::close(fd);
    if (rc != 0) return Errno("cannot sync folder", directory);
    return Status::OK();
  }

  Status Stamp(const std::string& path, FileStamp* stamp) override {
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) {
      if (errno == ENOENT) return Status::NotFound("file not found: " + path);
      return Errno("cannot stat", path);
    }
    auto ns = [](const struct timespec& t) { return int64_t(t.tv_sec) * 1000000000 + t.tv_nsec; };
    *stamp = {uint64_t(st.st_dev), uint64_t(st.st_ino), uint64_t(st.st_size), ns(st.st_mtim), ns(st.st_ctim)};
    return Status::OK();
  }

  Status Touch(const std::string& path) override {
    if (::utimensat(AT_FDCWD, path.c_str(), nullptr, 0) != 0) return Errno("cannot touch", path);
    return Status::OK();
  }
};

}  // namespace

FileSystem* DefaultFileSystem() {
  static PosixFileSystem* fs = new PosixFileSystem();
  return fs;
}

}  // namespace jet
