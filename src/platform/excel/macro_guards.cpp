// Calls that would take the office or the workbook away from a run: each
// statement making one becomes a raise of an error that names the call, so
// the run ends with a message instead. "On Error GoTo 0" first: a handler of
// the macro's own must not let the macro go on as if the call had been made.
#include <QRegularExpression>
#include <optional>
#include <vector>

#include "platform/excel/macro_source.h"
#include "platform/excel/macro_stop_trap.h"
#include "platform/excel/vba_code.h"

namespace excel {
namespace {

// Tabulon's workbook as a macro names it.
const QString kWorkbook = QStringLiteral(
    R"((?:(?:Excel[ \t]*\.[ \t]*)?Application[ \t]*\.[ \t]*)?)"
    R"((?:ThisWorkbook|ActiveWorkbook|Workbooks(?:[ \t]*\([^()\n]*(?:\([^()\n]*\)[^()\n]*)*\))?))");
const QString kApplication = QStringLiteral(R"((?:Excel[ \t]*\.[ \t]*)?Application)");

struct Forbidden {
  QString object;   // pattern of what the call is made on
  QString members;  // pattern of the calls
  QString refusal;  // the message's start; the call as written follows
};

bool IsWordChar(QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_'); }

QString WordBefore(const QString& code, qsizetype& at) {
  qsizetype end = at;
  while (end > 0 && (code[end - 1] == QLatin1Char(' ') || code[end - 1] == QLatin1Char('\t'))) --end;
  qsizetype begin = end;
  while (begin > 0 && IsWordChar(code[begin - 1])) --begin;
  at = begin;
  return code.mid(begin, end - begin);
}

// Where the statement holding a call at `at` starts, if the call starts it
// (after an optional Call): a call inside an expression is left alone.
std::optional<qsizetype> StatementStart(const QString& code, qsizetype at) {
  qsizetype before = at;
  const QString word = WordBefore(code, before);
  if (word.compare(QLatin1String("Call"), Qt::CaseInsensitive) == 0) {
    if (!StatementStart(code, before)) return std::nullopt;
    return before;
  }
  if (word.compare(QLatin1String("Then"), Qt::CaseInsensitive) == 0 ||
      word.compare(QLatin1String("Else"), Qt::CaseInsensitive) == 0)
    return at;
  if (!word.isEmpty()) return std::nullopt;
  if (before == 0 || code[before - 1] == QLatin1Char('\n') || code[before - 1] == QLatin1Char(':')) return at;
  return std::nullopt;
}

// The procedure around `at`, if any.
QString ProcedureBefore(const QString& code, qsizetype at) {
  QString name;
  for (auto it = ProcedureStart().globalMatch(code); it.hasNext();) {
    const auto match = it.next();
    if (match.capturedStart() > at) break;
    name = match.captured(2);
  }
  return name;
}

// The raise carries the statement's place, which no handler of the macro's
// own sees: the run names it as it names any other stop.
QString RaiseStatement(const QString& code, qsizetype at, const QString& refusal, const QString& call) {
  QString text = refusal + QStringLiteral(": ") + call.simplified();
  const QString procedure = ProcedureBefore(code, at);
  if (!procedure.isEmpty()) text = TrappedErrorText(procedure, static_cast<int>(code.left(at).count('\n')) + 1, text);
  text.replace(QLatin1String("\""), QLatin1String("\"\""));
  return QStringLiteral("On Error GoTo 0 : Err.Raise 1004, , \"%1\"").arg(text);
}

// One pass over the source: With blocks are followed, so that ".Close" in
// "With ThisWorkbook" is seen as the workbook's.
QString Guard(const QString& source, const Forbidden& forbidden) {
  const QRegularExpression scan(
      QStringLiteral(R"(\b(?<endwith>End[ \t]+With)\b|\bWith[ \t]+(?<with>[^\n:]*)|)"
                     R"((?<![\w.)])(?<call>(?<object>(?:%1)[ \t]*)?\.[ \t]*(?:%2)\b))")
          .arg(forbidden.object, forbidden.members),
      QRegularExpression::CaseInsensitiveOption);
  const QRegularExpression object(QStringLiteral("^(?:%1)$").arg(forbidden.object),
                                  QRegularExpression::CaseInsensitiveOption);
  struct Change {
    qsizetype from, to;
    QString text;
  };
  std::vector<Change> changes;
  std::vector<QString> with_targets;
  const QString code = CodeOnly(source);
  for (auto it = scan.globalMatch(code); it.hasNext();) {
    const auto match = it.next();
    if (match.capturedLength(QStringLiteral("endwith")) > 0) {
      if (!with_targets.empty()) with_targets.pop_back();
      continue;
    }
    if (match.capturedStart(QStringLiteral("with")) >= 0) {
      with_targets.push_back(source.mid(match.capturedStart(QStringLiteral("with")),
                                        match.capturedLength(QStringLiteral("with"))).trimmed());
      continue;
    }
    const bool on_with_target = match.capturedLength(QStringLiteral("object")) == 0;
    if (on_with_target && (with_targets.empty() || !object.match(CodeOnly(with_targets.back())).hasMatch())) continue;
    const qsizetype at = match.capturedStart(QStringLiteral("call"));
    const auto start = StatementStart(code, at);
    if (!start) continue;
    const QString call = (on_with_target ? with_targets.back() : QString()) +
                         source.mid(at, match.capturedLength(QStringLiteral("call")));
    changes.push_back({*start, StatementEnd(code, at), RaiseStatement(code, *start, forbidden.refusal, call)});
  }
  QString result = source;
  for (auto change = changes.rbegin(); change != changes.rend(); ++change)
    result = ReplaceKeepingLines(result, change->from, change->to, change->text);
  return result;
}

QString GuardQuit(const QString& source) {
  return Guard(source, {kApplication, QStringLiteral("Quit"), QStringLiteral("The macro cannot end the office")});
}

QString GuardClose(const QString& source) {
  const QString closed =
      Guard(source, {kWorkbook, QStringLiteral("Close"), QStringLiteral("The macro cannot close the workbook")});
  return Guard(closed, {QStringLiteral(R"((?:(?:Excel[ \t]*\.[ \t]*)?Application[ \t]*\.[ \t]*)?ActiveWindow)"),
                        QStringLiteral("Close"), QStringLiteral("The macro cannot close the workbook")});
}

QString GuardSave(const QString& source) {
  return Guard(source, {kWorkbook, QStringLiteral("SaveCopyAs|SaveAs|Save"),
                        QStringLiteral("The macro cannot save the workbook")});
}

}  // namespace

const std::vector<MacroSourceRule>& MacroGuards() {
  static const std::vector<MacroSourceRule> rules = {
      {"Application.Quit ends the macro with a message instead of the office", GuardQuit},
      {"Closing the workbook or its window ends the macro with a message", GuardClose},
      {"Saving the workbook, or a copy of it, ends the macro with a message", GuardSave},
      {"Every procedure's error carries the procedure's name and line", TrapProcedureErrors},
  };
  return rules;
}

}  // namespace excel
