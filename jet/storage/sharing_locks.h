// How our programs take turns at one database file.
//
// Three one-byte lock ranges lie past 4 GB, where no page of a Jet file
// (2 GB at most) and no lock Jet takes can be:
//
//   W  writers' turn   exclusive, from a transaction's first change until its
//                      commit or rollback; one writer at a time.
//   P  commit pending  exclusive, held by the W holder from the moment it
//                      wants to write the file until it has written it.
//   R  readers         shared by every operation that reads the file; taken
//                      exclusive by the committing writer while it writes the
//                      journal and the pages.
//
// A read takes R shared only while P is free (as seen within the last few
// milliseconds), so a waiting commit holds new reads back. When reads come
// in a run, R is kept on a short lease (ReaderLease) from one operation to
// the next; a program that stops reading lets go of it within milliseconds,
// and an operation that finds a commit pending gives its lease up first.
// A writer takes W, reads and changes pages in memory (nobody else of ours
// can write meanwhile), then takes P and waits for R: the readers still in
// an operation finish it, or, for a long one (R held for a quarter of the
// wait, at most 250 ms), notice P (they look every few milliseconds while
// they read) and let go of R. Such a read takes R again
// once the commit is over; if the file changed meanwhile it cannot go on
// with the pages it already has, and starts again (Status::kStale).
// A reader therefore never sees part of a commit. Every wait is bounded by
// the same limit, after which the waiter gives up with Busy.
//
// The locks are open-file-description locks: a program that dies loses
// them with its descriptors, and the next writer to take W finds and plays
// back its journal (only the W holder may touch the file to do so).
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "jet/file_system.h"
#include "jet/status.h"
#include "storage/reader_lease.h"

namespace jet {

// The lock bytes: W, P and R.
inline constexpr uint64_t kWritersLockByte = uint64_t(1) << 32;
inline constexpr uint64_t kCommitPendingLockByte = kWritersLockByte + 1;
inline constexpr uint64_t kReadersLockByte = kWritersLockByte + 2;

class SharingLocks {
 public:
  // `file` must stay open as long as this object; it carries the locks.
  SharingLocks(File* file, std::string path, int wait_ms);

  // The writers' turn (W). Busy when another writer keeps it past the wait.
  Status LockWriters();
  void UnlockWriters();
  bool holds_writers() const { return writers_; }

  // Writing the file: P, then R exclusive once the readers have gone.
  // Ending it returns to R shared if this file was reading before.
  Status BeginFileWrite();
  void EndFileWrite();

  // An operation's read (R shared), waiting while a commit is pending.
  // `kept`, when given, tells whether R was held without a break since the
  // operation before (its lease taken back), so no writer of ours has
  // written the file since.
  Status LockReaders(bool* kept = nullptr);
  // The operation is over: R goes on a short lease for the next one.
  void FinishReading();
  // R given up now.
  void UnlockReaders();
  bool holds_readers() const { return readers_; }
  File* file() const { return file_; }

  // Whether this read has held R long enough that it should let another
  // program's waiting commit through; cheap to call often: it looks at the
  // lock at most every few milliseconds.
  bool ShouldLetCommitThrough();

 private:
  Status CommitPending(bool* pending);
  // Tries `attempt` until it succeeds or the wait runs out.
  template <typename Attempt>
  Status WaitFor(Attempt attempt, const std::string& what);

  File* file_;
  std::string path_;
  std::chrono::milliseconds wait_;
  bool writers_ = false;
  bool readers_ = false;
  std::chrono::steady_clock::time_point next_look_{};
  std::chrono::steady_clock::time_point reading_since_{};
  std::chrono::steady_clock::time_point no_commit_pending_until_{};
  std::chrono::steady_clock::time_point last_finish_{};
  std::unique_ptr<ReaderLease> lease_;  // made by the first run of reads
};

}  // namespace jet
