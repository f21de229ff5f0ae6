#include "storage/journal.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <vector>

namespace jet {
namespace {

constexpr char kMagic[8] = {'J', 'E', 'T', 'J', 'R', 'N', 'L', '1'};
constexpr size_t kHeaderSize = 8 + 4 + 4 + 8 + 8 + 8;
constexpr size_t kEntrySize = 4 + 8 + 8 + 1;

uint64_t Hash(const uint8_t* data, size_t length) {
  uint64_t h = 0xcbf29ce484222325ull;  // FNV-1a
  for (size_t i = 0; i < length; ++i) h = (h ^ data[i]) * 0x100000001b3ull;
  return h;
}

void Put32(std::vector<uint8_t>* out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out->push_back(static_cast<uint8_t>(v >> (8 * i)));
}
void Put64(std::vector<uint8_t>* out, uint64_t v) {
  for (int i = 0; i < 8; ++i) out->push_back(static_cast<uint8_t>(v >> (8 * i)));
}
uint64_t Get64(const uint8_t* p) { return Get32(p) | (uint64_t(Get32(p + 4)) << 32); }

std::string Folder(const std::string& path) { return std::filesystem::path(path).parent_path().string(); }

struct JournalEntry {
  uint32_t page = 0;
  uint64_t original_hash = 0;
  uint64_t new_hash = 0;
  bool has_original = false;  // false for pages the commit adds to the file
  const uint8_t* original = nullptr;
};

struct Journal {
  uint32_t page_size = 0;
  uint64_t original_size = 0;
  uint64_t new_size = 0;
  uint64_t header_hash = 0;  // of page 0 before the commit
  std::vector<JournalEntry> entries;
};

Status BuildJournal(const Pager& pager, std::vector<uint8_t>* out) {
  const uint32_t ps = pager.page_size();
  out->assign(kMagic, kMagic + 8);
  Put32(out, ps);
  Put32(out, static_cast<uint32_t>(pager.changed_pages().size()));
  Put64(out, uint64_t(pager.committed_page_count()) * ps);
  Put64(out, uint64_t(pager.page_count()) * ps);
  Page header;
  JET_RETURN_IF_ERROR(pager.ReadCommittedPage(0, &header));
  Put64(out, Hash(header.data(), ps));
  std::vector<const uint8_t*> originals;
  for (const auto& [number, data] : pager.changed_pages()) {
    const bool existing = number < pager.committed_page_count();
    Page original;
    if (existing) {
      JET_RETURN_IF_ERROR(pager.ReadCommittedPage(number, &original));
      originals.push_back(original.data());
    }
    Put32(out, number);
    Put64(out, existing ? Hash(original.data(), ps) : 0);
    Put64(out, Hash(data.get(), ps));
    out->push_back(existing ? 1 : 0);
  }
  for (const uint8_t* original : originals) out->insert(out->end(), original, original + ps);
  Put64(out, Hash(out->data(), out->size()));
  return Status::OK();
}

// False when the bytes are not a whole journal (a commit stopped while
// writing it, before the database was touched).
bool ParseJournal(const std::vector<uint8_t>& bytes, Journal* journal) {
  if (bytes.size() < kHeaderSize + 8 || std::memcmp(bytes.data(), kMagic, 8) != 0) return false;
  const size_t body = bytes.size() - 8;
  if (Get64(bytes.data() + body) != Hash(bytes.data(), body)) return false;
  const uint8_t* p = bytes.data() + 8;
  journal->page_size = Get32(p);
  const uint32_t count = Get32(p + 4);
  journal->original_size = Get64(p + 8);
  journal->new_size = Get64(p + 16);
  journal->header_hash = Get64(p + 24);
  if (journal->page_size != 2048 && journal->page_size != 4096) return false;
  size_t pos = kHeaderSize;
  if (uint64_t(count) * kEntrySize > body - pos) return false;
  size_t image = pos + size_t(count) * kEntrySize;
  for (uint32_t i = 0; i < count; ++i, pos += kEntrySize) {
    JournalEntry e;
    e.page = Get32(bytes.data() + pos);
    e.original_hash = Get64(bytes.data() + pos + 4);
    e.new_hash = Get64(bytes.data() + pos + 12);
    e.has_original = bytes[pos + 20] != 0;
    if (e.has_original) {
      if (image + journal->page_size > body) return false;
      e.original = bytes.data() + image;
      image += journal->page_size;
    }
    journal->entries.push_back(e);
  }
  return image == body;
}

// Puts the original images back and cuts the file to its old length.
Status Restore(File* database, const Journal& journal) {
  for (const JournalEntry& e : journal.entries) {
    if (!e.has_original) continue;
    JET_RETURN_IF_ERROR(database->Write(uint64_t(e.page) * journal.page_size, e.original, journal.page_size));
  }
  JET_RETURN_IF_ERROR(database->Truncate(journal.original_size));
  return database->Sync();
}

// Whether every page the journal names holds its old or its new image, so
// that nobody but the interrupted commit has written to the file since.
Status MatchesJournal(File* database, const Journal& journal, bool* matches) {
  *matches = false;
  uint64_t size = 0;
  JET_RETURN_IF_ERROR(database->Size(&size));
  if (size < journal.original_size || size > std::max(journal.original_size, journal.new_size)) return Status::OK();
  std::vector<uint8_t> page(journal.page_size);
  // The header page tells whether anyone else has been at the file, even
  // when the commit did not touch it.
  const bool header_changed = std::any_of(journal.entries.begin(), journal.entries.end(),
                                          [](const JournalEntry& e) { return e.page == 0; });
  if (!header_changed) {
    JET_RETURN_IF_ERROR(database->Read(0, page.size(), page.data()));
    if (Hash(page.data(), page.size()) != journal.header_hash) return Status::OK();
  }
  for (const JournalEntry& e : journal.entries) {
    const uint64_t offset = uint64_t(e.page) * journal.page_size;
    if (offset + journal.page_size > size) {
      if (e.has_original) return Status::OK();  // an old page cannot have gone
      continue;
    }
    JET_RETURN_IF_ERROR(database->Read(offset, page.size(), page.data()));
    const uint64_t h = Hash(page.data(), page.size());
    const bool is_old = e.has_original && h == e.original_hash;
    // A page the commit added may still be the zeroes the file grew with.
    const bool is_unwritten = !e.has_original && std::all_of(page.begin(), page.end(), [](uint8_t b) { return b == 0; });
    if (!is_old && !is_unwritten && h != e.new_hash) return Status::OK();
  }
  *matches = true;
  return Status::OK();
}

Status WriteJournal(FileSystem* fs, const std::string& path, const std::vector<uint8_t>& bytes) {
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(fs->Open(path, FileSystem::Mode::kCreate, &file));
  JET_RETURN_IF_ERROR(file->Write(0, bytes.data(), bytes.size()));
  JET_RETURN_IF_ERROR(file->Sync());
  return fs->SyncDirectory(Folder(path));
}

Status WritePages(File* database, const Pager& pager) {
  const uint32_t ps = pager.page_size();
  const auto& changed = pager.changed_pages();
  for (const auto& [number, data] : changed) {
    if (number == 0) continue;
    JET_RETURN_IF_ERROR(database->Write(uint64_t(number) * ps, data.get(), ps));
  }
  JET_RETURN_IF_ERROR(database->Sync());
  // The header last: whatever page 0 says about the file should only ever
  // describe pages that are already there.
  if (auto it = changed.find(0); it != changed.end()) {
    JET_RETURN_IF_ERROR(database->Write(0, it->second.get(), ps));
    JET_RETURN_IF_ERROR(database->Sync());
  }
  return Status::OK();
}

}  // namespace

std::string JournalPath(const std::string& database_path) { return database_path + "-journal"; }

Status CommitPages(FileSystem* fs, const std::string& database_path, Pager* pager) {
  if (pager->changed_pages().empty()) return Status::OK();
  const std::string journal_path = JournalPath(database_path);
  std::vector<uint8_t> bytes;
  Status s = BuildJournal(*pager, &bytes);
  if (s.ok()) s = WriteJournal(fs, journal_path, bytes);
  if (!s.ok()) {
    // The database is untouched; a partial journal is harmless but untidy.
    fs->Remove(journal_path);
    pager->DiscardChanges();
    return Status::IOError("the changes were not saved: " + s.message());
  }
  s = WritePages(pager->file(), *pager);
  if (s.ok()) s = fs->Remove(journal_path);
  if (s.ok()) s = fs->SyncDirectory(Folder(journal_path));
  if (s.ok()) {
    pager->AcceptChanges();
    return Status::OK();
  }
  Journal journal;
  std::string note;
  if (ParseJournal(bytes, &journal) && Restore(pager->file(), journal).ok() && fs->Remove(journal_path).ok()) {
    note = "; the database was left as it was";
  } else {
    note = "; the database will be restored from its journal when it is next opened";
  }
  pager->DiscardChanges();
  return Status::IOError("the changes were not saved: " + s.message() + note);
}

namespace {

Status LoadJournal(FileSystem* fs, const std::string& journal_path, std::vector<uint8_t>* bytes) {
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(fs->Open(journal_path, FileSystem::Mode::kRead, &file));
  uint64_t size = 0;
  JET_RETURN_IF_ERROR(file->Size(&size));
  if (size > (uint64_t(1) << 32)) return Status::Corruption("journal " + journal_path + " is impossibly large");
  bytes->resize(size);
  return file->Read(0, bytes->size(), bytes->data());
}

}  // namespace

Status ReadHotJournal(FileSystem* fs, const std::string& database_path, File* database,
                      std::map<uint32_t, std::vector<uint8_t>>* originals, uint64_t* original_size, bool* found) {
  *found = false;
  const std::string journal_path = JournalPath(database_path);
  if (!fs->Exists(journal_path)) return Status::OK();
  std::vector<uint8_t> bytes;
  Journal journal;
  if (!LoadJournal(fs, journal_path, &bytes).ok() || !ParseJournal(bytes, &journal)) return Status::OK();
  bool matches = false;
  JET_RETURN_IF_ERROR(MatchesJournal(database, journal, &matches));
  if (!matches) return Status::OK();
  for (const JournalEntry& e : journal.entries) {
    if (e.has_original) (*originals)[e.page].assign(e.original, e.original + journal.page_size);
  }
  *original_size = journal.original_size;
  *found = true;
  return Status::OK();
}

Status RecoverJournal(FileSystem* fs, const std::string& database_path, File* database,
                      RecoveryOutcome* outcome, std::string* notice) {
  *outcome = RecoveryOutcome::kNone;
  notice->clear();
  const std::string journal_path = JournalPath(database_path);
  if (!fs->Exists(journal_path)) return Status::OK();
  std::vector<uint8_t> bytes;
  JET_RETURN_IF_ERROR(LoadJournal(fs, journal_path, &bytes));
  Journal journal;
  if (!ParseJournal(bytes, &journal)) {
    JET_RETURN_IF_ERROR(fs->Remove(journal_path));
    JET_RETURN_IF_ERROR(fs->SyncDirectory(Folder(journal_path)));
    *outcome = RecoveryOutcome::kDiscarded;
    *notice = "an unfinished journal of a commit that never started was removed";
    return Status::OK();
  }
  bool matches = false;
  JET_RETURN_IF_ERROR(MatchesJournal(database, journal, &matches));
  if (matches) {
    JET_RETURN_IF_ERROR(Restore(database, journal));
    JET_RETURN_IF_ERROR(fs->Remove(journal_path));
    JET_RETURN_IF_ERROR(fs->SyncDirectory(Folder(journal_path)));
    *outcome = RecoveryOutcome::kRolledBack;
    *notice = "changes interrupted by a crash were undone";
    return Status::OK();
  }
  std::string aside = journal_path + ".set-aside";
  for (int n = 2; fs->Exists(aside); ++n) aside = journal_path + ".set-aside-" + std::to_string(n);
  JET_RETURN_IF_ERROR(fs->Rename(journal_path, aside));
  JET_RETURN_IF_ERROR(fs->SyncDirectory(Folder(journal_path)));
  *outcome = RecoveryOutcome::kSetAside;
  *notice = "a journal of an interrupted commit was set aside as " + aside +
            " because the database has been changed since; nothing was undone";
  return Status::OK();
}

}  // namespace jet
