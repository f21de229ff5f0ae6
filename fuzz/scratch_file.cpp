#include "scratch_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fuzz {
namespace {

std::string MakeFolder() {
  const char* base = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
  std::string pattern = std::string(base) + "/tabulon-fuzz-XXXXXX";
  if (!mkdtemp(pattern.data())) std::abort();
  return pattern;
}

void RemoveFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(ScratchFolder(), ignored);
}

}  // namespace

const std::string& ScratchFolder() {
  // Never destroyed: the exit handler that removes the folder needs its name.
  static const std::string* folder = [] {
    auto* f = new std::string(MakeFolder());
    std::atexit(RemoveFolder);
    return f;
  }();
  return *folder;
}

std::string WriteScratchFile(const std::string& name, const uint8_t* data, size_t size) {
  const std::string path = ScratchFolder() + "/" + name;
  std::error_code ignored;
  // A lock file left by an input that ended the process.
  std::filesystem::remove(std::filesystem::path(path).replace_extension(".ldb"), ignored);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  out.close();
  if (!out) return std::string();
  // Dated a second back: a file changed within the file system's clock tick
  // makes the engine wait the tick out before it trusts what it reads.
  struct timespec times[2];
  clock_gettime(CLOCK_REALTIME, &times[0]);
  times[0].tv_sec -= 1;
  times[1] = times[0];
  utimensat(AT_FDCWD, path.c_str(), times, 0);
  return path;
}

}  // namespace fuzz
