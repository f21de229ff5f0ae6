#include "scratch_file.h"

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
  return out ? path : std::string();
}

}  // namespace fuzz
