// Relationships with referential integrity (MSysRelationships): a row may
// only name a related row that exists, and a related row may not go while
// rows still name it. Access enforces these on every change; so do we, or
// the file would hold orphans Access itself could never have written.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "jet/database.h"

namespace jet {

struct Relationship {
  std::string name;
  std::string table;             // the table whose rows refer
  std::string referenced_table;  // the table whose rows are referred to
  std::vector<std::string> columns, referenced_columns;  // in key order
  int32_t flags = 0;

  bool enforced() const { return (flags & 0x2) == 0; }
  bool cascades_updates() const { return (flags & 0x100) != 0; }
  bool cascades_deletes() const { return (flags & 0x1000) != 0; }
};

Status ReadRelationships(Database& db, std::vector<Relationship>* relationships);

class IntegrityChecker {
 public:
  explicit IntegrityChecker(std::vector<Relationship> relationships) : relationships_(std::move(relationships)) {}

  // 3201 when `row` of `table` names a related row that does not exist.
  Status CheckRelatedRowsExist(Database& db, const std::string& table, const Row& row);
  // 3200 when rows of other tables still name `old_row` of `table`, which is
  // being deleted (`new_row` null) or given another key.
  Status CheckNothingRefersTo(Database& db, const std::string& table, const Row& old_row, const Row* new_row);
  // Rows of `table` changed (or a transaction was rolled back: every table).
  void Forget(const std::string& table);
  void ForgetAll() { keys_.clear(); }

 private:
  // The keys the rows of one side of a relationship have, read once and
  // kept until that table changes, so bulk inserts do not scan the related
  // table for every row.
  Status Keys(Database& db, size_t relationship, bool referenced_side, const std::set<std::string>** keys);

  std::vector<Relationship> relationships_;
  std::map<std::pair<size_t, bool>, std::set<std::string>> keys_;
};

}  // namespace jet
