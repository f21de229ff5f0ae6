// PARAMETERS declarations: `name type` pairs whose names Jet 3 stores bare,
// blanks and punctuation included, so they cannot go through the tokenizer.
#include <cctype>
#include <cstdlib>

#include "sql/lexer.h"
#include "sql/parser.h"

namespace jet::sql {
namespace {

struct TypeName {
  std::string_view name;
  ColumnType type;
};

// Jet's own names first, then the ANSI and DDL synonyms it accepts.
constexpr TypeName kTypeNames[] = {
    {"Bit", ColumnType::kBoolean},        {"YesNo", ColumnType::kBoolean},
    {"Logical", ColumnType::kBoolean},    {"Boolean", ColumnType::kBoolean},
    {"Byte", ColumnType::kByte},          {"Short", ColumnType::kInteger},
    {"SmallInt", ColumnType::kInteger},   {"Integer2", ColumnType::kInteger},
    {"Long", ColumnType::kLong},          {"Integer", ColumnType::kLong},
    {"Int", ColumnType::kLong},           {"Integer4", ColumnType::kLong},
    {"Counter", ColumnType::kLong},       {"AutoIncrement", ColumnType::kLong},
    {"Currency", ColumnType::kCurrency},  {"Money", ColumnType::kCurrency},
    {"IEEESingle", ColumnType::kSingle},  {"Single", ColumnType::kSingle},
    {"Real", ColumnType::kSingle},        {"Float4", ColumnType::kSingle},
    {"IEEEDouble", ColumnType::kDouble},  {"Double", ColumnType::kDouble},
    {"Float", ColumnType::kDouble},       {"Float8", ColumnType::kDouble},
    {"Number", ColumnType::kDouble},      {"DateTime", ColumnType::kDateTime},
    {"Date", ColumnType::kDateTime},      {"Time", ColumnType::kDateTime},
    {"TimeStamp", ColumnType::kDateTime}, {"Text", ColumnType::kText},
    {"Char", ColumnType::kText},          {"VarChar", ColumnType::kText},
    {"String", ColumnType::kText},        {"Alphanumeric", ColumnType::kText},
    {"Memo", ColumnType::kMemo},          {"LongText", ColumnType::kMemo},
    {"LongChar", ColumnType::kMemo},      {"Note", ColumnType::kMemo},
    {"Binary", ColumnType::kBinary},      {"VarBinary", ColumnType::kBinary},
    {"LongBinary", ColumnType::kOle},     {"OLEObject", ColumnType::kOle},
    {"General", ColumnType::kOle},        {"Image", ColumnType::kOle},
    {"Guid", ColumnType::kGuid},          {"UniqueIdentifier", ColumnType::kGuid},
    {"Decimal", ColumnType::kDecimal},    {"Numeric", ColumnType::kDecimal},
};

std::string_view Trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

// Splits at commas outside brackets, quotes and parentheses.
std::vector<std::string_view> SplitTopLevel(std::string_view text) {
  std::vector<std::string_view> items;
  int depth = 0;
  char quote = 0;
  bool bracket = false;
  size_t start = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (quote) {
      if (c == quote) quote = 0;
    } else if (bracket) {
      if (c == ']') bracket = false;
    } else if (c == '[') {
      bracket = true;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == '(') {
      ++depth;
    } else if (c == ')') {
      --depth;
    } else if (c == ',' && depth == 0) {
      items.push_back(text.substr(start, i - start));
      start = i + 1;
    }
  }
  items.push_back(text.substr(start));
  return items;
}

Status ParseOne(std::string_view item, ParameterDecl* decl) {
  item = Trim(item);
  int size = 0;
  // A trailing "(n)" belongs to a Text type.
  if (!item.empty() && item.back() == ')') {
    size_t open = item.rfind('(');
    if (open != std::string_view::npos) {
      std::string_view digits = Trim(item.substr(open + 1, item.size() - open - 2));
      bool numeric = !digits.empty();
      for (char c : digits) numeric = numeric && std::isdigit(static_cast<unsigned char>(c));
      if (numeric) {
        size = std::atoi(std::string(digits).c_str());
        item = Trim(item.substr(0, open));
      }
    }
  }
  size_t blank = item.find_last_of(" \t\r\n]");
  if (blank == std::string_view::npos) {
    return Status::InvalidArgument("Syntax error in PARAMETERS clause near '" + std::string(item) + "'.",
                                   3075);
  }
  std::string_view type_name = Trim(item.substr(blank + 1));
  std::string_view name = Trim(item.substr(0, item[blank] == ']' ? blank + 1 : blank));
  if (!ParameterTypeFromName(type_name, &decl->type, &decl->typed) || name.empty()) {
    return Status::InvalidArgument("Syntax error in PARAMETERS clause near '" + std::string(item) + "'.",
                                   3075);
  }
  decl->name = std::string(name);
  decl->type_name = std::string(type_name);
  decl->size = size;
  return Status::OK();
}

}  // namespace

bool ParameterTypeFromName(std::string_view name, ColumnType* type, bool* typed) {
  if (WordIs(name, "Value")) {
    *type = ColumnType::kText;
    *typed = false;
    return true;
  }
  for (const TypeName& t : kTypeNames) {
    if (WordIs(name, t.name)) {
      *type = t.type;
      *typed = true;
      return true;
    }
  }
  return false;
}

Status ParseParameterList(std::string_view text, std::vector<ParameterDecl>* parameters) {
  for (std::string_view item : SplitTopLevel(text)) {
    if (Trim(item).empty()) continue;
    ParameterDecl decl;
    JET_RETURN_IF_ERROR(ParseOne(item, &decl));
    parameters->push_back(std::move(decl));
  }
  return Status::OK();
}

}  // namespace jet::sql
