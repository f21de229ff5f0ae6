// The writer: the input is a whole database file, opened for writing and
// changed (updates, deletes and inserts in several transactions). Each
// transaction must be refused, leaving the file as it was, or committed,
// changing what it said and nothing else.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "scratch_file.h"
#include "writer_exerciser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteScratchFile("written.mdb", data, size);
  if (path.empty()) return 0;
  const jet::testing::WriteExerciseResult r = jet::testing::ExerciseWriter(path);
  if (r.half_written > 0 || r.altered > 0) {
    std::fprintf(stderr, "writer broke its promise: %d refused transaction(s) changed the file, %d table(s) altered\n",
                 r.half_written, r.altered);
    std::abort();
  }
  return 0;
}
