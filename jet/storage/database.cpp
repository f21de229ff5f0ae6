#include "jet/database.h"

#include <strings.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <optional>

#include "storage/access_lock_file.h"
#include "storage/catalog_reader.h"
#include "storage/journal.h"
#include "storage/relationships.h"
#include "storage/table_reader.h"
#include "storage/table_scan.h"
#include "storage/table_writer.h"

namespace jet {

struct Database::Impl {
  std::string path;
  OpenOptions options;
  std::unique_ptr<Pager> pager;
  std::unique_ptr<TextReader> text;
  CatalogContents catalog;
  std::map<uint32_t, std::shared_ptr<const TableLayout>> layouts;  // by TDEF page
  std::map<std::string, std::unique_ptr<Database>> linked;         // by resolved path
  // Writing: the writer works on the pager's pages, so it goes first.
  std::unique_ptr<AccessLockFile> lock_file;
  std::unique_ptr<Writer> writer;
  bool in_transaction = false;
  uint64_t commits = 0;
  std::string notice;
  std::unique_ptr<IntegrityChecker> integrity;  // made on the first change

  Status Layout(const CatalogEntry& entry, std::shared_ptr<const TableLayout>* out);
  Status LinkedDatabase(const CatalogEntry& link, Database** db, Database* owner);
  // A readable table by name: its catalogue entry and, for a Jet link, the
  // linked database that holds it (nullptr for a local table).
  Status Locate(const std::string& name, Database* owner, const CatalogEntry** entry, Database** linked);
  Status OpenForWriting(FileSystem* fs);
  Status WritableTable(Database* db, const std::string& name, std::shared_ptr<const TableLayout>* layout);
  // Outside a transaction each change is committed (or dropped) on its own.
  Status Finish(Status change);
  Status CommitNow();
  Status Integrity(Database* db, IntegrityChecker** out);
  Status ShowStateBeforeInterruptedCommit();
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
  if (Status locked = file->LockForWriting(); !locked.ok()) {
    if (locked.code() != Status::Code::kBusy) return locked;
    const auto users = AccessLockFile::Users(fs, path);
    if (users.empty()) return locked;
    return Status::Busy("Could not update; currently locked by user '" + users.back().second + "' on machine '" +
                            users.back().first + "' (" + path + ")",
                        3260);
  }
  RecoveryOutcome outcome;
  JET_RETURN_IF_ERROR(RecoverJournal(fs, path, file.get(), &outcome, &notice));
  JET_RETURN_IF_ERROR(Pager::OpenFile(std::move(file), &pager));
  return AccessLockFile::Enter(fs, path, options.user_name, &lock_file);
}

// A reader cannot roll an interrupted commit back, but it can read the
// pages as they were before it, which is what the next writer will restore.
Status Database::Impl::ShowStateBeforeInterruptedCommit() {
  FileSystem* fs = DefaultFileSystem();
  if (!fs->Exists(JournalPath(path))) return Status::OK();
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(fs->Open(path, FileSystem::Mode::kRead, &file));
  std::map<uint32_t, std::vector<uint8_t>> originals;
  uint64_t size = 0;
  bool found = false;
  JET_RETURN_IF_ERROR(ReadHotJournal(fs, path, file.get(), &originals, &size, &found));
  if (!found) return Status::OK();
  pager->ShowOriginals(std::move(originals), size);
  notice = "the last changes to this database were interrupted; it is shown as it was before them";
  return Status::OK();
}

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
  Status s = writer->Commit();
  if (!s.ok()) {
    writer->Rollback();
    if (integrity) integrity->ForgetAll();
  }
  layouts.clear();  // counts and statistics in the definitions have moved
  pager->ReleaseReadPages();  // the committed pages need not all stay in memory
  ++commits;
  return s;
}

Status Database::Impl::Finish(Status change) {
  if (in_transaction) return change;
  if (!change.ok()) {
    writer->Rollback();
    return change;
  }
  return CommitNow();
}

Status Database::Impl::Locate(const std::string& name, Database* owner, const CatalogEntry** entry,
                              Database** linked) {
  *entry = owner->FindTable(name);
  *linked = nullptr;
  if (!*entry) return Status::NotFound("no table named '" + name + "'", 3078);
  if ((*entry)->kind == ObjectKind::kLinkedOdbc) {
    return Status::Unsupported("'" + name + "' is linked through '" + (*entry)->connect +
                               "', which cannot be read here");
  }
  if ((*entry)->kind == ObjectKind::kLinkedTable) return LinkedDatabase(**entry, linked, owner);
  return Status::OK();
}

Database::Database(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Database::~Database() = default;

Status Database::Open(const std::string& path, const OpenOptions& options, std::unique_ptr<Database>* db) {
  auto impl = std::make_unique<Impl>();
  impl->path = path;
  impl->options = options;
  if (options.writable) {
    JET_RETURN_IF_ERROR(impl->OpenForWriting(options.file_system ? options.file_system : DefaultFileSystem()));
  } else {
    JET_RETURN_IF_ERROR(Pager::Open(path, &impl->pager));
    JET_RETURN_IF_ERROR(impl->ShowStateBeforeInterruptedCommit());
  }
  JET_RETURN_IF_ERROR(MakeTextReader(*impl->pager, options, &impl->text));
  if (options.writable) {
    impl->writer = std::make_unique<Writer>(impl->pager.get(), impl->text.get(),
                                            options.file_system ? options.file_system : DefaultFileSystem(), path);
  }
  Status s = ReadCatalog(*impl->pager, *impl->text, &impl->catalog);
  if (!s.ok()) return Status::Corruption("cannot read the catalogue of " + path + ": " + s.message());
  db->reset(new Database(std::move(impl)));
  return Status::OK();
}

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

Status Database::GetTableDef(const std::string& name, std::shared_ptr<const TableDef>* def) {
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->GetTableDef(entry->foreign_name, def);
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  *def = layout->def;
  return Status::OK();
}

Status Database::OpenTable(const std::string& name, std::unique_ptr<TableCursor>* cursor) {
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->OpenTable(entry->foreign_name, cursor);
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(*impl_->pager, *impl_->text, layout, true, &scan));
  *cursor = std::move(scan);
  return Status::OK();
}

Status Database::ListRowIds(const std::string& name, std::vector<RowId>* ids) {
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->ListRowIds(entry->foreign_name, ids);
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(*impl_->pager, *impl_->text, layout, false, &scan));
  ids->clear();
  while (scan->Next()) ids->push_back(scan->row_id());
  return scan->status();
}

Status Database::ReadRowAt(const std::string& name, RowId id, Row* row) {
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->ReadRowAt(entry->foreign_name, id, row);
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  return TableScan::ReadAt(*impl_->pager, *impl_->text, *layout, id, row);
}

Status Database::OpenReader(const std::string& name, const ColumnSet& wanted,
                            std::unique_ptr<TableReader>* reader) {
  const CatalogEntry* entry = nullptr;
  Database* linked = nullptr;
  JET_RETURN_IF_ERROR(impl_->Locate(name, this, &entry, &linked));
  if (linked) return linked->OpenReader(entry->foreign_name, wanted, reader);
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->Layout(*entry, &layout));
  *reader = std::make_unique<LocalTableReader>(*impl_->pager, *impl_->text, layout, wanted, impl_->writer.get());
  return Status::OK();
}

Status Database::CountRows(const std::string& name, uint64_t* count) {
  const CatalogEntry* entry = FindTable(name);
  if (!entry) return Status::NotFound("no table named '" + name + "'", 3078);
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
uint64_t Database::commit_count() const { return impl_->commits; }
const std::string& Database::open_notice() const { return impl_->notice; }

Status Database::BeginTransaction() {
  if (!impl_->writer) return Status::ReadOnly("the database " + impl_->path + " is open for reading only", 3027);
  if (impl_->in_transaction) return Status::InvalidArgument("a transaction is already open");
  impl_->in_transaction = true;
  return Status::OK();
}

Status Database::Commit() {
  if (!impl_->in_transaction) return Status::InvalidArgument("You tried to commit or rollback without first beginning a transaction", 3034);
  impl_->in_transaction = false;
  return impl_->CommitNow();
}

Status Database::Rollback() {
  if (!impl_->in_transaction) return Status::InvalidArgument("You tried to commit or rollback without first beginning a transaction", 3034);
  impl_->in_transaction = false;
  impl_->writer->Rollback();
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

Status Database::InsertRow(const std::string& table, const Row& row, RowId* id) {
  Impl::Change c;
  JET_RETURN_IF_ERROR(impl_->ChangeTarget(this, table, nullptr, &c));
  if (row.size() == c.layout->def->columns.size()) {
    JET_RETURN_IF_ERROR(c.integrity->CheckRelatedRowsExist(*this, table, row));
  }
  return impl_->Finish(impl_->writer->Insert(c.layout, row, id));
}

Status Database::UpdateRow(const std::string& table, RowId id, const Row& row) {
  Impl::Change c;
  JET_RETURN_IF_ERROR(impl_->ChangeTarget(this, table, &id, &c));
  if (row.size() == c.layout->def->columns.size()) {
    JET_RETURN_IF_ERROR(c.integrity->CheckRelatedRowsExist(*this, table, row));
    JET_RETURN_IF_ERROR(c.integrity->CheckNothingRefersTo(*this, table, c.old_row, &row));
  }
  return impl_->Finish(impl_->writer->Update(c.layout, id, row));
}

Status Database::DeleteRow(const std::string& table, RowId id) {
  Impl::Change c;
  JET_RETURN_IF_ERROR(impl_->ChangeTarget(this, table, &id, &c));
  JET_RETURN_IF_ERROR(c.integrity->CheckNothingRefersTo(*this, table, c.old_row, nullptr));
  return impl_->Finish(impl_->writer->Delete(c.layout, id));
}

Status Database::ReadRow(const std::string& table, RowId id, Row* row) {
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(impl_->WritableTable(this, table, &layout));
  return impl_->writer->Read(layout, id, row);
}

}  // namespace jet
