// Jet SQL syntax tree -> one SQLite SELECT that keeps Jet's meaning, with
// the Jet type of every output column and the parameters it needs.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "jet/status.h"
#include "sql/ast.h"
#include "sql/sql_types.h"

namespace jet::sql {

struct SourceColumn {
  std::string name;
  SqlType type = SqlType::kText;
  std::string caption;
  int decimal_scale = 0;
};

// A name no Jet SQL text can spell: statements built by the engine use it
// as a table's field to get at the place of each row they change.
inline constexpr const char* kRowPlaceField = "\x01RowPlace";

// A crosstab column heading found in the data.
struct PivotValue {
  std::string literal_sql;  // the value as an SQLite literal, NULL for Null
  std::string heading;      // the column's name as Access shows it
};

// What the translator asks of the open database.
class TranslationCatalog {
 public:
  virtual ~TranslationCatalog() = default;
  // A local or linked table, or with `database` a table of that other Jet
  // file (its path as the statement wrote it): the SQLite table it is (or
  // will be) copied to, and its columns. *found false when there is no such
  // table.
  virtual Status ResolveTable(const std::string& database, const std::string& name, bool* found,
                              std::string* sqlite_name, std::vector<SourceColumn>* columns) = 0;
  // A saved query's SQL text; false when there is none of that name.
  virtual bool FindSavedQuery(const std::string& name, std::string* sql) = 0;
  // The Caption a saved query gives one of its output fields itself; empty
  // when it gives none.
  virtual std::string SavedQueryCaption(const std::string& query, const std::string& field) = 0;
  // Runs `sqlite_sql` (one column) with the statement's parameters bound and
  // returns its rows as crosstab headings.
  virtual Status PivotValues(const std::string& sqlite_sql, SqlType type, std::vector<PivotValue>* values) = 0;
};

struct OutputColumn {
  std::string name;
  SqlType type = SqlType::kText;
  std::string caption;
  int decimal_scale = 0;
};

struct QueryParameter {
  std::string name;  // as DAO shows it
  std::string key;   // for matching: parts without brackets, folded case
  ColumnType type = ColumnType::kText;
  bool declared = false;
  bool typed = false;  // declared with a type other than Value
};

// The order in which DAO lists a query's parameters: the declared ones in
// declaration order, then each undeclared name at its first appearance.
// Nested saved queries add theirs where the outer query first uses them.
class ParameterList {
 public:
  // Index of the parameter, adding it if new.
  int Declare(const ParameterDecl& decl);
  int Use(const std::string& name, const std::string& key);
  const std::vector<QueryParameter>& items() const { return items_; }
  int Find(const std::string& key) const;

 private:
  std::vector<QueryParameter> items_;
};

// The key two spellings of one parameter share: `[Forms]![X]![Y]` and
// `Forms![X]!Y` both give "forms!x!y".
std::string ParameterKey(std::string_view name);

struct Translation {
  std::string sql;  // parameters appear as ?1, ?2 ... in ParameterList order
  std::vector<OutputColumn> columns;
  ParameterList parameters;
  std::vector<std::string> tables;  // SQLite names of the tables it reads
};

// Translates a SELECT, UNION or TRANSFORM statement.
// `source_text` is the SQL the statement was parsed from (for parameter names).
Status Translate(const Statement& statement, std::string_view source_text, TranslationCatalog* catalog,
                 Translation* out);

// The parameters of an INSERT, UPDATE or DELETE: declared, then the names
// its expressions use that are not fields of its tables.
Status CollectActionParameters(const Statement& statement, std::string_view source_text,
                               TranslationCatalog* catalog, ParameterList* parameters);

}  // namespace jet::sql
