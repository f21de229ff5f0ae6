#include "jet/database.h"

#include <strings.h>

#include <chrono>
#include <cstring>
#include <deque>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>

#include "storage/access_lock_file.h"
#include "storage/catalog_reader.h"
#include "storage/change_watch.h"
#include "storage/journal.h"
#include "storage/relationships.h"
#include "storage/server_link_reader.h"
#include "storage/sharing_locks.h"
#include "storage/table_reader.h"
#include "storage/table_scan.h"
#include "storage/table_writer.h"

namespace jet {

struct Database::Impl {
  std::string path;
  OpenOptions options;
  FileSystem* fs = nullptr;
  std::unique_ptr<Pager> pager;
  std::unique_ptr<TextReader> text;
  CatalogContents catalog;
  // Catalogues replaced by a change another program made, kept a while for
  // callers still holding one of their entries.
  std::deque<std::vector<CatalogEntry>> retired_entries;
  std::map<uint32_t, std::shared_ptr<const TableLayout>> layouts;  // by TDEF page
  std::map<std::string, std::unique_ptr<Database>> linked;         // by resolved path
  ServerSnapshots server_snapshots;  // ODBC links listed for browsing
  // Writing: the writer works on the pager's pages, so it goes first.
  std::unique_ptr<AccessLockFile> lock_file;
  std::unique_ptr<Writer> writer;
  bool in_transaction = false;
  uint64_t generation = 0;
  std::string notice;
  // Sharing the file: the lock protocol and what we last saw of it.
  std::unique_ptr<SharingLocks> locks;
  std::unique_ptr<ChangeWatch> watch;
  int read_depth = 0;
  bool changed_under_read = false;  // in the current operation
  std::unique_ptr<IntegrityChecker> integrity;  // made on the first change

  Status Layout(const CatalogEntry& entry, std::shared_ptr<const TableLayout>* out);
  Status LinkedDatabase(const CatalogEntry& link, Database** db, Database* owner);
  // A readable table by name: its catalogue entry and, for a Jet link, the
  // linked database that holds it (nullptr for a local table).
  Status Locate(const std::string& name, Database* owner, const CatalogEntry** entry, Database** linked);
  // An ODBC link with the columns it is read as (see LinkDefinition).
  Status ServerLinkOf(const CatalogEntry& entry, ServerLink* link);
  Status OpenServerRows(const CatalogEntry& entry, const ServerQuery& query, std::unique_ptr<TableCursor>* cursor) {
    ServerLink link;
    JET_RETURN_IF_ERROR(ServerLinkOf(entry, &link));
    return link.tables->OpenRows(entry, link.def, query, cursor);
  }
  // A change to the link named `table`, when it is an ODBC link: `change`
  // gets the link; nullopt for other tables.
  template <typename Change>
  std::optional<Status> ChangeLink(Database* db, const std::string& table, Change change) {
    const CatalogEntry* entry = ServerLinkNamed(db, table);
    if (!entry) return std::nullopt;
    ServerLink link;
    if (Status s = ServerLinkOf(*entry, &link); !s.ok()) return s;
    return ChangeOnServer([&] { return change(link); });
  }
  // By catalogue id: the server's definition last seen, and what it was made into.
  std::map<int32_t, std::pair<std::shared_ptr<const TableDef>, std::shared_ptr<const TableDef>>> server_defs;
  // A change to an ODBC link: sent to the server, and committed there at
  // once unless a transaction is open, whose commit then ends it.
  template <typename Send>
  Status ChangeOnServer(Send send);
  bool server_changed = false;  // in the open transaction
  // The link named `table` when it is an ODBC link; null otherwise.
  const CatalogEntry* ServerLinkNamed(Database* db, const std::string& table) const {
    const CatalogEntry* entry = db->FindTable(table);
    return entry && ServerOf(*entry) ? entry : nullptr;
  }
  // What reads `entry` when it is an ODBC link; null for other tables.
  ServerTables* ServerOf(const CatalogEntry& entry) const {
    return entry.kind == ObjectKind::kLinkedOdbc ? options.server_tables.get() : nullptr;
  }
  Status OpenForWriting(FileSystem* fs);
  Status WritableTable(Database* db, const std::string& name, std::shared_ptr<const TableLayout>* layout);
  // Outside a transaction each change is committed (or dropped) on its own.
  Status Finish(Status change);
  Status CommitNow();
  Status Integrity(Database* db, IntegrityChecker** out);
  Status ShowStateBeforeInterruptedCommit();
  // Reading: the readers' lock, and the file read again when it changed.
  Status BeginRead();
  void EndRead();
  Status ReadAgainIfChanged();
  Status ReadAgain();
  Status ReadCatalogAgain();
  void StartSharing();
  Status AllowPendingCommit();
  // Runs a self-contained read as one operation, again when a commit let
  // through changed the file under it.
  template <typename Read>
  Status Retrying(Database& db, Read read);
  // Writing: the writers' turn, with an interrupted commit played back.
  Status StartChanging();
  Status RecoverInterruptedCommit();
  void StopChanging();
  Status BusyWithUsers(const Status& busy) const;
  // What a row change needs: the table, its relationships and (for an
  // existing row) the row as it stands.
  struct Change {
    std::shared_ptr<const TableLayout> layout;
    IntegrityChecker* integrity = nullptr;
    Row old_row;
  };
  Status ChangeTarget(Database* db, const std::string& table, const RowId* id, Change* change);
};

namespace {

bool SameName(const std::string& a, const std::string& b) {
  return strcasecmp(a.c_str(), b.c_str()) == 0;
}

bool IsTabular(ObjectKind kind) {
  return kind == ObjectKind::kTable || kind == ObjectKind::kLinkedTable || kind == ObjectKind::kLinkedOdbc;
}

// Catalogue properties of the table and of each column, merged into its definition.
void ApplyProperties(const ObjectProperties& props, TableDef* def) {
  def->properties = props.object;
  for (auto& col : def->columns) {
    for (const auto& [name, map] : props.by_name) {
      if (SameName(name, col.name)) col.properties = map;
    }
    if (const Value* required = col.properties.Find("Required");
        required && required->get_if<bool>() && *required->get_if<bool>()) {
      col.nullable = false;
    }
  }
}

Status MakeTextReader(const Pager& pager, const OpenOptions& options, std::unique_ptr<TextReader>* out) {
  if (!pager.is_jet3()) {
    *out = std::make_unique<TextReader>();
    return Status::OK();
  }
  std::string encoding = options.text_encoding_override.empty() ? EncodingForCodePage(pager.code_page())
                                                                 : options.text_encoding_override;
  std::unique_ptr<CodePageDecoder> decoder;
  JET_RETURN_IF_ERROR(CodePageDecoder::Create(encoding, &decoder));
  *out = std::make_unique<TextReader>(std::move(decoder));
  return Status::OK();
}

}  // namespace

Status Database::Impl::Layout(const CatalogEntry& entry, std::shared_ptr<const TableLayout>* out) {
  const uint32_t page = entry.tdef_page();
  if (auto it = layouts.find(page); it != layouts.end()) {
    *out = it->second;
    return Status::OK();
  }
  auto layout = std::make_shared<TableLayout>();
  JET_RETURN_IF_ERROR(ReadTableLayout(*pager, *text, page, layout.get()));
  layout->def->name = entry.name;
  if (auto it = catalog.properties.find(entry.id); it != catalog.properties.end()) {
    ApplyProperties(it->second, layout->def.get());
  }
  layouts[page] = layout;
  *out = layout;
  return Status::OK();
}

Status Database::Impl::LinkedDatabase(const CatalogEntry& link, Database** db, Database* owner) {
  std::string local;
  JET_RETURN_IF_ERROR(owner->ResolveLink(link, &local));
  auto& slot = linked[local];
  if (!slot) {
    OpenOptions linked_options = options;
    linked_options.text_encoding_override.clear();
    Status s = Database::Open(local, linked_options, &slot);
    if (!s.ok()) return Status(s.code() == Status::Code::kNotFound
                                   ? Status::NotFound("linked database not found: " + link.database, 3024)
                                   : s);
  }
  *db = slot.get();
  return Status::OK();
}

namespace {

// How old the last look at the file may be in a run of reads that kept the
// readers' lock throughout (see change_watch.h).
constexpr auto kOthersChangesLook = std::chrono::milliseconds(2);

Status CheckWritableFormat(File* file, const std::string& path) {
  uint8_t head[0x20];
  JET_RETURN_IF_ERROR(file->Read(0, sizeof head, head));
  if (std::memcmp(head + 4, "Standard Jet DB", 15) != 0 && std::memcmp(head + 4, "Standard ACE DB", 15) != 0) {
    return Status::Corruption("not an Access database (no Jet header): " + path);
  }
  if (head[0x14] == 0x00) {
    return Status::ReadOnly("Access 97 (Jet 3) databases can only be read, not changed: " + path, 3027);
  }
  if (head[0x14] != 0x01) {
    return Status::ReadOnly("Access 2007 and later (.accdb) databases can only be read, not changed: " + path, 3027);
  }
  return Status::OK();
}

// Index keys of text are only built for the General order of Access
// 2000-2007; a key built in the wrong order would not fail, it would put
// rows where Access does not look for them.
Status CheckSortOrder(FileSystem* fs, const std::string& path) {
  constexpr uint16_t kGeneral = 1033;
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(fs->Open(path, FileSystem::Mode::kRead, &file));
  std::unique_ptr<Pager> header;
  JET_RETURN_IF_ERROR(Pager::OpenFile(std::move(file), &header));
  if (header->sort_order() != kGeneral || header->sort_order_version() != 0) {
    return Status::Unsupported("the database " + path + " uses sort order " + std::to_string(header->sort_order()) +
                               " (version " + std::to_string(header->sort_order_version()) +
                               "); only databases in the General sort order can be changed here");
  }
  return Status::OK();
}

}  // namespace

Status Database::Impl::OpenForWriting(FileSystem* fs) {
  if (!fs->Exists(path)) return Status::NotFound("file not found: " + path);
  if (!fs->IsWritable(path)) {
    return Status::ReadOnly("the database " + path + " is a read-only file and cannot be changed", 3027);
  }
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(fs->Open(path, FileSystem::Mode::kReadWrite, &file));
  JET_RETURN_IF_ERROR(CheckWritableFormat(file.get(), path));
  JET_RETURN_IF_ERROR(CheckSortOrder(fs, path));
  return Pager::OpenFile(std::move(file), &pager);
}

Status Database::Impl::BusyWithUsers(const Status& busy) const {
  const auto users = AccessLockFile::Users(fs, path);
  if (users.empty()) return busy;
  return Status::Busy("Could not update; currently locked by user '" + users.back().second + "' on machine '" +
                          users.back().first + "' (" + path + ")",
                      3260);
}

// A reader cannot roll an interrupted commit back, but it can read the
// pages as they were before it, which is what the next writer will restore.
Status Database::Impl::ShowStateBeforeInterruptedCommit() {
  if (!fs->Exists(JournalPath(path))) return Status::OK();
  std::map<uint32_t, std::vector<uint8_t>> originals;
  uint64_t size = 0;
  bool found = false;
  JET_RETURN_IF_ERROR(ReadHotJournal(fs, path, pager->file(), &originals, &size, &found));
  if (!found) return Status::OK();
  pager->ShowOriginals(std::move(originals), size);
  notice = "the last changes to this database were interrupted; it is shown as it was before them";
  return Status::OK();
}

void Database::Impl::StartSharing() {
  locks = std::make_unique<SharingLocks>(pager->file(), path, options.lock_wait_ms);
  watch = std::make_unique<ChangeWatch>(fs, path);
  // Long reads look for a waiting commit whenever they go to the disk.
  pager->set_before_disk_read([this] { return AllowPendingCommit(); });
}

Status Database::Impl::BeginRead() {
  if (read_depth++ > 0) return Status::OK();
  changed_under_read = false;
  if (locks->holds_writers()) return Status::OK();
  bool kept = false;
  Status s = locks->LockReaders(&kept);
  // See change_watch.h for when a run of reads need not look.
  if (s.ok() && !(kept && watch->LookedWithin(kOthersChangesLook))) s = ReadAgainIfChanged();
  if (!s.ok()) EndRead();
  return s;
}

void Database::Impl::EndRead() {
  if (--read_depth > 0) return;
  locks->FinishReading();
}

Status Database::Impl::ReadAgainIfChanged() {
  bool changed = false;
  JET_RETURN_IF_ERROR(watch->Look(&changed));
  return changed ? ReadAgain() : Status::OK();
}

// Everything derived from the file goes; what is read next comes from the
// file as it is now (or, after a writer died in a commit, as it was before).
Status Database::Impl::ReadAgain() {
  const bool replaced = watch->replaced() && generation > 0;
  // Accepted before reading: a commit let through while we read must show
  // as a change from this state.
  JET_RETURN_IF_ERROR(watch->Accept());
  std::unique_ptr<File> replacement;
  if (replaced) {
    JET_RETURN_IF_ERROR(
        fs->Open(path, writer ? FileSystem::Mode::kReadWrite : FileSystem::Mode::kRead, &replacement));
  }
  const bool was_reading = locks->holds_readers();
  if (replacement) locks->UnlockReaders();  // the old descriptor is about to close
  JET_RETURN_IF_ERROR(pager->Reload(std::move(replacement)));
  if (locks->file() != pager->file()) {
    locks = std::make_unique<SharingLocks>(pager->file(), path, options.lock_wait_ms);
    if (was_reading) JET_RETURN_IF_ERROR(locks->LockReaders());
  }
  layouts.clear();
  integrity.reset();
  if (writer) writer->ForgetTables();
  ++generation;
  Status s = locks->holds_writers() ? Status::OK() : ShowStateBeforeInterruptedCommit();
  if (s.ok()) s = ReadCatalogAgain();
  if (!s.ok()) watch->Forget();
  return s;
}

Status Database::Impl::ReadCatalogAgain() {
  CatalogContents fresh;
  Status s = ReadCatalog(*pager, *text, &fresh);
  if (s.code() == Status::Code::kStale) return s;
  if (!s.ok()) return Status::Corruption("cannot read the catalogue of " + path + ": " + s.message());
  if (fresh.entries != catalog.entries) {
    retired_entries.push_back(std::move(catalog.entries));
    if (retired_entries.size() > 8) retired_entries.pop_front();
    catalog.entries = std::move(fresh.entries);
  }
  catalog.properties = std::move(fresh.properties);
  return Status::OK();
}

Status Database::Impl::StartChanging() {
  if (!writer) return Status::ReadOnly("the database " + path + " is open for reading only", 3027);
  if (locks->holds_writers()) return Status::OK();
  if (Status s = locks->LockWriters(); !s.ok()) return s.code() == Status::Code::kBusy ? BusyWithUsers(s) : s;
  Status s = RecoverInterruptedCommit();
  if (s.ok()) s = ReadAgainIfChanged();
  if (!s.ok()) locks->UnlockWriters();
  return s;
}

// Only the holder of the writers' turn plays a journal back: nobody else can
// be writing the file then.
Status Database::Impl::RecoverInterruptedCommit() {
  if (!fs->Exists(JournalPath(path))) return Status::OK();
  JET_RETURN_IF_ERROR(locks->BeginFileWrite());
  RecoveryOutcome outcome;
  Status s = RecoverJournal(fs, path, pager->file(), &outcome, &notice);
  locks->EndFileWrite();
  JET_RETURN_IF_ERROR(s);
  if (outcome == RecoveryOutcome::kRolledBack) return ReadAgain();
  return Status::OK();
}

void Database::Impl::StopChanging() { locks->UnlockWriters(); }

Status Database::Impl::WritableTable(Database* db, const std::string& name,
                                     std::shared_ptr<const TableLayout>* layout) {
  if (!writer) return Status::ReadOnly("the database " + path + " is open for reading only", 3027);
  const CatalogEntry* entry = db->FindTable(name);
  if (!entry) return Status::NotFound("no table named '" + name + "'", 3078);
  if (entry->kind != ObjectKind::kTable) {
    return Status::Unsupported("'" + name + "' is a linked table; change it in its own database");
  }
  return Layout(*entry, layout);
}

Status Database::Impl::Integrity(Database* db, IntegrityChecker** out) {
  if (!integrity) {
    std::vector<Relationship> read;
    JET_RETURN_IF_ERROR(ReadRelationships(*db, &read));
    integrity = std::make_unique<IntegrityChecker>(std::move(read));
  }
  *out = integrity.get();
  return Status::OK();
}

Status Database::Impl::CommitNow() {
  const uint64_t written = pager->written_commits();
  Status s = locks->BeginFileWrite();
  if (s.ok()) {
    s = writer->Commit();
    locks->EndFileWrite();
  } else {
    s = BusyWithUsers(s);
  }
  if (s.ok() && pager->written_commits() != written) s = watch->AcceptOwnCommit();
  if (!s.ok()) {
    writer->Rollback();
    if (integrity) integrity->ForgetAll();
  }
  StopChanging();
  layouts.clear();  // counts and statistics in the definitions have moved
  pager->ReleaseReadPages();  // the committed pages need not all stay in memory
  ++generation;
  return s;
}

Status Database::Impl::Finish(Status change) {
  if (in_transaction) return change;
  if (!change.ok()) {
    writer->Rollback();
    StopChanging();
    return change;
  }
  return CommitNow();
}

Status Database::Impl::Locate(const std::string& name, Database* owner, const CatalogEntry** entry,
                              Database** linked) {
  *entry = owner->FindTable(name);
  *linked = nullptr;
  if (!*entry) return Status::NotFound("no table named '" + name + "'", 3078);
  if ((*entry)->kind == ObjectKind::kLinkedOdbc && !options.server_tables) {
    return Status::Unsupported("'" + name + "' is linked through '" + (*entry)->connect +
                               "', which cannot be read here");
  }
  if ((*entry)->kind == ObjectKind::kLinkedTable) return LinkedDatabase(**entry, linked, owner);
  return Status::OK();
}

Status Database::Impl::ServerLinkOf(const CatalogEntry& entry, ServerLink* link) {
  link->tables = ServerOf(entry);
  link->entry = entry;
  std::shared_ptr<const TableDef> from_server;
  JET_RETURN_IF_ERROR(link->tables->GetTableDef(entry, &from_server));
  auto& [seen, made] = server_defs[entry.id];
  if (seen != from_server) {
    std::shared_ptr<const TableLayout> kept;  // links made elsewhere may have no definition here
    const bool has_kept = entry.tdef_page() != 0 && Layout(entry, &kept).ok();
    made = LinkDefinition(*from_server, has_kept ? kept->def.get() : nullptr);
    seen = from_server;
  }
  link->def = made;
  return Status::OK();
}

template <typename Send>
Status Database::Impl::ChangeOnServer(Send send) {
  if (!writer) return Status::ReadOnly("the database " + path + " is open for reading only", 3027);
  Status s = send();
  if (in_transaction) {
    server_changed = server_changed || s.ok();
    return s;
  }
  if (!s.ok()) {
    options.server_tables->Rollback();
    return s;
  }
  return options.server_tables->Commit();
}

Database::Database(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Database::~Database() = default;

Status Database::Open(const std::string& path, const OpenOptions& options, std::unique_ptr<Database>* db) {
  auto impl = std::make_unique<Impl>();
  impl->path = path;
  impl->options = options;
  impl->fs = options.file_system ? options.file_system : DefaultFileSystem();
  if (options.writable) {
    JET_RETURN_IF_ERROR(impl->OpenForWriting(impl->fs));
  } else {
    impl->fs = DefaultFileSystem();
    JET_RETURN_IF_ERROR(Pager::Open(path, &impl->pager));
  }
  JET_RETURN_IF_ERROR(MakeTextReader(*impl->pager, options, &impl->text));
  if (options.writable) impl->writer = std::make_unique<Writer>(impl->pager.get(), impl->text.get(), impl->fs, path);
  impl->StartSharing();
  if (options.writable && impl->fs->Exists(JournalPath(path))) {
    // Put right what a writer that died left, unless another writer is busy
    // (it will have done so itself).
    Status s = impl->StartChanging();
    if (s.ok()) impl->StopChanging();
    if (!s.ok() && s.code() != Status::Code::kBusy) return s;
  }
  // The first read operation reads the catalogue.
  Status s;
  for (int attempt = 0; attempt < 3; ++attempt) {
    s = impl->BeginRead();
    if (s.ok()) impl->EndRead();
    if (s.code() != Status::Code::kStale) break;
  }
  JET_RETURN_IF_ERROR(s);
  // Access lists everyone in the file who may change it.
  if (options.writable) {
    JET_RETURN_IF_ERROR(AccessLockFile::Enter(impl->fs, path, options.user_name, &impl->lock_file));
  }
  db->reset(new Database(std::move(impl)));
  return Status::OK();
}

ReadOperation::ReadOperation(Database& db) : db_(db), status_(db.BeginRead()) {}
ReadOperation::~ReadOperation() {
  if (status_.ok()) db_.EndRead();
}

Status Database::BeginRead() { return impl_->BeginRead(); }
void Database::EndRead() { impl_->EndRead(); }
Status Database::Refresh() {
  ReadOperation op(*this);
  return op.status();
}
Status Database::AllowPendingCommit() { return impl_->AllowPendingCommit(); }

Status Database::Impl::AllowPendingCommit() {
  if (read_depth == 0 || !locks->ShouldLetCommitThrough()) return Status::OK();
  locks->UnlockReaders();
  JET_RETURN_IF_ERROR(locks->LockReaders());
  bool moved = false;
  JET_RETURN_IF_ERROR(watch->Moved(&moved));
  if (!moved) return Status::OK();
  changed_under_read = true;
  return Status::Stale("the database " + path + " was changed by another program while it was read");
}
Status Database::StartChanging() { return impl_->StartChanging(); }
bool Database::changed_under_read() const { return impl_->changed_under_read; }

const std::string& Database::path() const { return impl_->path; }
FileFormat Database::format() const { return impl_->pager->format(); }
uint16_t Database::code_page() const { return impl_->pager->code_page(); }
uint16_t Database::sort_order() const { return impl_->pager->sort_order(); }
const std::vector<CatalogEntry>& Database::catalog() const { return impl_->catalog.entries; }

const CatalogEntry* Database::FindObject(const std::string& name, ObjectKind kind) const {
  for (const auto& e : impl_->catalog.entries) {
    if (e.kind == kind && SameName(e.name, name)) return &e;
  }
  return nullptr;
}

const PropertyMap* Database::QueryFieldProperties(const std::string& query, const std::string& field) const {
  const CatalogEntry* entry = FindObject(query, ObjectKind::kQuery);
  if (!entry) return nullptr;
  auto it = impl_->catalog.properties.find(entry->id);
  if (it == impl_->catalog.properties.end()) return nullptr;
  for (const auto& [name, map] : it->second.by_name)
    if (SameName(name, field)) return &map;
  return nullptr;
}

const CatalogEntry* Database::FindTable(const std::string& name) const {
  for (const auto& e : impl_->catalog.entries) {
    if (IsTabular(e.kind) && SameName(e.name, name)) return &e;
  }
  return nullptr;
}

Status Database::ResolveLink(const CatalogEntry& link, std::string* local_path) const {
  const std::string beside = std::filesystem::path(impl_->path).parent_path().string();
  auto found = ResolveStoredPath(link.database, beside, impl_->options.folder_mappings);
  if (!found) return Status::NotFound("linked database not found: " + link.database, 3024);
  *local_path = *found;
  return Status::OK();
}

template <typename Read>
Status Database::Impl::Retrying(Database& db, Read read) {
  const bool outermost = read_depth == 0;
  for (int attempt = 1;; ++attempt) {
    ReadOperation op(db);
    Status s = op.status().ok() ? read() : op.status();
    // A nested read leaves starting again to the operation around it.
    if (s.code() != Status::Code::kStale || !outermost || attempt == 3) return s;
  }
}

// A cursor is one read operation for as long as it lives.
class OperationCursor : public TableCursor {
 public:
  OperationCursor(Database& db, std::shared_ptr<const TableDef> def, std::unique_ptr<TableCursor> inner)
      : TableCursor(std::move(def)), db_(db), op_(db), inner_(std::move(inner)) {}
  // Its pages may all be in memory already: it looks for a waiting commit
  // on every row.
  bool Next() override {
    if (!stopped_.ok()) return false;
    stopped_ = db_.AllowPendingCommit();
    return stopped_.ok() && inner_->Next();
  }
  const Row& row() const override { return inner_->row(); }
  RowId row_id() const override { return inner_->row_id(); }
  Status status() const override { return stopped_.ok() ? inner_->status() : stopped_; }

 private:
  Database& db_;
  Status stopped_;
  ReadOperation op_;
  std::unique_ptr<TableCursor> inner_;
};

Status Database::GetTableDef(const std::string& name, std::shared_ptr<const TableDef>* def) {
  ReadOperation op(*this);
  JET_RETURN_IF_ERROR(op.status());
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->GetTableDef(entry->foreign_name, def);
  if (impl_->ServerOf(*entry)) {
    ServerLink link;
    JET_RETURN_IF_ERROR(impl_->ServerLinkOf(*entry, &link));
    *def = link.def;
    return Status::OK();
  }
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  *def = layout->def;
  return Status::OK();
}

Status Database::OpenTable(const std::string& name, std::unique_ptr<TableCursor>* cursor) {
  ReadOperation op(*this);
  JET_RETURN_IF_ERROR(op.status());
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->OpenTable(entry->foreign_name, cursor);
  if (impl_->ServerOf(*entry)) return impl_->OpenServerRows(*entry, {}, cursor);
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(*impl_->pager, *impl_->text, layout, true, &scan));
  *cursor = std::make_unique<OperationCursor>(*this, layout->def, std::move(scan));
  return Status::OK();
}

Status Database::ListRowIds(const std::string& name, std::vector<RowId>* ids) {
  return impl_->Retrying(*this, [&] { return ListRowIdsNow(name, ids); });
}

Status Database::ListRowIdsNow(const std::string& name, std::vector<RowId>* ids) {
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->ListRowIds(entry->foreign_name, ids);
  if (impl_->ServerOf(*entry)) {
    ServerLink link;
    JET_RETURN_IF_ERROR(impl_->ServerLinkOf(*entry, &link));
    return impl_->server_snapshots.List(link, ids);
  }
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(*impl_->pager, *impl_->text, layout, false, &scan));
  ids->clear();
  while (scan->Next()) ids->push_back(scan->row_id());
  return scan->status();
}

Status Database::ReadRowAt(const std::string& name, RowId id, Row* row) {
  return impl_->Retrying(*this, [&] { return ReadRowAtNow(name, id, row); });
}

Status Database::ReadRowAtNow(const std::string& name, RowId id, Row* row) {
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->ReadRowAt(entry->foreign_name, id, row);
  if (impl_->ServerOf(*entry)) {
    ServerLink link;
    JET_RETURN_IF_ERROR(impl_->ServerLinkOf(*entry, &link));
    return impl_->server_snapshots.Read(link, id, row);
  }
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  return TableScan::ReadAt(*impl_->pager, *impl_->text, *layout, id, row);
}

Status Database::OpenReader(const std::string& name, const ColumnSet& wanted,
                            std::unique_ptr<TableReader>* reader) {
  ReadOperation op(*this);
  JET_RETURN_IF_ERROR(op.status());
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->OpenReader(entry->foreign_name, wanted, reader);
  if (impl_->ServerOf(*entry)) {
    ServerLink link;
    JET_RETURN_IF_ERROR(impl_->ServerLinkOf(*entry, &link));
    *reader = std::make_unique<ServerLinkReader>(std::move(link), impl_->server_snapshots, wanted);
    return Status::OK();
  }
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  *reader = std::make_unique<LocalTableReader>(*impl_->pager, *impl_->text, layout, wanted, impl_->writer.get());
  return Status::OK();
}

Status Database::OpenServerRows(const std::string& name, const ServerQuery& query,
                                std::unique_ptr<TableCursor>* cursor) {
  const CatalogEntry* entry = FindTable(name);
  if (!entry) return Status::NotFound("no table named '" + name + "'", 3078);
  if (!impl_->ServerOf(*entry)) return Status::InvalidArgument("'" + name + "' is not linked to a server table");
  return impl_->OpenServerRows(*entry, query, cursor);
}

Status Database::CountRows(const std::string& name, uint64_t* count) {
  return impl_->Retrying(*this, [&] { return CountRowsNow(name, count); });
}

Status Database::CountRowsNow(const std::string& name, uint64_t* count) {
  const CatalogEntry* entry = FindTable(name);
  if (!entry) return Status::NotFound("no table named '" + name + "'", 3078);
  if (ServerTables* server = impl_->ServerOf(*entry)) return server->CountRows(*entry, count);
  if (entry->kind != ObjectKind::kTable) {
    std::unique_ptr<TableCursor> cursor;
    JET_RETURN_IF_ERROR(OpenTable(name, &cursor));
    for (*count = 0; cursor->Next();) ++*count;
    return cursor->status();
  }
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(*impl_->pager, *impl_->text, layout, false, &scan));
  for (*count = 0; scan->Next();) ++*count;
  return scan->status();
}

}  // namespace jet

namespace jet {

bool Database::writable() const { return impl_->writer != nullptr; }
bool Database::in_transaction() const { return impl_->in_transaction; }
uint64_t Database::generation() const { return impl_->generation; }
const std::string& Database::open_notice() const { return impl_->notice; }

Status Database::BeginTransaction() {
  if (!impl_->writer) return Status::ReadOnly("the database " + impl_->path + " is open for reading only", 3027);
  if (impl_->in_transaction) return Status::InvalidArgument("a transaction is already open");
  impl_->in_transaction = true;
  return Status::OK();
}

// The server's part of a transaction is committed first: a server that
// refuses leaves the file as it was; a file that then fails says so.
Status Database::Commit() {
  if (!impl_->in_transaction) return Status::InvalidArgument("You tried to commit or rollback without first beginning a transaction", 3034);
  impl_->in_transaction = false;
  const bool server_changed = std::exchange(impl_->server_changed, false);
  if (server_changed) {
    if (Status s = impl_->options.server_tables->Commit(); !s.ok()) {
      impl_->writer->Rollback();
      impl_->StopChanging();
      impl_->layouts.clear();
      return s;
    }
  }
  Status s = impl_->CommitNow();
  if (s.ok() || !server_changed) return s;
  return Status::IOError("The changes to linked tables on the server were committed, but those to the file " +
                         impl_->path + " were not: " + s.message());
}

Status Database::Rollback() {
  if (!impl_->in_transaction) return Status::InvalidArgument("You tried to commit or rollback without first beginning a transaction", 3034);
  impl_->in_transaction = false;
  if (std::exchange(impl_->server_changed, false)) impl_->options.server_tables->Rollback();
  impl_->writer->Rollback();
  impl_->StopChanging();
  impl_->layouts.clear();
  if (impl_->integrity) impl_->integrity->ForgetAll();
  return Status::OK();
}

Status Database::Impl::ChangeTarget(Database* db, const std::string& table, const RowId* id, Change* change) {
  JET_RETURN_IF_ERROR(WritableTable(db, table, &change->layout));
  JET_RETURN_IF_ERROR(Integrity(db, &change->integrity));
  change->integrity->Forget(table);
  if (id) JET_RETURN_IF_ERROR(writer->Read(change->layout, *id, &change->old_row));
  return Status::OK();
}

// Each change takes the writers' turn first; outside a transaction it is
// committed, or dropped, at once and the turn given back.
Status Database::InsertRow(const std::string& table, const Row& row, RowId* id) {
  if (auto s = impl_->ChangeLink(this, table, [&](const ServerLink& link) {
        return impl_->server_snapshots.Insert(link, row, id);
      })) {
    return *s;
  }
  JET_RETURN_IF_ERROR(impl_->StartChanging());
  return impl_->Finish([&]() -> Status {
    Impl::Change c;
    JET_RETURN_IF_ERROR(impl_->ChangeTarget(this, table, nullptr, &c));
    if (row.size() == c.layout->def->columns.size()) {
      JET_RETURN_IF_ERROR(c.integrity->CheckRelatedRowsExist(*this, table, row));
    }
    return impl_->writer->Insert(c.layout, row, id);
  }());
}

Status Database::UpdateRow(const std::string& table, RowId id, const Row& row) {
  if (auto s = impl_->ChangeLink(this, table, [&](const ServerLink& link) {
        return impl_->server_snapshots.Update(link, id, row);
      })) {
    return *s;
  }
  JET_RETURN_IF_ERROR(impl_->StartChanging());
  return impl_->Finish([&]() -> Status {
    Impl::Change c;
    JET_RETURN_IF_ERROR(impl_->ChangeTarget(this, table, &id, &c));
    if (row.size() == c.layout->def->columns.size()) {
      JET_RETURN_IF_ERROR(c.integrity->CheckRelatedRowsExist(*this, table, row));
      JET_RETURN_IF_ERROR(c.integrity->CheckNothingRefersTo(*this, table, c.old_row, &row));
    }
    return impl_->writer->Update(c.layout, id, row);
  }());
}

Status Database::DeleteRow(const std::string& table, RowId id) {
  if (auto s = impl_->ChangeLink(this, table, [&](const ServerLink& link) {
        return impl_->server_snapshots.Delete(link, id);
      })) {
    return *s;
  }
  JET_RETURN_IF_ERROR(impl_->StartChanging());
  return impl_->Finish([&]() -> Status {
    Impl::Change c;
    JET_RETURN_IF_ERROR(impl_->ChangeTarget(this, table, &id, &c));
    JET_RETURN_IF_ERROR(c.integrity->CheckNothingRefersTo(*this, table, c.old_row, nullptr));
    return impl_->writer->Delete(c.layout, id);
  }());
}

Status Database::ChangeServerRow(const std::string& name, const ServerChange& change, Row* stored) {
  if (auto s = impl_->ChangeLink(this, name, [&](const ServerLink& link) {
        return link.tables->Change(link.entry, *link.def, change, stored);
      })) {
    return *s;
  }
  return Status::InvalidArgument("'" + name + "' is not linked to a server table");
}

Status Database::MarkServerStatement(const std::string& name) {
  const CatalogEntry* link = impl_->ServerLinkNamed(this, name);
  if (!link || !impl_->in_transaction) return Status::InvalidArgument("no statement on a linked table in a transaction");
  impl_->server_changed = true;  // the mark begins the server's part of the transaction
  return impl_->ServerOf(*link)->MarkStatement(*link);
}

Status Database::EndServerStatement(const std::string& name, bool keep) {
  const CatalogEntry* link = impl_->ServerLinkNamed(this, name);
  if (!link) return Status::InvalidArgument("'" + name + "' is not linked to a server table");
  return impl_->ServerOf(*link)->EndStatement(*link, keep);
}

Status Database::ReadRow(const std::string& table, RowId id, Row* row) {
  if (const CatalogEntry* entry = impl_->ServerLinkNamed(this, table)) {
    ServerLink link;
    JET_RETURN_IF_ERROR(impl_->ServerLinkOf(*entry, &link));
    return impl_->server_snapshots.Read(link, id, row);
  }
  return impl_->Retrying(*this, [&]() -> Status {
    std::shared_ptr<const TableLayout> layout;
    JET_RETURN_IF_ERROR(impl_->WritableTable(this, table, &layout));
    return impl_->writer->Read(layout, id, row);
  });
}

}  // namespace jet
