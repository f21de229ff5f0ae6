// The sample database script: a line-based text of our own. Each line is a
// keyword and its arguments, separated by blanks; an argument with blanks is
// written in double quotes (a quote inside doubled). Blocks:
//
//   TABLE name ["description"]
//     COLUMN name type [size] [REQUIRED] [AUTONUMBER] [CAPTION "..."] [FORMAT "..."] [DESCRIPTION "..."]
//     INDEX name PRIMARY|UNIQUE|PLAIN column [column ...]
//   END
//   QUERY name SELECT|CROSSTAB|UNION|DELETE
//     PARAM name type | FROM table [alias] | JOIN left right INNER|LEFT|RIGHT "on"
//     COLUMN "expression" ["alias"] [ROW|PIVOT|VALUE] | WHERE "..." | GROUP "..."
//     HAVING "..." | ORDER "..." [DESC] | TOP n | DISTINCT | FIRST "select" | SECOND "select" | ALL
//   END
//   ROW table value ...        (one value per column; NULL for none)
//   GENERATE what [count]      (rows made by mksample from its seed)
#pragma once

#include <string>
#include <vector>

#include "jet/create.h"
#include "jet/status.h"

namespace mksample {

struct LiteralRow {
  std::string table;
  std::vector<std::string> values;  // "NULL" (unquoted in the script) is kept as a null marker
  std::vector<bool> is_null;
};

struct Generate {
  std::string what;
  long count = 0;
};

struct Script {
  std::vector<jet::TableSpec> tables;
  std::vector<jet::QuerySpec> queries;
  std::vector<LiteralRow> rows;
  std::vector<Generate> generate;
};

// Parses the script text; errors name the line.
jet::Status ParseScript(const std::string& text, Script* script);

// Splits one line into its arguments (quotes removed).
jet::Status SplitLine(const std::string& line, std::vector<std::string>* words, std::vector<bool>* quoted);

}  // namespace mksample
