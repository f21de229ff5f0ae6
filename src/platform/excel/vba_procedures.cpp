#include "platform/excel/vba_procedures.h"

#include <QRegularExpression>
#include <set>

#include "platform/excel/macro_name.h"

namespace excel {
namespace {

QRegularExpression Pattern(const char* pattern) {
  return QRegularExpression(QLatin1String(pattern), QRegularExpression::CaseInsensitiveOption);
}

bool IsNameChar(QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_'); }

struct MaskedLine {
  QString code;
  QString mask;
};

// One physical line without its comment; the mask blanks what literals hold.
MaskedLine Mask(const QString& line) {
  static const QRegularExpression rem = Pattern(R"(^\s*Rem(\s|$))");
  if (rem.match(line).hasMatch()) return {};
  MaskedLine out;
  bool in_literal = false;
  for (const QChar c : line) {
    if (!in_literal && c == QLatin1Char('\'')) break;
    if (c == QLatin1Char('"')) in_literal = !in_literal;
    out.code += c;
    out.mask += in_literal && c != QLatin1Char('"') ? QChar(u' ') : c;
  }
  return out;
}

bool Continues(const QString& code) {
  const QString trimmed = code.trimmed();
  return trimmed == QLatin1String("_") || trimmed.endsWith(QLatin1String(" _")) || trimmed.endsWith(QLatin1String("\t_"));
}

QString WithoutContinuation(const QString& code) { return code.trimmed().chopped(1); }

// Dots that start a member of the With object: not after a name, a bracket
// or a literal.
QString ResolveLeadingDots(const QString& mask, const QString& with_object) {
  if (with_object.isEmpty()) return mask;
  QString out;
  QChar before = QChar(u' ');
  for (const QChar c : mask) {
    const bool member = c == QLatin1Char('.') && !IsNameChar(before) && before != QLatin1Char(')') &&
                        before != QLatin1Char(']') && before != QLatin1Char('"');
    out += member ? with_object + c : QString(c);
    if (!c.isSpace()) before = c;
  }
  return out;
}

// Tracks the blocks a procedure's statements sit in.
class BlockTracker {
 public:
  void Take(VbaStatement& statement) {
    const QString code = statement.mask.trimmed();
    statement.resolved = ResolveLeadingDots(code, withs_.empty() ? QString() : withs_.back());
    static const QRegularExpression with_start = Pattern(R"(^With\s+(.+)$)");
    static const QRegularExpression with_end = Pattern(R"(^End\s+With\b)");
    static const QRegularExpression opens = Pattern(R"(^(If\b.*\bThen|Select\s+Case\b|For\b|Do\b|While\b))");
    static const QRegularExpression closes = Pattern(R"(^(End\s+If|End\s+Select|Next|Loop|Wend)\b)");
    static const QRegularExpression one_line_if = Pattern(R"(^(If\b.*\bThen\s+\S|ElseIf\b|Else\b|Case\b))");
    static const QRegularExpression on_error = Pattern(R"(^On\s+Error\b)");
    static const QRegularExpression jump = Pattern(R"(^(Exit\s+(Sub|Function|Property)|End|GoTo\s+\w+)\s*$)");
    const bool one_line = one_line_if.match(code).hasMatch();
    statement.always_reached = depth_ == 0 && !leaves_ && !one_line && !statement.in_one_line_branch;
    if (const auto with = with_start.match(statement.resolved); with.hasMatch()) {
      withs_.push_back(with.captured(1).trimmed());
    } else if (with_end.match(code).hasMatch()) {
      if (!withs_.empty()) withs_.pop_back();
    } else if (closes.match(code).hasMatch()) {
      if (depth_ > 0) --depth_;
    } else if (opens.match(code).hasMatch() && !one_line) {
      ++depth_;
    }
    // Wherever an exit or a jump sits, what follows may be skipped.
    if (on_error.match(code).hasMatch() || jump.match(code).hasMatch()) leaves_ = true;
  }

 private:
  std::vector<QString> withs_;
  int depth_ = 0;
  bool leaves_ = false;  // an error handler, an exit or a jump came before
};

const VbaProcedure* Find(const std::vector<VbaProcedure>& project, const QString& module, const QString& name,
                         const QString& caller_module) {
  const VbaProcedure* found = nullptr;
  for (const VbaProcedure& procedure : project) {
    if (procedure.name.compare(name, Qt::CaseInsensitive) != 0) continue;
    if (!module.isEmpty() && procedure.module.compare(module, Qt::CaseInsensitive) != 0) continue;
    // An unqualified name means the caller's own module first.
    if (!found || procedure.module == caller_module) found = &procedure;
  }
  return found;
}

std::vector<const VbaProcedure*> Callees(const std::vector<VbaProcedure>& project, const VbaProcedure& caller) {
  static const QRegularExpression name = Pattern(R"((?<![\w.])(?:(\w+)\s*\.\s*)?(\w+))");
  static const QRegularExpression run = Pattern(R"(\bRun\s*\(?\s*"([^"]+)\")");
  std::vector<const VbaProcedure*> callees;
  const auto add = [&](const QString& module, const QString& procedure) {
    if (const VbaProcedure* callee = Find(project, module, procedure, caller.module)) callees.push_back(callee);
  };
  for (const VbaStatement& statement : caller.body) {
    for (auto it = name.globalMatch(statement.mask); it.hasNext();) {
      const auto match = it.next();
      add(match.captured(1), match.captured(2));
      if (match.captured(1).isEmpty()) continue;
      add(QString(), match.captured(1));
    }
    for (auto it = run.globalMatch(statement.code); it.hasNext();) {
      if (const auto macro = ParseMacroName(it.next().captured(1))) add(macro->module, macro->procedure);
    }
  }
  return callees;
}

// A line's statements, split at each ":" that ends one (not ":=" and not
// inside a literal). What follows a one-line If's Then is in its branch.
void SplitAtColons(const VbaStatement& line, std::vector<VbaStatement>& statements) {
  static const QRegularExpression branch = Pattern(R"(^(If\b.*\bThen\s+\S|Else\b))");
  bool in_branch = false;
  qsizetype from = 0;
  for (qsizetype at = 0; at <= line.mask.size(); ++at) {
    const bool ends = at == line.mask.size() ||
                      (line.mask[at] == QLatin1Char(':') && (at + 1 >= line.mask.size() || line.mask[at + 1] != QLatin1Char('=')));
    if (!ends) continue;
    VbaStatement piece;
    piece.line = line.line;
    piece.code = line.code.mid(from, at - from).trimmed();
    piece.mask = line.mask.mid(from, at - from).trimmed();
    piece.resolved = piece.mask;
    piece.in_one_line_branch = in_branch;
    in_branch = in_branch || branch.match(piece.mask).hasMatch();
    statements.push_back(piece);
    from = at + 1;
  }
}

}  // namespace

std::vector<VbaStatement> StatementsOf(const QString& source) {
  const QStringList lines = source.split(QLatin1Char('\n'));
  std::vector<VbaStatement> statements;
  VbaStatement pending;
  for (int i = 0; i < lines.size(); ++i) {
    QString line = lines[i];
    if (line.endsWith(QLatin1Char('\r'))) line.chop(1);
    const MaskedLine masked = Mask(line);
    if (pending.line == 0) pending.line = i + 1;
    if (Continues(masked.code)) {
      pending.code += WithoutContinuation(masked.code) + QLatin1Char(' ');
      pending.mask += WithoutContinuation(masked.mask) + QLatin1Char(' ');
      continue;
    }
    pending.code += masked.code;
    pending.mask += masked.mask;
    SplitAtColons(pending, statements);
    pending = VbaStatement();
  }
  return statements;
}

std::vector<VbaProcedure> ProceduresOf(const QString& module, const QString& source) {
  static const QRegularExpression header = Pattern(
      R"(^\s*(?:(?:Public|Private|Friend|Static)\s+)*(?:Sub|Function|Property\s+(?:Get|Let|Set))\s+(\w+))");
  static const QRegularExpression footer = Pattern(R"(^\s*End\s+(Sub|Function|Property)\b)");
  std::vector<VbaProcedure> procedures;
  VbaProcedure* open = nullptr;
  BlockTracker blocks;
  for (VbaStatement& statement : StatementsOf(source)) {
    if (!open) {
      const auto match = header.match(statement.mask);
      if (!match.hasMatch()) continue;
      procedures.push_back(VbaProcedure{module, match.captured(1), statement.line, statement.line, {}});
      open = &procedures.back();
      blocks = BlockTracker();
    } else if (footer.match(statement.mask).hasMatch()) {
      open->last_line = statement.line;
      open = nullptr;
    } else {
      blocks.Take(statement);
      open->body.push_back(std::move(statement));
    }
  }
  return procedures;
}

std::vector<const VbaProcedure*> ReachableFrom(const std::vector<VbaProcedure>& project, const VbaProcedure& start) {
  std::vector<const VbaProcedure*> reached{&start};
  std::set<const VbaProcedure*> seen{&start};
  for (std::size_t next = 0; next < reached.size(); ++next) {
    for (const VbaProcedure* callee : Callees(project, *reached[next])) {
      if (seen.insert(callee).second) reached.push_back(callee);
    }
  }
  return reached;
}

}  // namespace excel
