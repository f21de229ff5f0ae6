// A saved query's SQL text, rebuilt from its MSysQueries rows the way
// Access shows it in SQL view.
#pragma once

#include "jet/query.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace jet::sql {

// One MSysQueries row; absent values are nullopt.
struct QueryRow {
  int attribute = 0;
  std::optional<std::string> expression;
  std::optional<int> flag;
  std::optional<int> extra;
  std::optional<std::string> name1;
  std::optional<std::string> name2;
  std::vector<uint8_t> order;
};

// Jet's query kinds, numbered as the type row's flag stores them.
using QueryKind = ::jet::QueryType;

// The kind from the catalogue flags (high nibble) or, when those say
// select, from the type row; many select queries have no type row.
QueryKind KindOfQuery(uint32_t object_flags, const std::vector<QueryRow>& rows);

// `rows` are one query's rows in any order; they are sorted by attribute and
// Order here. Lines are joined with CR LF, as DAO returns them.
std::string BuildQueryText(QueryKind kind, std::vector<QueryRow> rows);

const char* QueryKindName(QueryKind kind);

}  // namespace jet::sql
