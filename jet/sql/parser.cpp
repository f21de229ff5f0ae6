#include "sql/parser.h"

#include <array>
#include <cctype>
#include <cstdlib>

#include "sql/date_math.h"
#include "sql/lexer.h"

namespace jet::sql {

Status ParseStatementTokens(std::string_view sql, Statement* st);

namespace {

bool StartsWithSelect(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (std::isspace(static_cast<unsigned char>(text[i])) || text[i] == '(')) ++i;
  return text.size() - i > 7 && WordIs(text.substr(i, 6), "SELECT") &&
         std::isspace(static_cast<unsigned char>(text[i + 6]));
}

constexpr std::array<std::string_view, 43> kReserved = {
    "SELECT", "FROM",   "WHERE",  "GROUP",     "BY",          "HAVING",  "ORDER",   "UNION",  "AND",
    "OR",     "NOT",    "XOR",    "EQV",       "IMP",         "MOD",     "LIKE",    "IS",     "IN",
    "BETWEEN", "AS",    "ON",     "JOIN",      "INNER",       "LEFT",    "RIGHT",   "OUTER",  "INTO",
    "VALUES", "SET",    "PIVOT",  "TRANSFORM", "DISTINCT",    "DISTINCTROW", "TOP", "PERCENT", "ALL",
    "ASC",    "DESC",   "WITH",   "PARAMETERS", "EXISTS",     "ANY",     "SOME"};

bool IsReserved(std::string_view word) {
  for (auto r : kReserved)
    if (WordIs(word, r)) return true;
  return false;
}

class Parser {
 public:
  Parser(std::string_view sql, std::vector<Token> tokens) : sql_(sql), tokens_(std::move(tokens)) {}

  Status ParseStatement(Statement* st);
  Status error() const { return error_; }

 private:
  // Token access.
  const Token& Peek(size_t ahead = 0) const {
    size_t i = pos_ + ahead;
    return i < tokens_.size() ? tokens_[i] : tokens_.back();
  }
  const Token& Next() { return tokens_[pos_ < tokens_.size() - 1 ? pos_++ : pos_]; }
  bool AtWord(std::string_view kw, size_t ahead = 0) const {
    return Peek(ahead).kind == TokenKind::kWord && WordIs(Peek(ahead).text, kw);
  }
  bool AtSymbol(std::string_view s, size_t ahead = 0) const {
    return Peek(ahead).kind == TokenKind::kSymbol && Peek(ahead).text == s;
  }
  bool AcceptWord(std::string_view kw) {
    if (!AtWord(kw)) return false;
    ++pos_;
    return true;
  }
  bool AcceptSymbol(std::string_view s) {
    if (!AtSymbol(s)) return false;
    ++pos_;
    return true;
  }
  bool Fail(std::string message, int jet_error = 3075) {
    if (error_.ok()) error_ = Status::InvalidArgument(std::move(message), jet_error);
    return false;
  }
  bool FailExpression(size_t begin) {
    size_t end = Peek().end;
    std::string text(sql_.substr(begin, end > begin ? end - begin : 0));
    return Fail("Syntax error (missing operator) in query expression '" + text + "'.");
  }
  bool ExpectWord(std::string_view kw) {
    if (AcceptWord(kw)) return true;
    return Fail("Syntax error: expected " + std::string(kw) + " near '" + Peek().text + "'.", 3075);
  }
  bool ExpectSymbol(std::string_view s) {
    if (AcceptSymbol(s)) return true;
    return Fail("Syntax error: expected '" + std::string(s) + "' near '" + Peek().text + "'.", 3075);
  }
  bool AtQueryStart() const { return AtWord("SELECT") || (AtSymbol("(") && StartsQuery(pos_)); }
  bool StartsQuery(size_t at) const {
    while (at < tokens_.size() && tokens_[at].kind == TokenKind::kSymbol && tokens_[at].text == "(") ++at;
    return at < tokens_.size() && tokens_[at].kind == TokenKind::kWord && WordIs(tokens_[at].text, "SELECT");
  }

  // How deep the statement nests. The parse, the translation and the
  // tree's own destruction all recurse that deep, so a statement nested too
  // deeply is refused as Jet refuses it, before it can exhaust the stack.
  // A parenthesis, call, subquery, nested join or prefix operator is one
  // level of nesting and costs the parse a dozen or so calls; an operator
  // in a chain such as a + b + c costs no call but puts its left operand one
  // level further down the tree. The tree's limit is SQLite's own.
  static constexpr int kMaxNesting = 64;
  static constexpr int kMaxDepth = 1000;
  bool WithinLimits() {
    return (nesting_ <= kMaxNesting && depth_ <= kMaxDepth) || Fail("Query is too complex.", 3360);
  }
  // One level of nesting, for as long as it lives.
  class Nested {
   public:
    explicit Nested(Parser* p) : p_(p) { ++p_->nesting_, ++p_->depth_; }
    ~Nested() { --p_->nesting_, --p_->depth_; }
    Nested(const Nested&) = delete;
    Nested& operator=(const Nested&) = delete;
    bool ok() const { return p_->WithinLimits(); }
   private:
    Parser* p_;
  };
  // The links of one chain of operators, each a level of the tree.
  class Chain {
   public:
    explicit Chain(Parser* p) : p_(p) {}
    ~Chain() { p_->depth_ -= links_; }
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;
    bool Link() {
      ++links_, ++p_->depth_;
      return p_->WithinLimits();
    }
   private:
    Parser* p_;
    int links_ = 0;
  };

  bool ParseParameters(Statement* st);
  bool ParseQuery(std::shared_ptr<QueryExpr>* out);
  bool ParseQueryTerm(std::shared_ptr<QueryExpr>* out);
  bool ParseSelectCore(SelectCore* core);
  bool ParseOrderBy(std::vector<OrderItem>* items);
  bool ParseTableList(std::vector<std::unique_ptr<TableRef>>* list);
  bool ParseTableRef(std::unique_ptr<TableRef>* out);
  bool ParseTablePrimary(std::unique_ptr<TableRef>* out);
  bool ParseOptionalAlias(std::string* alias);
  bool ParseExternalDatabase(TableRef* ref);
  static void ShareExternalDatabase(const TableRef& shared, TableRef* ref);
  bool ParseName(std::string* name);
  bool ParseTransform(Statement* st);
  bool ParseInsert(Statement* st);
  bool ParseUpdate(Statement* st);
  bool ParseDelete(Statement* st);

  // Expressions, lowest precedence first.
  bool ParseExpr(ExprPtr* out) {
    Nested nested(this);
    return nested.ok() && ParseImp(out);
  }
  bool ParseImp(ExprPtr* out);
  bool ParseEqv(ExprPtr* out);
  bool ParseXor(ExprPtr* out);
  bool ParseOr(ExprPtr* out);
  bool ParseAnd(ExprPtr* out);
  bool ParseNot(ExprPtr* out);
  bool ParseComparison(ExprPtr* out);
  bool ParseConcat(ExprPtr* out);
  bool ParseAdditive(ExprPtr* out);
  bool ParseMod(ExprPtr* out);
  bool ParseIntDiv(ExprPtr* out);
  bool ParseMultiplicative(ExprPtr* out);
  bool ParseUnary(ExprPtr* out);
  bool ParsePower(ExprPtr* out);
  bool ParsePrimary(ExprPtr* out);
  bool ParseNameChain(ExprPtr* out);
  bool ParseCall(ExprPtr* out);
  bool ParseSubqueryInParens(std::shared_ptr<QueryExpr>* out);
  bool ParseExprList(std::vector<ExprPtr>* list);

  ExprPtr MakeBinary(std::string op, ExprPtr l, ExprPtr r) {
    auto e = std::make_unique<Expr>();
    e->kind = ExprKind::kBinary;
    e->op = std::move(op);
    e->begin = l->begin;
    e->end = r->end;
    e->args.push_back(std::move(l));
    e->args.push_back(std::move(r));
    return e;
  }

  std::string_view sql_;
  std::vector<Token> tokens_;
  size_t pos_ = 0;
  int nesting_ = 0;
  int depth_ = 0;
  Status error_;
};

// ---- statements -------------------------------------------------------------

bool Parser::ParseParameters(Statement* st) {
  // Names may be unbracketed with blanks and punctuation, so the list is read
  // as raw text up to the ';' outside brackets and quotes.
  size_t start = Peek().begin;
  size_t i = start;
  char quote = 0;
  bool in_bracket = false;
  for (; i < sql_.size(); ++i) {
    char c = sql_[i];
    if (quote) {
      if (c == quote) quote = 0;
    } else if (in_bracket) {
      if (c == ']') in_bracket = false;
    } else if (c == '[') {
      in_bracket = true;
    } else if (c == '"' || c == '\'') {
      quote = c;
    } else if (c == ';') {
      break;
    }
  }
  if (i >= sql_.size()) return Fail("PARAMETERS declaration is not ended with ';'.", 3075);
  Status s = ParseParameterList(sql_.substr(start, i - start), &st->parameters);
  if (!s.ok()) return Fail(s.message(), s.jet_error());
  while (Peek().kind != TokenKind::kEnd && Peek().begin <= i) ++pos_;
  return true;
}

Status Parser::ParseStatement(Statement* st) {
  if (AcceptWord("PARAMETERS") && !ParseParameters(st)) return error_;
  bool ok;
  if (AtWord("TRANSFORM")) {
    ok = ParseTransform(st);
  } else if (AtWord("INSERT")) {
    ok = ParseInsert(st);
  } else if (AtWord("UPDATE")) {
    ok = ParseUpdate(st);
  } else if (AtWord("DELETE")) {
    ok = ParseDelete(st);
  } else if (AtQueryStart() || AtWord("TABLE")) {
    st->kind = StatementKind::kSelect;
    ok = ParseQuery(&st->query);
  } else {
    return Status::InvalidArgument(
        "Invalid SQL statement; expected 'DELETE', 'INSERT', 'PROCEDURE', 'SELECT', or 'UPDATE'.", 3129);
  }
  if (!ok) return error_;
  if (AcceptWord("WITH")) {
    if (!ExpectWord("OWNERACCESS") || !ExpectWord("OPTION")) return error_;
  }
  AcceptSymbol(";");
  if (Peek().kind != TokenKind::kEnd) {
    return Status::InvalidArgument("Characters found after end of SQL statement.", 3142);
  }
  return Status::OK();
}

bool Parser::ParseQuery(std::shared_ptr<QueryExpr>* out) {
  Nested nested(this);
  if (!nested.ok()) return false;
  std::shared_ptr<QueryExpr> left;
  if (!ParseQueryTerm(&left)) return false;
  Chain unions(this);
  while (AcceptWord("UNION")) {
    if (!unions.Link()) return false;
    auto u = std::make_shared<QueryExpr>();
    u->is_union = true;
    u->union_all = AcceptWord("ALL");
    u->left = std::move(left);
    if (!ParseQueryTerm(&u->right)) return false;
    left = std::move(u);
  }
  if (AtWord("ORDER")) {
    // A parenthesised last part keeps its own ORDER BY; this one is the whole union's.
    if (!ParseOrderBy(&left->order_by)) return false;
  }
  *out = std::move(left);
  return true;
}

bool Parser::ParseQueryTerm(std::shared_ptr<QueryExpr>* out) {
  if (AtSymbol("(")) {
    ++pos_;
    if (!ParseQuery(out)) return false;
    return ExpectSymbol(")");
  }
  auto q = std::make_shared<QueryExpr>();
  if (AcceptWord("TABLE")) {
    // TABLE x is Jet's short form of SELECT * FROM x inside unions.
    auto star = std::make_unique<Expr>();
    star->kind = ExprKind::kStar;
    q->select.items.push_back({std::move(star), ""});
    auto ref = std::make_unique<TableRef>();
    if (!ParseName(&ref->name)) return false;
    q->select.from.push_back(std::move(ref));
    *out = std::move(q);
    return true;
  }
  if (!ExpectWord("SELECT")) return false;
  if (!ParseSelectCore(&q->select)) return false;
  *out = std::move(q);
  return true;
}

bool Parser::ParseSelectCore(SelectCore* core) {
  if (AcceptWord("DISTINCTROW")) core->quantifier = Quantifier::kDistinctRow;
  else if (AcceptWord("DISTINCT")) core->quantifier = Quantifier::kDistinct;
  else AcceptWord("ALL");
  if (AcceptWord("TOP")) {
    if (Peek().kind != TokenKind::kNumber) return Fail("The TOP clause needs a number.", 3075);
    TopClause top;
    top.count = ParseNumberText(Next().text).value_or(0);
    top.percent = AcceptWord("PERCENT");
    core->top = top;
  }
  do {
    SelectItem item;
    size_t begin = Peek().begin;
    if (AtSymbol("*")) {
      ++pos_;
      item.expr = std::make_unique<Expr>();
      item.expr->kind = ExprKind::kStar;
      item.expr->begin = begin;
    } else if (!ParseExpr(&item.expr)) {
      return false;
    }
    if (AcceptWord("AS") && !ParseName(&item.alias)) return false;
    core->items.push_back(std::move(item));
  } while (AcceptSymbol(","));
  if (AcceptWord("INTO")) {
    if (!ParseName(&core->into_table)) return false;
    if (AcceptWord("IN")) {
      if (Peek().kind != TokenKind::kString) return Fail("Expected a database path after IN.", 3075);
      ++pos_;
    }
  }
  if (AcceptWord("FROM") && !ParseTableList(&core->from)) return false;
  if (AcceptWord("WHERE") && !ParseExpr(&core->where)) return false;
  if (AtWord("GROUP")) {
    ++pos_;
    if (!ExpectWord("BY") || !ParseExprList(&core->group_by)) return false;
  }
  if (AcceptWord("HAVING") && !ParseExpr(&core->having)) return false;
  return true;
}

bool Parser::ParseOrderBy(std::vector<OrderItem>* items) {
  if (!ExpectWord("ORDER") || !ExpectWord("BY")) return false;
  do {
    OrderItem item;
    if (!ParseExpr(&item.expr)) return false;
    if (AcceptWord("DESC")) item.descending = true;
    else AcceptWord("ASC");
    items->push_back(std::move(item));
  } while (AcceptSymbol(","));
  return true;
}

bool Parser::ParseName(std::string* name) {
  const Token& t = Peek();
  if (t.kind == TokenKind::kBracketed || (t.kind == TokenKind::kWord && !IsReserved(t.text))) {
    *name = Next().text;
    return true;
  }
  return Fail("Syntax error: a name was expected near '" + t.text + "'.", 3075);
}

bool Parser::ParseOptionalAlias(std::string* alias) {
  if (AcceptWord("AS")) return ParseName(alias);
  const Token& t = Peek();
  if (t.kind == TokenKind::kBracketed || (t.kind == TokenKind::kWord && !IsReserved(t.text))) {
    *alias = Next().text;
  }
  return true;
}

bool Parser::ParseTableList(std::vector<std::unique_ptr<TableRef>>* list) {
  do {
    std::unique_ptr<TableRef> ref;
    if (!ParseTableRef(&ref)) {
      if (error_.jet_error() == 3075 && error_.message().rfind("Syntax error in FROM", 0) != 0) {
        error_ = Status::InvalidArgument("Syntax error in FROM clause. " + error_.message(), 3131);
      }
      return false;
    }
    list->push_back(std::move(ref));
  } while (AcceptSymbol(","));
  // IN after a join, or after the last of several tables, names the
  // database of the whole FROM list, as Access writes a query's source
  // database.
  TableRef shared;
  if (!ParseExternalDatabase(&shared)) return false;
  const TableRef& last = *list->back();
  if (shared.external_db.empty() && shared.external_connect.empty() && list->size() > 1 &&
      last.kind == TableRef::Kind::kNamed) {
    shared.external_db = last.external_db;
    shared.external_connect = last.external_connect;
  }
  if (!shared.external_db.empty() || !shared.external_connect.empty())
    for (auto& ref : *list) ShareExternalDatabase(shared, ref.get());
  return true;
}

void Parser::ShareExternalDatabase(const TableRef& shared, TableRef* ref) {
  if (ref->kind == TableRef::Kind::kJoin) {
    ShareExternalDatabase(shared, ref->left.get());
    ShareExternalDatabase(shared, ref->right.get());
  } else if (ref->kind == TableRef::Kind::kNamed && ref->external_db.empty() && ref->external_connect.empty()) {
    ref->external_db = shared.external_db;
    ref->external_connect = shared.external_connect;
  }
}

bool Parser::ParseTableRef(std::unique_ptr<TableRef>* out) {
  std::unique_ptr<TableRef> left;
  if (!ParseTablePrimary(&left)) return false;
  Chain joins(this);
  for (;;) {
    JoinKind kind;
    if (AtWord("INNER") && AtWord("JOIN", 1)) {
      kind = JoinKind::kInner;
      pos_ += 2;
    } else if ((AtWord("LEFT") || AtWord("RIGHT")) &&
               (AtWord("JOIN", 1) || (AtWord("OUTER", 1) && AtWord("JOIN", 2)))) {
      kind = AtWord("LEFT") ? JoinKind::kLeft : JoinKind::kRight;
      pos_ += AtWord("OUTER", 1) ? 3 : 2;
    } else {
      break;
    }
    if (!joins.Link()) return false;
    auto join = std::make_unique<TableRef>();
    join->kind = TableRef::Kind::kJoin;
    join->join = kind;
    join->left = std::move(left);
    if (!ParseTablePrimary(&join->right)) return false;
    if (!ExpectWord("ON") || !ParseExpr(&join->on)) return false;
    left = std::move(join);
  }
  *out = std::move(left);
  return true;
}

bool Parser::ParseTablePrimary(std::unique_ptr<TableRef>* out) {
  auto ref = std::make_unique<TableRef>();
  if (AtSymbol("(")) {
    if (StartsQuery(pos_ + 1)) {
      ref->kind = TableRef::Kind::kDerived;
      if (!ParseSubqueryInParens(&ref->derived) || !ParseOptionalAlias(&ref->alias)) return false;
      *out = std::move(ref);
      return true;
    }
    ++pos_;
    Nested nested(this);
    if (!nested.ok() || !ParseTableRef(out)) return false;
    return ExpectSymbol(")");
  }
  const Token& t = Peek();
  if (t.kind == TokenKind::kBracketed && AtSymbol(".", 1) && StartsWithSelect(t.text)) {
    // Jet 3 writes a derived table as [SELECT ...]. AS alias
    std::string inner = t.text;
    pos_ += 2;
    Statement sub;
    Status s = ParseStatementTokens(inner, &sub);
    if (!s.ok()) return Fail(s.message(), s.jet_error());
    ref->kind = TableRef::Kind::kDerived;
    ref->derived = sub.query;
    if (!ParseOptionalAlias(&ref->alias)) return false;
    *out = std::move(ref);
    return true;
  }
  if (!ParseName(&ref->name)) return false;
  // The other database may be named before or after the alias.
  if (!ParseExternalDatabase(ref.get()) || !ParseOptionalAlias(&ref->alias)) return false;
  if (ref->external_db.empty() && ref->external_connect.empty() && !ParseExternalDatabase(ref.get())) return false;
  *out = std::move(ref);
  return true;
}

// IN 'path' or IN '' [;DATABASE=path], when present.
bool Parser::ParseExternalDatabase(TableRef* ref) {
  if (!AcceptWord("IN")) return true;
  if (Peek().kind != TokenKind::kString) return Fail("Expected a database path after IN.", 3131);
  ref->external_db = Next().text;
  if (Peek().kind == TokenKind::kBracketed) ref->external_connect = Next().text;
  return true;
}

bool Parser::ParseTransform(Statement* st) {
  ++pos_;
  st->kind = StatementKind::kCrosstab;
  if (!ParseExpr(&st->transform)) return false;
  if (AcceptWord("AS") && !ParseName(&st->transform_alias)) return false;
  if (!ParseQuery(&st->query)) return false;
  // The pivot stops before IN, which starts the fixed list of headings.
  if (!ExpectWord("PIVOT") || !ParseConcat(&st->pivot)) return false;
  if (AcceptWord("IN")) {
    if (!ExpectSymbol("(") || !ParseExprList(&st->pivot_in) || !ExpectSymbol(")")) return false;
  }
  return true;
}

bool Parser::ParseInsert(Statement* st) {
  ++pos_;
  st->kind = StatementKind::kInsert;
  if (!ExpectWord("INTO") || !ParseName(&st->target_table)) return false;
  if (AcceptWord("IN")) {
    if (Peek().kind != TokenKind::kString) return Fail("Expected a database path after IN.", 3075);
    st->target_database = Next().text;
    if (Peek().kind == TokenKind::kBracketed) st->target_database += " [" + Next().text + "]";
  }
  if (AtSymbol("(") && !StartsQuery(pos_)) {
    ++pos_;
    do {
      ExprPtr column;
      if (!ParseNameChain(&column)) return false;
      st->target_columns.push_back(column->parts.back());
    } while (AcceptSymbol(","));
    if (!ExpectSymbol(")")) return false;
  }
  if (AcceptWord("VALUES")) {
    return ExpectSymbol("(") && ParseExprList(&st->values) && ExpectSymbol(")");
  }
  return ParseQuery(&st->query);
}

bool Parser::ParseUpdate(Statement* st) {
  ++pos_;
  st->kind = StatementKind::kUpdate;
  if (!ParseTableList(&st->update_tables) || !ExpectWord("SET")) return false;
  do {
    Assignment a;
    if (!ParseNameChain(&a.target) || !ExpectSymbol("=") || !ParseExpr(&a.value)) return false;
    st->assignments.push_back(std::move(a));
  } while (AcceptSymbol(","));
  if (AcceptWord("WHERE") && !ParseExpr(&st->where)) return false;
  return true;
}

bool Parser::ParseDelete(Statement* st) {
  ++pos_;
  st->kind = StatementKind::kDelete;
  while (!AtWord("FROM") && Peek().kind != TokenKind::kEnd) {
    ExprPtr target;
    if (AtSymbol("*")) {
      ++pos_;
      target = std::make_unique<Expr>();
      target->kind = ExprKind::kStar;
    } else if (!ParseNameChain(&target)) {
      return false;
    }
    st->delete_targets.push_back(std::move(target));
    if (!AcceptSymbol(",")) break;
  }
  auto q = std::make_shared<QueryExpr>();
  if (!ExpectWord("FROM") || !ParseTableList(&q->select.from)) return false;
  if (AcceptWord("WHERE") && !ParseExpr(&q->select.where)) return false;
  st->query = std::move(q);
  return true;
}

// ---- expressions ------------------------------------------------------------

#define JET_BINARY_LEVEL(Name, Next, ...)                                    \
  bool Parser::Name(ExprPtr* out) {                                          \
    ExprPtr left;                                                            \
    if (!Next(&left)) return false;                                          \
    Chain chain(this);                                                       \
    for (;;) {                                                               \
      std::string op;                                                        \
      for (std::string_view cand : {__VA_ARGS__}) {                          \
        bool word = std::isalpha(static_cast<unsigned char>(cand[0]));       \
        if (word ? AtWord(cand) : AtSymbol(cand)) { op = std::string(cand); break; } \
      }                                                                      \
      if (op.empty()) break;                                                 \
      if (!chain.Link()) return false;                                       \
      ++pos_;                                                                \
      ExprPtr right;                                                         \
      if (!Next(&right)) return false;                                       \
      for (auto& ch : op) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch))); \
      left = MakeBinary(op, std::move(left), std::move(right));              \
    }                                                                        \
    *out = std::move(left);                                                  \
    return true;                                                             \
  }

JET_BINARY_LEVEL(ParseImp, ParseEqv, "IMP")
JET_BINARY_LEVEL(ParseEqv, ParseXor, "EQV")
JET_BINARY_LEVEL(ParseXor, ParseOr, "XOR")
JET_BINARY_LEVEL(ParseOr, ParseAnd, "OR")
JET_BINARY_LEVEL(ParseAnd, ParseNot, "AND")
JET_BINARY_LEVEL(ParseConcat, ParseAdditive, "&")
JET_BINARY_LEVEL(ParseAdditive, ParseMod, "+", "-")
JET_BINARY_LEVEL(ParseMod, ParseIntDiv, "MOD")
JET_BINARY_LEVEL(ParseIntDiv, ParseMultiplicative, "\\")
JET_BINARY_LEVEL(ParseMultiplicative, ParseUnary, "*", "/")
#undef JET_BINARY_LEVEL

bool Parser::ParseNot(ExprPtr* out) {
  if (AtWord("NOT")) {
    Nested nested(this);
    if (!nested.ok()) return false;
    size_t begin = Next().begin;
    auto e = std::make_unique<Expr>();
    e->kind = ExprKind::kUnary;
    e->op = "NOT";
    e->begin = begin;
    ExprPtr operand;
    if (!ParseNot(&operand)) return false;
    e->end = operand->end;
    e->args.push_back(std::move(operand));
    *out = std::move(e);
    return true;
  }
  return ParseComparison(out);
}

bool Parser::ParseComparison(ExprPtr* out) {
  ExprPtr left;
  if (!ParseConcat(&left)) return false;
  Chain chain(this);
  for (;;) {
    // Counted before the operator is known: one link more than there are
    // operators, which errs on the safe side.
    if (!chain.Link()) return false;
    const Token& t = Peek();
    if (t.kind == TokenKind::kSymbol &&
        (t.text == "=" || t.text == "<>" || t.text == "<" || t.text == ">" || t.text == "<=" || t.text == ">=")) {
      std::string op = Next().text;
      if (AtWord("ANY") || AtWord("SOME") || AtWord("ALL")) {
        auto q = std::make_unique<Expr>();
        q->kind = ExprKind::kQuantified;
        q->text = AtWord("ALL") ? "ALL" : "ANY";
        q->op = op;
        ++pos_;
        q->begin = left->begin;
        if (!ParseSubqueryInParens(&q->subquery)) return false;
        q->args.push_back(std::move(left));
        left = std::move(q);
        continue;
      }
      ExprPtr right;
      if (!ParseConcat(&right)) return false;
      left = MakeBinary(op, std::move(left), std::move(right));
      continue;
    }
    bool negated = false;
    size_t save = pos_;
    if (AtWord("NOT") && (AtWord("LIKE", 1) || AtWord("IN", 1) || AtWord("BETWEEN", 1))) {
      negated = true;
      ++pos_;
    }
    if (AcceptWord("LIKE")) {
      auto e = std::make_unique<Expr>();
      e->kind = ExprKind::kLike;
      e->negated = negated;
      e->begin = left->begin;
      ExprPtr pattern;
      if (!ParseConcat(&pattern)) return false;
      e->end = pattern->end;
      e->args.push_back(std::move(left));
      e->args.push_back(std::move(pattern));
      left = std::move(e);
    } else if (AcceptWord("BETWEEN")) {
      auto e = std::make_unique<Expr>();
      e->kind = ExprKind::kBetween;
      e->negated = negated;
      e->begin = left->begin;
      ExprPtr low, high;
      if (!ParseConcat(&low) || !ExpectWord("AND") || !ParseConcat(&high)) return false;
      e->end = high->end;
      e->args.push_back(std::move(left));
      e->args.push_back(std::move(low));
      e->args.push_back(std::move(high));
      left = std::move(e);
    } else if (AtWord("IN") && Peek(1).kind != TokenKind::kString) {  // IN 'file' ends a join's ON
      ++pos_;
      auto e = std::make_unique<Expr>();
      e->kind = ExprKind::kIn;
      e->negated = negated;
      e->begin = left->begin;
      e->args.push_back(std::move(left));
      if (AtSymbol("(") && StartsQuery(pos_ + 1)) {
        if (!ParseSubqueryInParens(&e->subquery)) return false;
      } else if (!ExpectSymbol("(") || !ParseExprList(&e->args) || !ExpectSymbol(")")) {
        return false;
      }
      e->end = tokens_[pos_ - 1].end;
      left = std::move(e);
    } else if (AtWord("IS")) {
      pos_ = save + 1;
      auto e = std::make_unique<Expr>();
      e->kind = ExprKind::kIsNull;
      e->negated = AcceptWord("NOT");
      if (!ExpectWord("NULL")) return false;
      e->begin = left->begin;
      e->end = tokens_[pos_ - 1].end;
      e->args.push_back(std::move(left));
      left = std::move(e);
    } else {
      pos_ = save;
      break;
    }
  }
  *out = std::move(left);
  return true;
}

bool Parser::ParseUnary(ExprPtr* out) {
  if (AtSymbol("-") || AtSymbol("+")) {
    Nested nested(this);
    if (!nested.ok()) return false;
    const Token& t = Next();
    auto e = std::make_unique<Expr>();
    e->kind = ExprKind::kUnary;
    e->op = t.text;
    e->begin = t.begin;
    ExprPtr operand;
    if (!ParseUnary(&operand)) return false;
    e->end = operand->end;
    e->args.push_back(std::move(operand));
    *out = std::move(e);
    return true;
  }
  return ParsePower(out);
}

bool Parser::ParsePower(ExprPtr* out) {
  ExprPtr left;
  if (!ParsePrimary(&left)) return false;
  Chain chain(this);
  while (AcceptSymbol("^")) {
    if (!chain.Link()) return false;
    ExprPtr right;
    // The exponent may carry its own sign: 2^-1.
    if (AtSymbol("-") || AtSymbol("+")) {
      if (!ParseUnary(&right)) return false;
    } else if (!ParsePrimary(&right)) {
      return false;
    }
    left = MakeBinary("^", std::move(left), std::move(right));
  }
  *out = std::move(left);
  return true;
}

bool Parser::ParseSubqueryInParens(std::shared_ptr<QueryExpr>* out) {
  if (!ExpectSymbol("(")) return false;
  if (!ParseQuery(out)) return false;
  return ExpectSymbol(")");
}

bool Parser::ParseExprList(std::vector<ExprPtr>* list) {
  do {
    ExprPtr e;
    if (!ParseExpr(&e)) return false;
    list->push_back(std::move(e));
  } while (AcceptSymbol(","));
  return true;
}

bool Parser::ParsePrimary(ExprPtr* out) {
  const Token& t = Peek();
  auto e = std::make_unique<Expr>();
  e->begin = t.begin;
  e->end = t.end;
  switch (t.kind) {
    case TokenKind::kNumber:
      e->kind = ExprKind::kNumber;
      e->text = t.text;
      e->number = ParseNumberText(t.text).value_or(0);
      ++pos_;
      *out = std::move(e);
      return true;
    case TokenKind::kString:
      e->kind = ExprKind::kString;
      e->text = t.text;
      ++pos_;
      *out = std::move(e);
      return true;
    case TokenKind::kDate:
    case TokenKind::kGuid:
      e->kind = t.kind == TokenKind::kDate ? ExprKind::kDate : ExprKind::kGuid;
      e->text = t.text;
      ++pos_;
      *out = std::move(e);
      return true;
    case TokenKind::kBracketed:
      return ParseNameChain(out);
    case TokenKind::kSymbol:
      if (t.text == "(") {
        if (StartsQuery(pos_ + 1)) {
          e->kind = ExprKind::kSubquery;
          if (!ParseSubqueryInParens(&e->subquery)) return false;
          e->end = tokens_[pos_ - 1].end;
          *out = std::move(e);
          return true;
        }
        ++pos_;
        if (!ParseExpr(out)) return false;
        return ExpectSymbol(")");
      }
      if (t.text == "*") {
        ++pos_;
        e->kind = ExprKind::kStar;
        *out = std::move(e);
        return true;
      }
      return FailExpression(t.begin);
    case TokenKind::kWord:
      if (AtWord("NULL")) {
        ++pos_;
        e->kind = ExprKind::kNull;
        *out = std::move(e);
        return true;
      }
      if (AtWord("TRUE") || AtWord("YES") || AtWord("FALSE") || AtWord("NO")) {
        e->kind = ExprKind::kBool;
        e->number = (AtWord("TRUE") || AtWord("YES")) ? -1 : 0;
        ++pos_;
        *out = std::move(e);
        return true;
      }
      if (AtWord("EXISTS")) {
        ++pos_;
        e->kind = ExprKind::kExists;
        if (!ParseSubqueryInParens(&e->subquery)) return false;
        *out = std::move(e);
        return true;
      }
      if (AtSymbol("(", 1)) return ParseCall(out);
      if (IsReserved(t.text)) return FailExpression(t.begin);
      return ParseNameChain(out);
    case TokenKind::kEnd:
      return Fail("Syntax error: the statement ends where an expression was expected.", 3075);
  }
  return FailExpression(t.begin);
}

bool Parser::ParseCall(ExprPtr* out) {
  auto e = std::make_unique<Expr>();
  const Token& name = Next();
  e->kind = ExprKind::kCall;
  e->text = name.text;
  e->begin = name.begin;
  ++pos_;  // (
  if (!AtSymbol(")")) {
    if (!ParseExprList(&e->args)) return false;
  }
  if (!ExpectSymbol(")")) return false;
  e->end = tokens_[pos_ - 1].end;
  *out = std::move(e);
  return true;
}

bool Parser::ParseNameChain(ExprPtr* out) {
  auto e = std::make_unique<Expr>();
  e->kind = ExprKind::kName;
  const Token& first = Peek();
  e->begin = first.begin;
  if (first.kind != TokenKind::kBracketed && first.kind != TokenKind::kWord) {
    return FailExpression(first.begin);
  }
  e->parts.push_back(first.text);
  e->bracketed_last = first.kind == TokenKind::kBracketed;
  ++pos_;
  while ((AtSymbol(".") || AtSymbol("!"))) {
    const Token& after = Peek(1);
    if (after.kind == TokenKind::kSymbol && after.text == "*" && AtSymbol(".")) {
      pos_ += 2;
      e->kind = ExprKind::kStar;
      break;
    }
    if (after.kind != TokenKind::kBracketed && after.kind != TokenKind::kWord) break;
    e->separators.push_back(Next().text[0]);
    e->parts.push_back(after.text);
    e->bracketed_last = after.kind == TokenKind::kBracketed;
    ++pos_;
  }
  e->end = tokens_[pos_ - 1].end;
  *out = std::move(e);
  return true;
}

}  // namespace

Status ParseStatementTokens(std::string_view sql, Statement* st) {
  std::vector<Token> tokens;
  JET_RETURN_IF_ERROR(Tokenize(sql, &tokens));
  Parser parser(sql, std::move(tokens));
  return parser.ParseStatement(st);
}

Status ParseStatement(std::string_view sql, Statement* statement) {
  *statement = Statement();
  return ParseStatementTokens(sql, statement);
}

}  // namespace jet::sql
