// The table reader: the input is a whole database file, opened and read in
// full (catalogue, every definition, every row, every index as a range).
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "reader_exerciser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Nothing is written, so the file can live in memory alone.
  int fd = memfd_create("fuzz.mdb", MFD_CLOEXEC);
  if (fd < 0) return 0;
  if (write(fd, data, size) == static_cast<ssize_t>(size)) {
    // Dated back, as the scratch files are (see scratch_file.cpp).
    struct timespec times[2];
    clock_gettime(CLOCK_REALTIME, &times[0]);
    times[0].tv_sec -= 1;
    times[1] = times[0];
    futimens(fd, times);
    jet::testing::ExerciseReader("/proc/self/fd/" + std::to_string(fd));
  }
  close(fd);
  return 0;
}
