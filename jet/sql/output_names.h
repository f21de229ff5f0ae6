// The names Access gives the columns of a select list's result; they are
// what users see as a workbook's header row.
#pragma once

#include <string>
#include <vector>

namespace jet::sql {

// What a result column's name is made from.
struct ColumnOrigin {
  std::string alias;   // written after AS
  std::string source;  // a field column's table or query, by the name FROM gives it
  std::string field;   // a field column's field; empty for an expression
};

// One name per column, in order:
// - an AS alias is the name as written;
// - an expression without one is Expr followed by 1000 plus the column's
//   0-based position among the result's columns (Expr1001 for the second);
// - a field keeps its name, but when the same field of the same source is
//   shown again further on, this earlier column is named as an expression;
// - a field whose name another column also carries is qualified by its
//   source, source.field (both CompanyName fields of a join of Customers and
//   Shippers become Customers.CompanyName and Shippers.CompanyName).
std::vector<std::string> OutputColumnNames(const std::vector<ColumnOrigin>& columns);

}  // namespace jet::sql
