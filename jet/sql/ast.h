// The Jet SQL syntax tree. Nodes own their children; the tree is built once
// per statement and read by the translator and the parameter collector.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "jet/types.h"

namespace jet::sql {

struct QueryExpr;

enum class ExprKind {
  kNull,
  kNumber,    // text holds the literal as written
  kString,
  kDate,      // text holds what was between the hashes
  kGuid,      // text holds {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX} as written
  kBool,      // True/Yes/On (number = -1) or False/No/Off (0)
  kName,      // a field, table.field or Forms!x!y chain; see parts
  kStar,      // * or table.* (parts holds the table, if any)
  kUnary,     // op: "-", "+", "NOT"
  kBinary,    // op: arithmetic, comparison, "&", "AND", "OR", "XOR", "EQV", "IMP", "MOD"
  kCall,      // text: the function's name as written
  kBetween,   // args: value, low, high
  kIn,        // args[0] the value; then the list, or `subquery`
  kIsNull,
  kLike,      // args: value, pattern
  kSubquery,  // scalar sub-query
  kExists,
  kQuantified,  // op ANY/ALL (subquery): text holds "ANY" or "ALL"
};

struct Expr {
  ExprKind kind = ExprKind::kNull;
  std::string text;
  std::string op;
  double number = 0;
  bool negated = false;  // NOT BETWEEN, NOT IN, IS NOT NULL, NOT LIKE
  std::vector<std::string> parts;       // kName / kStar
  std::vector<char> separators;         // between parts: '.' or '!'
  bool bracketed_last = false;          // kName: the last part was written in brackets
  std::vector<std::unique_ptr<Expr>> args;
  std::shared_ptr<QueryExpr> subquery;
  size_t begin = 0, end = 0;            // source span, for error messages
};
using ExprPtr = std::unique_ptr<Expr>;

struct SelectItem {
  ExprPtr expr;
  std::string alias;  // empty when none was written
};

enum class JoinKind { kInner, kLeft, kRight };

struct TableRef {
  enum class Kind { kNamed, kDerived, kJoin };
  Kind kind = Kind::kNamed;
  std::string name;           // kNamed
  std::string alias;          // kNamed / kDerived
  std::string external_db;    // IN 'file'
  std::string external_connect;  // IN '' [;DATABASE=file]: the bracketed connect string
  std::shared_ptr<QueryExpr> derived;  // kDerived
  JoinKind join = JoinKind::kInner;    // kJoin
  std::unique_ptr<TableRef> left, right;
  ExprPtr on;
};

struct OrderItem {
  ExprPtr expr;
  bool descending = false;
};

enum class Quantifier { kAll, kDistinct, kDistinctRow };

struct TopClause {
  double count = 0;
  bool percent = false;
};

struct SelectCore {
  Quantifier quantifier = Quantifier::kAll;
  std::optional<TopClause> top;
  std::vector<SelectItem> items;
  std::string into_table;  // SELECT ... INTO (make-table)
  std::vector<std::unique_ptr<TableRef>> from;
  ExprPtr where;
  std::vector<ExprPtr> group_by;
  ExprPtr having;
};

// A SELECT or a UNION of query expressions, with the ORDER BY that applies to it.
struct QueryExpr {
  bool is_union = false;
  SelectCore select;                       // !is_union
  std::shared_ptr<QueryExpr> left, right;  // is_union
  bool union_all = false;
  std::vector<OrderItem> order_by;
};

struct ParameterDecl {
  std::string name;       // as written (brackets kept when written)
  std::string type_name;  // as written: Text, DateTime, Long, ...
  ColumnType type = ColumnType::kText;
  bool typed = true;      // false for "Value"
  int size = 0;           // Text (n)
};

struct Assignment {
  ExprPtr target;
  ExprPtr value;
};

enum class StatementKind { kSelect, kCrosstab, kInsert, kUpdate, kDelete };

struct Statement {
  StatementKind kind = StatementKind::kSelect;
  std::vector<ParameterDecl> parameters;
  std::shared_ptr<QueryExpr> query;  // kSelect, kCrosstab, kInsert (... SELECT), kDelete (its FROM/WHERE)
  // TRANSFORM agg [AS alias] ... PIVOT expr [IN (...)]
  ExprPtr transform;
  std::string transform_alias;
  ExprPtr pivot;
  std::vector<ExprPtr> pivot_in;
  // INSERT INTO target [(columns)] VALUES (...) | SELECT ...
  std::string target_table;
  std::string target_database;  // INSERT INTO t IN 'file'
  std::vector<std::string> target_columns;
  std::vector<ExprPtr> values;
  // UPDATE tables SET assignments [WHERE]
  std::vector<std::unique_ptr<TableRef>> update_tables;
  std::vector<Assignment> assignments;
  ExprPtr where;
  // DELETE [targets] FROM ...: t.*, t.Field ...
  std::vector<ExprPtr> delete_targets;
};

}  // namespace jet::sql
