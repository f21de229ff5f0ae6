// Whether a database file changed since we last read it, told without
// reading it.
//
// The signals, and why they are trusted:
// - The path's device and inode: a file copied or restored over the
//   database is another file, whatever its times say.
// - The length: most commits that add pages change it.
// - The modification and status-change times, to the nanosecond. Every
//   commit writes pages and so moves them, but only to the file system's
//   clock tick (a few milliseconds on a local disk): a commit in the same
//   tick as our last look could leave all four alike. Two rules close that
//   gap. Our own writers make sure every commit moves the modification time
//   (they touch the file again once the tick has passed). Against other
//   writers (Access, the family's programs) a file changed less than a tick
//   margin ago is looked at again once the margin has passed, before what
//   is read from it is accepted: a later write then falls in a later tick.
// How often: before every read operation, with one exception. In a run of
// reads that has kept the readers' lock since the last look, none of our
// writers can have committed (a commit needs that lock exclusive), so only
// programs that take none of our locks could have changed the file: such a
// run looks again once the last look is a couple of milliseconds old, not
// before each read. Jet itself looks for other users' changes far less
// often (every PageTimeout, 5 seconds unless set otherwise).
// The Jet format has no field that every writer changes on every commit:
// the header page is rewritten by neither Jet nor us on a plain row change,
// so the file itself offers nothing better here.
#pragma once

#include <chrono>
#include <string>

#include "jet/file_system.h"
#include "jet/status.h"

namespace jet {

// After a commit that started with the file at `before`: waits for the
// clock to pass the tick of `before` and touches the file, if the commit
// left its modification time where it was.
Status MakeChangeVisible(FileSystem* fs, const std::string& path, const FileStamp& before, FileStamp* after);

class ChangeWatch {
 public:
  ChangeWatch(FileSystem* fs, std::string path) : fs_(fs), path_(std::move(path)) {}

  // Looks at the file now: `changed` when it may differ from the state last
  // accepted. What it saw is what Accept takes.
  Status Look(bool* changed);
  // Whether the last Look was less than `span` ago.
  bool LookedWithin(std::chrono::steady_clock::duration span) const {
    return std::chrono::steady_clock::now() - last_look_ < span;
  }
  // Whether the file seen by the last Look is another file than the one
  // accepted (copied or restored over it).
  bool replaced() const { return seen_.inode != accepted_.inode || seen_.device != accepted_.device; }
  // Looks again, and answers only whether the file moved since accepted.
  Status Moved(bool* moved);
  // What we hold in memory is now to be read from the file as it is; waits
  // out the tick margin first when the file changed just now.
  Status Accept();
  // Reading it failed: the next look must read again.
  void Forget() { accepted_.modified_ns = -1; }
  // After our own commit (we still hold the writers' turn): makes sure the
  // commit moved the modification time, then accepts the file as it is.
  Status AcceptOwnCommit();

 private:

  FileSystem* fs_;
  std::string path_;
  FileStamp accepted_;
  FileStamp seen_;
  std::chrono::steady_clock::time_point last_look_{};
};

}  // namespace jet
