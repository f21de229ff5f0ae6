#include "sql/lexer.h"

#include <cctype>

namespace jet::sql {
namespace {

bool IsWordStart(unsigned char c) { return std::isalpha(c) || c == '_' || c >= 0x80; }
bool IsWordChar(unsigned char c) { return std::isalnum(c) || c == '_' || c >= 0x80 || c == '$'; }

Status Unterminated(std::string_view sql, size_t at, const char* what) {
  return Status::InvalidArgument("Syntax error in query expression '" + std::string(sql.substr(at)) +
                                     "': " + what + " is not closed.",
                                 3075);
}

// Reads a quoted literal starting at sql[*pos] (the quote), doubling as escape.
bool ReadQuoted(std::string_view sql, size_t* pos, char quote, std::string* out) {
  size_t i = *pos + 1;
  while (i < sql.size()) {
    if (sql[i] == quote) {
      if (i + 1 < sql.size() && sql[i + 1] == quote) {
        out->push_back(quote);
        i += 2;
        continue;
      }
      *pos = i + 1;
      return true;
    }
    out->push_back(sql[i++]);
  }
  return false;
}

size_t ReadNumber(std::string_view sql, size_t i) {
  while (i < sql.size() && std::isdigit(static_cast<unsigned char>(sql[i]))) ++i;
  if (i < sql.size() && sql[i] == '.') {
    ++i;
    while (i < sql.size() && std::isdigit(static_cast<unsigned char>(sql[i]))) ++i;
  }
  if (i < sql.size() && (sql[i] == 'e' || sql[i] == 'E')) {
    size_t j = i + 1;
    if (j < sql.size() && (sql[j] == '+' || sql[j] == '-')) ++j;
    if (j < sql.size() && std::isdigit(static_cast<unsigned char>(sql[j]))) {
      i = j;
      while (i < sql.size() && std::isdigit(static_cast<unsigned char>(sql[i]))) ++i;
    }
  }
  return i;
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  return text;
}

}  // namespace

bool WordIs(std::string_view word, std::string_view keyword) {
  if (word.size() != keyword.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(word[i])) !=
        std::toupper(static_cast<unsigned char>(keyword[i])))
      return false;
  }
  return true;
}

Status Tokenize(std::string_view sql, std::vector<Token>* tokens) {
  tokens->clear();
  size_t i = 0;
  while (i < sql.size()) {
    unsigned char c = sql[i];
    if (std::isspace(c) || c == 0) {
      ++i;
      continue;
    }
    Token t;
    t.begin = i;
    if (c == '[' || c == '`') {
      char close = c == '[' ? ']' : '`';
      size_t e = sql.find(close, i + 1);
      if (e == std::string_view::npos) return Unterminated(sql, i, "a bracketed name");
      t.kind = TokenKind::kBracketed;
      t.text = std::string(sql.substr(i + 1, e - i - 1));
      i = e + 1;
    } else if (c == '"' || c == '\'') {
      t.kind = TokenKind::kString;
      if (!ReadQuoted(sql, &i, static_cast<char>(c), &t.text)) return Unterminated(sql, t.begin, "a text");
    } else if (c == '{') {
      // A GUID literal, {guid {XXXXXXXX-...}}; its text is checked when translated.
      const size_t open = sql.find('{', i + 1), close = sql.find("}}", i + 1);
      if (open == std::string_view::npos || close == std::string_view::npos || close < open ||
          !WordIs(Trimmed(sql.substr(i + 1, open - i - 1)), "guid")) {
        return Unterminated(sql, i, "a GUID");
      }
      t.kind = TokenKind::kGuid;
      t.text = std::string(Trimmed(sql.substr(open, close + 1 - open)));
      i = close + 2;
    } else if (c == '#') {
      size_t e = sql.find('#', i + 1);
      if (e == std::string_view::npos) return Unterminated(sql, i, "a date");
      t.kind = TokenKind::kDate;
      t.text = std::string(sql.substr(i + 1, e - i - 1));
      i = e + 1;
    } else if (std::isdigit(c) || (c == '.' && i + 1 < sql.size() &&
                                   std::isdigit(static_cast<unsigned char>(sql[i + 1])))) {
      t.kind = TokenKind::kNumber;
      size_t e = ReadNumber(sql, i);
      t.text = std::string(sql.substr(i, e - i));
      i = e;
    } else if (IsWordStart(c)) {
      t.kind = TokenKind::kWord;
      size_t e = i;
      while (e < sql.size() && IsWordChar(static_cast<unsigned char>(sql[e]))) ++e;
      t.text = std::string(sql.substr(i, e - i));
      i = e;
    } else {
      t.kind = TokenKind::kSymbol;
      std::string_view two = sql.substr(i, 2);
      if (two == "<>" || two == "<=" || two == ">=" || two == "!=") {
        t.text = std::string(two == "!=" ? "<>" : two);
        i += 2;
      } else {
        t.text = std::string(1, static_cast<char>(c));
        ++i;
      }
    }
    t.end = i;
    tokens->push_back(std::move(t));
  }
  Token end;
  end.kind = TokenKind::kEnd;
  end.begin = end.end = sql.size();
  tokens->push_back(end);
  return Status::OK();
}

}  // namespace jet::sql
