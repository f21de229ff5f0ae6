// Jet SQL text -> syntax tree.
#pragma once

#include <string_view>

#include "jet/status.h"
#include "sql/ast.h"

namespace jet::sql {

// Parses one statement: [PARAMETERS ...;] then SELECT, TRANSFORM, INSERT,
// UPDATE or DELETE. Errors carry Jet's numbers (3075 expression, 3131 FROM
// clause, 3129 unknown statement).
Status ParseStatement(std::string_view sql, Statement* statement);

// Parses a PARAMETERS declaration list such as `[From] DateTime, To Text (50)`
// (names may hold blanks and punctuation, as Jet 3 stores them).
Status ParseParameterList(std::string_view text, std::vector<ParameterDecl>* parameters);

// Maps a declared type name (Text, DateTime, IEEEDouble, Long, ...) to a column
// type; false when unknown. "Value" maps to an untyped parameter.
bool ParameterTypeFromName(std::string_view name, ColumnType* type, bool* typed);

}  // namespace jet::sql
