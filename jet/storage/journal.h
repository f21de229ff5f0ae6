// The rollback journal: before a commit touches the database, the original
// images of the pages it changes go to a file beside it. A journal found at
// open means a commit was interrupted; it is played back only when the
// database still holds, page by page, either the old or the new image the
// journal recorded — anything else means someone changed the file since.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "jet/file_system.h"
#include "storage/pager.h"

namespace jet {

std::string JournalPath(const std::string& database_path);

// Writes the pager's changed pages to the database in a crash-safe order:
// journal, sync; data, index, long-value and map pages, sync; header page,
// sync; journal removed. On an error the database is restored from the
// originals where the disk lets us (else the journal stays for the next open)
// and the changes are dropped.
Status CommitPages(FileSystem* fs, const std::string& database_path, Pager* pager);

enum class RecoveryOutcome {
  kNone,            // no journal
  kRolledBack,      // an interrupted commit was undone
  kDiscarded,       // a journal cut short before the database was touched
  kSetAside,        // the database changed since: journal renamed, nothing undone
};

// Looks for a journal beside `database_path` and acts on it (see above).
// `notice` says what happened in words a user can be shown.
Status RecoverJournal(FileSystem* fs, const std::string& database_path, File* database,
                      RecoveryOutcome* outcome, std::string* notice);

// For a reader that may not write: when a journal beside the database would
// be played back, the original images it holds (by page) and the file's
// length before the interrupted commit; `found` false when there is none to
// apply.
Status ReadHotJournal(FileSystem* fs, const std::string& database_path, File* database,
                      std::map<uint32_t, std::vector<uint8_t>>* originals, uint64_t* original_size, bool* found);

}  // namespace jet
