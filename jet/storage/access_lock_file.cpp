#include "storage/access_lock_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <vector>

namespace jet {
namespace {

constexpr size_t kNameBytes = 32;
constexpr size_t kEntryBytes = 2 * kNameBytes;

std::string MachineName() {
  std::array<char, 256> host{};
  if (gethostname(host.data(), host.size() - 1) != 0) return "localhost";
  return host.data();
}

void PutName(const std::string& name, uint8_t* out) {
  std::fill(out, out + kNameBytes, 0);
  std::copy_n(name.begin(), std::min(name.size(), kNameBytes - 1), out);
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
  std::unique_ptr<AccessLockFile> l(new AccessLockFile());
  l->fs_ = fs;
  l->path_ = PathFor(database_path);
  const bool exists = fs->Exists(l->path_);
  JET_RETURN_IF_ERROR(fs->Open(l->path_, exists ? FileSystem::Mode::kReadWrite : FileSystem::Mode::kCreate, &l->file_));
  uint64_t size = 0;
  JET_RETURN_IF_ERROR(l->file_->Size(&size));
  // Reuse the first empty entry, as Access does with the entries of users who left.
  std::vector<uint8_t> entries(size);
  if (size > 0) JET_RETURN_IF_ERROR(l->file_->Read(0, size, entries.data()));
  l->slot_ = size / kEntryBytes;
  for (uint64_t s = 0; s < size / kEntryBytes; ++s) {
    const auto begin = entries.begin() + s * kEntryBytes;
    if (std::all_of(begin, begin + kEntryBytes, [](uint8_t b) { return b == 0; })) {
      l->slot_ = s;
      break;
    }
  }
  uint8_t entry[kEntryBytes];
  PutName(MachineName(), entry);
  PutName(user.empty() ? "Admin" : user, entry + kNameBytes);
  JET_RETURN_IF_ERROR(l->file_->Write(l->slot_ * kEntryBytes, entry, kEntryBytes));
  *lock = std::move(l);
  return Status::OK();
}

std::vector<std::pair<std::string, std::string>> AccessLockFile::Users(FileSystem* fs, const std::string& database_path) {
  std::vector<std::pair<std::string, std::string>> users;
  std::unique_ptr<File> file;
  uint64_t size = 0;
  if (!fs->Open(PathFor(database_path), FileSystem::Mode::kRead, &file).ok() || !file->Size(&size).ok()) return users;
  std::vector<uint8_t> entries(std::min<uint64_t>(size, 255 * kEntryBytes));
  if (!file->Read(0, entries.size(), entries.data()).ok()) return users;
  auto name = [](const uint8_t* p) {
    return std::string(reinterpret_cast<const char*>(p), std::find(p, p + kNameBytes, 0) - p);
  };
  for (size_t at = 0; at + kEntryBytes <= entries.size(); at += kEntryBytes) {
    if (entries[at] == 0 && entries[at + kNameBytes] == 0) continue;
    users.emplace_back(name(entries.data() + at), name(entries.data() + at + kNameBytes));
  }
  return users;
}

AccessLockFile::~AccessLockFile() {
  const uint8_t empty[kEntryBytes] = {};
  file_->Write(slot_ * kEntryBytes, empty, kEntryBytes);
  uint64_t size = 0;
  std::vector<uint8_t> entries;
  if (file_->Size(&size).ok()) {
    entries.resize(size);
    if (!file_->Read(0, size, entries.data()).ok()) return;
  }
  file_.reset();
  if (std::all_of(entries.begin(), entries.end(), [](uint8_t b) { return b == 0; })) fs_->Remove(path_);
}

}  // namespace jet
