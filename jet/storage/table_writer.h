// Writer: the row changes of one transaction on a Jet 4 file — rows placed
// on data pages, long values stored, usage maps and the definition's counts
// kept, every index of the table kept in step — all held in the pager's
// changed pages until Commit writes them through the journal.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "jet/file_system.h"
#include "jet/table_cursor.h"
#include "storage/pager.h"
#include "storage/table_layout.h"
#include "storage/text_reader.h"

namespace jet {

struct TableState;
struct StoredRef;

class Writer {
 public:
  Writer(Pager* pager, const TextReader* text, FileSystem* fs, std::string path);
  ~Writer();

  Status Insert(const std::shared_ptr<const TableLayout>& layout, Row row, RowId* id);
  Status Update(const std::shared_ptr<const TableLayout>& layout, RowId id, Row row);
  Status Delete(const std::shared_ptr<const TableLayout>& layout, RowId id);
  // The current values of a live row (as changed so far).
  Status Read(const std::shared_ptr<const TableLayout>& layout, RowId id, Row* row);

  // Writes the indexes and definitions, then the pages, crash-safely.
  Status Commit();
  void Rollback();
  // Whether this transaction has changed the table, whose index pages then
  // wait for Commit to be written.
  bool HoldsChanges(uint32_t tdef_page) const;
  // Another program changed the file: what is known of its tables is old.
  void ForgetTables();
  bool has_changes() const { return !pager_->changed_pages().empty() || !tables_.empty(); }

 private:
  Status State(const std::shared_ptr<const TableLayout>& layout, TableState** state);
  // A live row: its table's state, where it is stored and its values.
  Status Existing(const std::shared_ptr<const TableLayout>& layout, RowId id, TableState** t, StoredRef* ref,
                  Row* values);
  // A change that fails after it began to touch pages leaves the
  // transaction unusable: it cannot be taken back on its own.
  Status Applied(Status s);

  Pager* pager_;
  const TextReader* text_;
  FileSystem* fs_;
  std::string path_;
  std::map<uint32_t, std::unique_ptr<TableState>> tables_;  // by TDEF page
  Status broken_;
};

}  // namespace jet
