#include "sql/query_text.h"

#include <algorithm>
#include <cctype>
#include <memory>

#include "sql/function_support.h"

namespace jet::sql {
namespace {

constexpr const char* kNewline = "\r\n";

enum Attribute {
  kType = 1, kParameter = 2, kFlags = 3, kRemoteDb = 4, kTable = 5, kColumn = 6,
  kJoin = 7, kWhere = 8, kGroupBy = 9, kHaving = 10, kOrderBy = 11,
};

// Select flags (the flag row).
constexpr int kSelectStar = 0x01, kDistinct = 0x02, kOwnerAccess = 0x04, kDistinctRow = 0x08, kTop = 0x10,
              kPercent = 0x20;
constexpr int kCrosstabPivot = 0x01, kCrosstabNormal = 0x02;
constexpr int kAppendValue = 0x8000;

std::vector<const QueryRow*> Rows(const std::vector<QueryRow>& rows, int attribute) {
  std::vector<const QueryRow*> out;
  for (const QueryRow& r : rows)
    if (r.attribute == attribute) out.push_back(&r);
  return out;
}

const QueryRow* Row(const std::vector<QueryRow>& rows, int attribute) {
  for (const QueryRow& r : rows)
    if (r.attribute == attribute) return &r;
  return nullptr;
}

int FlagOf(const QueryRow* r) { return r && r->flag ? *r->flag : 0; }
std::string Text(const std::optional<std::string>& s) { return s ? *s : std::string(); }

bool NeedsBrackets(std::string_view name) {
  for (unsigned char c : name)
    if (!(std::isalnum(c) || c == '_' || c >= 0x80)) return true;
  return false;
}

std::string Bracketed(std::string_view name) {
  if (name.size() >= 2 && name.front() == '[' && name.back() == ']') return std::string(name);
  return "[" + std::string(name) + "]";
}

// A dotted identifier with each part bracketed when it needs it.
std::string Identifier(std::string_view name) {
  std::string out;
  size_t start = 0;
  for (;;) {
    size_t dot = name.find('.', start);
    std::string_view part = name.substr(start, dot == std::string_view::npos ? std::string_view::npos : dot - start);
    out += NeedsBrackets(part) ? Bracketed(part) : std::string(part);
    if (dot == std::string_view::npos) break;
    out += '.';
    start = dot + 1;
  }
  return out;
}

std::string Alias(const std::optional<std::string>& alias) {
  if (!alias) return {};
  return " AS " + (NeedsBrackets(*alias) ? Bracketed(*alias) : *alias);
}

std::string Join(const std::vector<std::string>& items, const std::string& sep = ", ") {
  std::string out;
  for (size_t i = 0; i < items.size(); ++i) out += (i ? sep : "") + items[i];
  return out;
}

bool LooksLikeQuery(const std::string& s) {
  std::string f = FoldCase(s.substr(0, 7));
  return f == "select " || f == "select\r" || f == "select\n";
}

// FROM: the table rows, then each join row combines the two sources that
// hold its tables; a second join between the same pair adds to the ON.
struct FromItem {
  std::vector<std::string> names;  // the tables (by alias or name) it holds
  std::string text;
  int join_type = 0;
  std::vector<std::string> on;
  std::shared_ptr<FromItem> left, right;
  bool Contains(const std::string& n) const {
    for (const auto& x : names)
      if (FoldCase(x) == FoldCase(n)) return true;
    return false;
  }
  std::string Render(bool top) const {
    if (!left) return text;
    static const char* kJoins[] = {"", " INNER JOIN ", " LEFT JOIN ", " RIGHT JOIN "};
    std::string s = top ? "" : "(";
    s += left->Render(false) + kJoins[join_type >= 1 && join_type <= 3 ? join_type : 1] + right->Render(false) +
         " ON ";
    s += on.size() > 1 ? "(" + Join(on, ") AND (") + ")" : (on.empty() ? "" : on[0]);
    if (!top) s += ")";
    return s;
  }
};

std::vector<std::string> FromTables(const std::vector<QueryRow>& rows) {
  std::vector<std::shared_ptr<FromItem>> items;
  for (const QueryRow* t : Rows(rows, kTable)) {
    auto item = std::make_shared<FromItem>();
    std::string name1 = Text(t->name1);
    if (LooksLikeQuery(name1)) {
      item->text = "(" + name1 + ")";
    } else {
      if (t->expression) item->text = Bracketed(*t->expression) + ".";
      item->text += Identifier(name1);
    }
    item->text += Alias(t->name2);
    item->names.push_back(t->name2 ? *t->name2 : name1);
    items.push_back(item);
  }
  for (const QueryRow* j : Rows(rows, kJoin)) {
    std::string from = Text(j->name1), to = Text(j->name2);
    std::shared_ptr<FromItem> a, b;
    for (auto it = items.begin(); it != items.end();) {
      if (!a && (*it)->Contains(from)) {
        a = *it;
        if (!b && a->Contains(to)) {
          b = a;
          it = items.erase(it);
          break;
        }
        it = items.erase(it);
      } else if (!b && (*it)->Contains(to)) {
        b = *it;
        it = items.erase(it);
      } else {
        ++it;
      }
    }
    auto simple = [](const std::string& n) {
      auto f = std::make_shared<FromItem>();
      f->names.push_back(n);
      f->text = Identifier(n);
      return f;
    };
    if (!a) a = simple(from);
    if (!b) b = simple(to);
    if (a == b) {
      if (a->left && a->join_type == FlagOf(j)) a->on.insert(a->on.begin(), Text(j->expression));
      items.push_back(a);
      continue;
    }
    auto join = std::make_shared<FromItem>();
    join->left = a;
    join->right = b;
    join->join_type = FlagOf(j);
    join->on.push_back(Text(j->expression));
    join->names = a->names;
    join->names.insert(join->names.end(), b->names.begin(), b->names.end());
    items.push_back(join);
  }
  std::vector<std::string> out;
  for (const auto& item : items) out.push_back(item->Render(true));
  return out;
}

std::string RemoteDb(const std::optional<std::string>& path, const std::optional<std::string>& type) {
  if (!path && !type) return {};
  std::string s = " IN '" + Text(path) + "'";
  if (type) s += " [" + *type + "]";
  return s;
}

std::string Parameters(const std::vector<QueryRow>& rows) {
  static const std::pair<int, const char*> kTypes[] = {
      {0, "Value"},       {1, "Bit"},       {2, "Byte"},       {3, "Short"},    {4, "Long"},
      {5, "Currency"},    {6, "IEEESingle"}, {7, "IEEEDouble"}, {8, "DateTime"}, {9, "Binary"},
      {10, "Text"},       {11, "LongBinary"}, {12, "Memo"},     {15, "Guid"},    {16, "Decimal"}};
  std::vector<std::string> items;
  for (const QueryRow* p : Rows(rows, kParameter)) {
    std::string type = "Value";
    for (auto& [code, name] : kTypes)
      if (code == FlagOf(p)) type = name;
    std::string item = Text(p->name1) + " " + type;
    if (FlagOf(p) == 10 && p->extra && *p->extra > 0) item += " (" + std::to_string(*p->extra) + ")";
    items.push_back(item);
  }
  if (items.empty()) return {};
  return "PARAMETERS " + Join(items) + ";" + kNewline;
}

std::vector<std::string> Expressions(const std::vector<const QueryRow*>& rows) {
  std::vector<std::string> out;
  for (const QueryRow* r : rows) out.push_back(Text(r->expression));
  return out;
}

std::vector<std::string> Orderings(const std::vector<QueryRow>& rows) {
  std::vector<std::string> out;
  for (const QueryRow* r : Rows(rows, kOrderBy)) {
    std::string s = Text(r->expression);
    if (r->name1 && FoldCase(*r->name1) == "d") s += " DESC";
    out.push_back(s);
  }
  return out;
}

template <typename Keep>
std::vector<const QueryRow*> Filter(std::vector<const QueryRow*> rows, Keep keep) {
  std::vector<const QueryRow*> out;
  for (const QueryRow* r : rows)
    if (keep(r)) out.push_back(r);
  return out;
}

// SELECT [quantifier] columns [INTO] FROM ... WHERE ... GROUP BY ... HAVING ... ORDER BY ...
std::string SelectText(const std::vector<QueryRow>& rows, std::vector<const QueryRow*> columns,
                       std::vector<const QueryRow*> groups, bool prefix, const std::string& into) {
  const QueryRow* flags = Row(rows, kFlags);
  int f = FlagOf(flags);
  std::string s;
  if (prefix) {
    s = "SELECT ";
    if (f & kDistinct) s += "DISTINCT ";
    else if (f & kDistinctRow) s += "DISTINCTROW ";
    if (f & kTop) s += "TOP " + Text(flags->name1) + ((f & kPercent) ? " PERCENT " : " ");
  }
  std::vector<std::string> cols;
  for (const QueryRow* c : columns) cols.push_back(Text(c->expression) + Alias(c->name1));
  if (f & kSelectStar) cols.push_back("*");
  s += Join(cols) + into;
  std::vector<std::string> from = FromTables(rows);
  const QueryRow* remote = Row(rows, kRemoteDb);
  if (!from.empty()) {
    s += kNewline + std::string("FROM ") + Join(from);
    if (remote) s += RemoteDb(remote->name1, remote->expression);
  }
  if (const QueryRow* w = Row(rows, kWhere)) s += kNewline + std::string("WHERE ") + Text(w->expression);
  if (!groups.empty()) s += kNewline + std::string("GROUP BY ") + Join(Expressions(groups));
  if (const QueryRow* h = Row(rows, kHaving)) s += kNewline + std::string("HAVING ") + Text(h->expression);
  std::vector<std::string> order = Orderings(rows);
  if (!order.empty()) s += kNewline + std::string("ORDER BY ") + Join(order);
  return s;
}

std::string CleanUnionPart(std::string s) {
  size_t b = s.find_first_not_of(" \t\r\n");
  size_t e = s.find_last_not_of(" \t\r\n");
  s = b == std::string::npos ? "" : s.substr(b, e - b + 1);
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\r' || s[i] == '\n') {
      while (i + 1 < s.size() && (s[i + 1] == '\r' || s[i + 1] == '\n')) ++i;
      out += kNewline;
    } else {
      out += s[i];
    }
  }
  return out;
}

}  // namespace

const char* QueryKindName(QueryKind kind) {
  switch (kind) {
    case QueryKind::kSelect: return "Select";
    case QueryKind::kMakeTable: return "MakeTable";
    case QueryKind::kAppend: return "Append";
    case QueryKind::kUpdate: return "Update";
    case QueryKind::kDelete: return "Delete";
    case QueryKind::kCrosstab: return "Crosstab";
    case QueryKind::kDataDefinition: return "DataDefinition";
    case QueryKind::kPassThrough: return "PassThrough";
    case QueryKind::kUnion: return "Union";
  }
  return "Select";
}

QueryKind KindOfQuery(uint32_t object_flags, const std::vector<QueryRow>& rows) {
  switch (object_flags & 0xF0) {
    case 80: return QueryKind::kMakeTable;
    case 64: return QueryKind::kAppend;
    case 48: return QueryKind::kUpdate;
    case 32: return QueryKind::kDelete;
    case 16: return QueryKind::kCrosstab;
    case 96: return QueryKind::kDataDefinition;
    case 112: return QueryKind::kPassThrough;
    case 128: return QueryKind::kUnion;
    default: break;
  }
  const QueryRow* type = Row(rows, kType);
  int t = FlagOf(type);
  if (t >= 1 && t <= 9) return static_cast<QueryKind>(t);
  return QueryKind::kSelect;
}

std::string BuildQueryText(QueryKind kind, std::vector<QueryRow> rows) {
  std::stable_sort(rows.begin(), rows.end(), [](const QueryRow& a, const QueryRow& b) {
    if (a.attribute != b.attribute) return a.attribute < b.attribute;
    return a.order < b.order;
  });
  const QueryRow* type = Row(rows, kType);
  if (kind == QueryKind::kPassThrough || kind == QueryKind::kDataDefinition) {
    return type ? Text(type->expression) : std::string();
  }
  std::string s = Parameters(rows);
  std::vector<const QueryRow*> columns = Rows(rows, kColumn);
  std::vector<const QueryRow*> groups = Rows(rows, kGroupBy);
  switch (kind) {
    case QueryKind::kSelect:
      s += SelectText(rows, columns, groups, true, "");
      break;
    case QueryKind::kMakeTable: {
      std::string into = " INTO " + Identifier(type ? Text(type->name1) : "") +
                         (type ? RemoteDb(type->name2, type->expression) : "");
      s += SelectText(rows, columns, groups, true, into);
      break;
    }
    case QueryKind::kAppend: {
      auto values = Filter(columns, [](const QueryRow* r) { return (FlagOf(r) & kAppendValue) != 0; });
      auto selected = Filter(columns, [](const QueryRow* r) { return (FlagOf(r) & kAppendValue) == 0; });
      std::vector<std::string> targets;
      for (const QueryRow* c : columns)
        if (c->name2) targets.push_back(Identifier(*c->name2));
      s += "INSERT INTO " + Identifier(type ? Text(type->name1) : "");
      if (!targets.empty()) s += " (" + Join(targets) + ")";
      if (type) s += RemoteDb(type->name2, type->expression);
      s += kNewline;
      if (!values.empty()) s += "VALUES (" + Join(Expressions(values)) + ")";
      else s += SelectText(rows, selected, groups, true, "");
      break;
    }
    case QueryKind::kUpdate: {
      s += "UPDATE " + Join(FromTables(rows));
      if (const QueryRow* remote = Row(rows, kRemoteDb)) s += RemoteDb(remote->name1, remote->expression);
      std::vector<std::string> sets;
      for (const QueryRow* c : columns) sets.push_back(Identifier(Text(c->name2)) + " = " + Text(c->expression));
      s += kNewline + std::string("SET ") + Join(sets);
      if (const QueryRow* w = Row(rows, kWhere)) s += kNewline + std::string("WHERE ") + Text(w->expression);
      break;
    }
    case QueryKind::kDelete:
      s += "DELETE " + SelectText(rows, columns, groups, false, "");
      break;
    case QueryKind::kCrosstab: {
      auto normal = Filter(columns, [](const QueryRow* r) { return (FlagOf(r) & kCrosstabNormal) != 0; });
      auto pivot = Filter(columns, [](const QueryRow* r) { return (FlagOf(r) & kCrosstabPivot) != 0; });
      auto transform = Filter(columns, [](const QueryRow* r) {
        return (FlagOf(r) & (kCrosstabNormal | kCrosstabPivot)) == 0;
      });
      auto normal_groups = Filter(groups, [](const QueryRow* r) { return (FlagOf(r) & kCrosstabNormal) != 0; });
      if (!transform.empty() && transform[0]->expression)
        s += "TRANSFORM " + *transform[0]->expression + Alias(transform[0]->name1) + kNewline;
      s += SelectText(rows, normal, normal_groups, true, "");
      s += kNewline + std::string("PIVOT ") + (pivot.empty() ? "" : Text(pivot[0]->expression));
      break;
    }
    case QueryKind::kUnion: {
      std::string part1, part2;
      for (const QueryRow* t : Rows(rows, kTable)) {
        if (t->name2 && *t->name2 == "X7YZ_____1") part1 = CleanUnionPart(Text(t->expression));
        if (t->name2 && *t->name2 == "X7YZ_____2") part2 = CleanUnionPart(Text(t->expression));
      }
      const QueryRow* flags = Row(rows, kFlags);
      bool distinct = (FlagOf(flags) & 0x02) != 0;
      s += part1 + kNewline + "UNION " + (distinct ? "" : "ALL ") + part2;
      std::vector<std::string> order = Orderings(rows);
      if (!order.empty()) s += kNewline + std::string("ORDER BY ") + Join(order);
      break;
    }
    default:
      break;
  }
  const QueryRow* flags = Row(rows, kFlags);
  if (FlagOf(flags) & kOwnerAccess) s += kNewline + std::string("WITH OWNERACCESS OPTION");
  return s + ";";
}

}  // namespace jet::sql
