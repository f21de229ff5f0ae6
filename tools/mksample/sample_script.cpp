#include "sample_script.h"

#include <cstdlib>
#include <map>
#include <sstream>

namespace mksample {
namespace {

using jet::ColumnType;
using jet::Status;

bool TypeNamed(const std::string& name, ColumnType* type) {
  static const std::map<std::string, ColumnType> kTypes = {
      {"boolean", ColumnType::kBoolean}, {"byte", ColumnType::kByte},     {"integer", ColumnType::kInteger},
      {"long", ColumnType::kLong},       {"currency", ColumnType::kCurrency}, {"single", ColumnType::kSingle},
      {"double", ColumnType::kDouble},   {"datetime", ColumnType::kDateTime}, {"text", ColumnType::kText},
      {"memo", ColumnType::kMemo},       {"binary", ColumnType::kBinary}};
  std::string lower;
  for (char c : name) lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  auto it = kTypes.find(lower);
  if (it == kTypes.end()) return false;
  *type = it->second;
  return true;
}

class Parser {
 public:
  explicit Parser(Script* script) : script_(script) {}
  Status Line(int number, const std::vector<std::string>& w, const std::vector<bool>& quoted);
  Status Finish() const {
    return block_.empty() ? Status::OK() : Status::InvalidArgument("the script ends inside a " + block_ + " block");
  }

 private:
  Status TableLine(const std::vector<std::string>& w);
  Status QueryLine(const std::vector<std::string>& w);
  Status Column(const std::vector<std::string>& w);

  Script* script_;
  std::string block_;
};

Status Parser::Column(const std::vector<std::string>& w) {
  if (w.size() < 3) return Status::InvalidArgument("COLUMN needs a name and a type");
  jet::ColumnSpec c;
  c.name = w[1];
  if (!TypeNamed(w[2], &c.type)) return Status::InvalidArgument("unknown column type '" + w[2] + "'");
  for (size_t i = 3; i < w.size(); ++i) {
    const std::string& k = w[i];
    auto next = [&](std::string* out) {
      if (i + 1 >= w.size()) return false;
      *out = w[++i];
      return true;
    };
    if (k == "REQUIRED") c.required = true;
    else if (k == "AUTONUMBER") c.autonumber = true;
    else if (k == "CAPTION" && next(&c.caption)) continue;
    else if (k == "FORMAT" && next(&c.format)) continue;
    else if (k == "DESCRIPTION" && next(&c.description)) continue;
    else if (std::isdigit(static_cast<unsigned char>(k[0]))) c.size = std::atoi(k.c_str());
    else return Status::InvalidArgument("unexpected '" + k + "' in COLUMN");
  }
  script_->tables.back().columns.push_back(c);
  return Status::OK();
}

Status Parser::TableLine(const std::vector<std::string>& w) {
  if (w[0] == "COLUMN") return Column(w);
  if (w[0] == "INDEX") {
    if (w.size() < 4) return Status::InvalidArgument("INDEX needs a name, a kind and columns");
    jet::IndexSpec idx;
    idx.name = w[1];
    idx.primary = w[2] == "PRIMARY";
    idx.unique = w[2] == "UNIQUE";
    if (!idx.primary && !idx.unique && w[2] != "PLAIN") return Status::InvalidArgument("unknown index kind " + w[2]);
    idx.columns.assign(w.begin() + 3, w.end());
    script_->tables.back().indexes.push_back(idx);
    return Status::OK();
  }
  return Status::InvalidArgument("unexpected '" + w[0] + "' in a TABLE block");
}

Status Parser::QueryLine(const std::vector<std::string>& w) {
  jet::QuerySpec& q = script_->queries.back();
  const std::string& k = w[0];
  auto arg = [&](size_t i) { return i < w.size() ? w[i] : std::string(); };
  if (k == "PARAM") {
    ColumnType type;
    if (!TypeNamed(arg(2), &type)) return Status::InvalidArgument("unknown parameter type '" + arg(2) + "'");
    q.parameters.push_back({arg(1), type});
  } else if (k == "FROM") {
    q.from.push_back({arg(1), arg(2)});
  } else if (k == "JOIN") {
    const std::string kind = arg(3);
    q.joins.push_back({arg(1), arg(2), kind == "LEFT" ? 2 : kind == "RIGHT" ? 3 : 1, arg(4)});
  } else if (k == "COLUMN") {
    using Role = jet::QuerySpec::Role;
    std::string alias = arg(2);
    std::string role_name = arg(3);
    if (alias == "ROW" || alias == "PIVOT" || alias == "VALUE") std::swap(alias, role_name);
    Role role = role_name == "ROW" ? Role::kRowHeading : role_name == "PIVOT" ? Role::kColumnHeading
              : role_name == "VALUE" ? Role::kValue : Role::kPlain;
    q.columns.push_back({arg(1), alias, role});
  } else if (k == "WHERE") {
    q.where = arg(1);
  } else if (k == "GROUP") {
    q.group_by.push_back(arg(1));
  } else if (k == "HAVING") {
    q.having = arg(1);
  } else if (k == "ORDER") {
    q.order_by.push_back({arg(1), arg(2) == "DESC"});
  } else if (k == "TOP") {
    q.top = std::atoi(arg(1).c_str());
  } else if (k == "DISTINCT") {
    q.distinct = true;
  } else if (k == "FIRST") {
    q.union_first = arg(1);
  } else if (k == "SECOND") {
    q.union_second = arg(1);
  } else if (k == "ALL") {
    q.union_all = true;
  } else {
    return Status::InvalidArgument("unexpected '" + k + "' in a QUERY block");
  }
  return Status::OK();
}

Status Parser::Line(int, const std::vector<std::string>& w, const std::vector<bool>& quoted) {
  if (w.empty()) return Status::OK();
  if (w[0] == "END") {
    if (block_.empty()) return Status::InvalidArgument("END outside a block");
    block_.clear();
    return Status::OK();
  }
  if (block_ == "TABLE") return TableLine(w);
  if (block_ == "QUERY") return QueryLine(w);
  if (w[0] == "TABLE" && w.size() >= 2) {
    jet::TableSpec t;
    t.name = w[1];
    if (w.size() > 2) t.description = w[2];
    script_->tables.push_back(t);
    block_ = "TABLE";
  } else if (w[0] == "QUERY" && w.size() >= 3) {
    static const std::map<std::string, jet::QueryType> kKinds = {
        {"SELECT", jet::QueryType::kSelect}, {"CROSSTAB", jet::QueryType::kCrosstab},
        {"UNION", jet::QueryType::kUnion},   {"DELETE", jet::QueryType::kDelete}};
    auto it = kKinds.find(w[2]);
    if (it == kKinds.end()) return Status::InvalidArgument("unknown query kind '" + w[2] + "'");
    jet::QuerySpec q;
    q.name = w[1];
    q.type = it->second;
    script_->queries.push_back(q);
    block_ = "QUERY";
  } else if (w[0] == "ROW" && w.size() >= 2) {
    LiteralRow r;
    r.table = w[1];
    for (size_t i = 2; i < w.size(); ++i) {
      const bool null = !quoted[i] && w[i] == "NULL";
      r.values.push_back(null ? std::string() : w[i]);
      r.is_null.push_back(null);
    }
    script_->rows.push_back(r);
  } else if (w[0] == "GENERATE" && w.size() >= 2) {
    script_->generate.push_back({w[1], w.size() > 2 ? std::atol(w[2].c_str()) : 0});
  } else {
    return Status::InvalidArgument("unexpected '" + w[0] + "'");
  }
  return Status::OK();
}

}  // namespace

Status SplitLine(const std::string& line, std::vector<std::string>* words, std::vector<bool>* quoted) {
  words->clear();
  quoted->clear();
  size_t i = 0;
  while (i < line.size()) {
    if (std::isspace(static_cast<unsigned char>(line[i]))) {
      ++i;
      continue;
    }
    if (line[i] == '#') break;
    std::string word;
    if (line[i] == '"') {
      ++i;
      for (;;) {
        if (i >= line.size()) return Status::InvalidArgument("unterminated quoted text");
        if (line[i] == '"') {
          if (i + 1 < line.size() && line[i + 1] == '"') {
            word += '"';
            i += 2;
            continue;
          }
          ++i;
          break;
        }
        word += line[i++];
      }
      quoted->push_back(true);
    } else {
      while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i]))) word += line[i++];
      quoted->push_back(false);
    }
    words->push_back(word);
  }
  return Status::OK();
}

Status ParseScript(const std::string& text, Script* script) {
  Parser parser(script);
  std::istringstream in(text);
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    std::vector<std::string> words;
    std::vector<bool> quoted;
    Status s = SplitLine(line, &words, &quoted);
    if (s.ok()) s = parser.Line(number, words, quoted);
    if (!s.ok()) return Status::InvalidArgument("line " + std::to_string(number) + ": " + s.message());
  }
  return parser.Finish();
}

}  // namespace mksample
