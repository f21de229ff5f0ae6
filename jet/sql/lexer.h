// Jet SQL tokens. Keywords are not told apart here: the parser asks whether
// a word token spells one, because Jet lets most keywords be field names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "jet/status.h"

namespace jet::sql {

enum class TokenKind {
  kWord,        // bare identifier or keyword
  kBracketed,   // [name] or `name`: always an identifier
  kString,      // "..." or '...', quotes removed and doubled quotes undone
  kNumber,
  kDate,        // #...#, the text between the hashes
  kGuid,        // {guid {...}}, the inner braces and what they hold
  kSymbol,      // operators and punctuation: = <> <= >= < > + - * / \ ^ & ( ) , . ! ; ?
  kEnd,
};

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string text;
  size_t begin = 0;  // byte offsets in the statement
  size_t end = 0;
};

// Splits `sql` into tokens. A statement that cannot be tokenised (an
// unterminated string, bracket or date) gives an InvalidArgument with 3075.
Status Tokenize(std::string_view sql, std::vector<Token>* tokens);

// True when `word` equals `keyword` without regard to ASCII case.
bool WordIs(std::string_view word, std::string_view keyword);

}  // namespace jet::sql
