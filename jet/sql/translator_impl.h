// The translator's working state, shared by its source files: scopes of
// FROM sources, the parameters met so far, and the expression rules.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "sql/output_names.h"
#include "sql/translator.h"

namespace jet::sql {

struct TypedSql {
  std::string sql;
  SqlType type = SqlType::kNull;
  int decimal_scale = 0;
  std::string caption;
  // The SQL is a SQLite truth value (1/0/Null) that Jet sees as -1/0/Null.
  bool truth = false;
};

struct Source {
  std::string alias;         // the name the query qualifies it by
  std::string sqlite_alias;  // s1, s2, ...
  std::vector<SourceColumn> columns;
  bool stored_table = false;  // a copied table, whose SQLite rowid is the Jet row's place
  bool shown = false;         // a field of it was named while translating the select list
};

struct Scope {
  std::vector<Source> sources;
  Scope* outer = nullptr;
  // Select-list aliases, so WHERE and ORDER BY may name a computed column.
  const std::vector<SelectItem>* items = nullptr;
  std::set<std::string> expanding_aliases;
};

struct QueryOut {
  std::string sql;
  std::vector<OutputColumn> columns;
};

class Translator {
 public:
  Translator(TranslationCatalog* catalog, Translation* out) : catalog_(catalog), out_(out) {}

  Status TranslateStatement(const Statement& st);
  Status CollectAction(const Statement& st);

 private:
  friend class ExpressionRules;
  // Queries and FROM.
  Status TranslateQuery(const QueryExpr& q, Scope* outer, QueryOut* out);
  Status TranslateSelect(const QueryExpr& q, Scope* outer, QueryOut* out);
  Status TranslateCrosstab(const Statement& st, QueryOut* out);
  Status TranslateFrom(const TableRef& ref, Scope* scope, std::string* sql);
  Status TranslateNamedSource(const TableRef& ref, Scope* scope, std::string* sql);
  Status SelectList(const SelectCore& core, Scope* scope, std::vector<TypedSql>* items,
                    std::vector<OutputColumn>* columns);
  // The columns of * or source.*, in the order of the sources and their fields.
  Status ExpandStar(const sql::Expr& star, Scope* scope, std::vector<TypedSql>* items,
                    std::vector<OutputColumn>* columns, std::vector<ColumnOrigin>* origins);
  Status OrderKeys(const std::vector<OrderItem>& order, Scope* scope, std::vector<std::string>* keys);
  std::string DistinctRowKeys(const SelectCore& core, const Scope& scope) const;
  Status GroupingClauses(const SelectCore& core, Scope* scope, const std::string& row_identity, std::string* body);

  // Expressions (translate_expr.cpp).
 public:
  // A value as Jet holds it: True is -1.
  Status Expr(const sql::Expr& e, Scope* scope, TypedSql* out);
  // For WHERE, ON, HAVING and the operands of And/Or/Not: a comparison stays
  // a bare SQLite condition so that SQLite can still use its indexes.
  Status Condition(const sql::Expr& e, Scope* scope, TypedSql* out);
 private:
  Status Name(const sql::Expr& e, Scope* scope, TypedSql* out);
  Status Parameter(const sql::Expr& e, TypedSql* out);
  Status Binary(const sql::Expr& e, Scope* scope, TypedSql* out);
  Status Compare(const std::string& op, TypedSql a, TypedSql b, TypedSql* out);
  Status Call(const sql::Expr& e, Scope* scope, TypedSql* out);
  Status Aggregate(const std::string& name, const sql::Expr& e, Scope* scope, TypedSql* out);
  Status Subquery(const QueryExpr& q, Scope* scope, QueryOut* out);
  std::string NextAlias() { return "s" + std::to_string(++alias_counter_); }

  TranslationCatalog* catalog_;
  Translation* out_;
  int alias_counter_ = 0;
  std::set<std::string> open_queries_;  // saved queries being expanded, against cycles
  std::string pivot_match_;  // set while translating a crosstab cell
  std::string source_text_;  // the statement being translated, for parameter names
  std::vector<std::string> source_stack_;

 public:
  const std::string& source_text() const { return source_text_; }
  void set_source_text(std::string text) { source_text_ = std::move(text); }
};

// Conversions between the ways SQLite holds Jet's types.
std::string AsText(const TypedSql& t);
std::string AsNumber(const TypedSql& t);
std::string AsCurrency(const TypedSql& t);
std::string AsDate(const TypedSql& t);
std::string AsDecimal(const TypedSql& t);
// Places after the point a number of this kind carries (Currency four).
int DecimalPlaces(const TypedSql& t);
// The collation that orders values of the type as Jet does: text by the
// General order, Decimal (held as text) by value; none for the rest.
std::string Collation(SqlType t);
std::string QuoteSqlText(std::string_view text);
std::string DoubleLiteral(double v);
bool NamesEqual(std::string_view a, std::string_view b);
bool IsAggregate(std::string_view name);
Status SyntaxError(const std::string& text);

}  // namespace jet::sql
