// libFuzzer entry point: the input is a whole database file.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "../tests/hostile/reader_exerciser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The engine opens files by path; give it an in-memory one.
  int fd = memfd_create("fuzz.mdb", MFD_CLOEXEC);
  if (fd < 0) return 0;
  if (write(fd, data, size) == static_cast<ssize_t>(size)) {
    jet::testing::ExerciseReader("/proc/self/fd/" + std::to_string(fd));
  }
  close(fd);
  return 0;
}
