#include "platform/excel/vba_code.h"

#include <QRegularExpression>

namespace excel {
namespace {

bool StartsRemComment(const QString& source, qsizetype at) {
  static const QRegularExpression rem(QStringLiteral(R"(\G[Rr][Ee][Mm](?:[ \t]|$))"),
                                      QRegularExpression::MultilineOption);
  if (!rem.match(source, at, QRegularExpression::NormalMatch, QRegularExpression::AnchorAtOffsetMatchOption)
           .hasMatch())
    return false;
  // Rem is a comment only where a statement starts.
  for (qsizetype i = at - 1; i >= 0 && source[i] != QLatin1Char('\n'); --i) {
    if (source[i] == QLatin1Char(':')) return true;
    if (!source[i].isSpace()) return false;
  }
  return true;
}

// A trailing " _" joins the next line to this one.
bool ContinuesOnNextLine(const QString& code, qsizetype newline) {
  qsizetype i = newline - 1;
  if (i >= 0 && code[i] == QLatin1Char('\r')) --i;
  if (i < 0 || code[i] != QLatin1Char('_')) return false;
  return i == 0 || code[i - 1] == QLatin1Char(' ') || code[i - 1] == QLatin1Char('\t');
}

bool ElseAt(const QString& code, qsizetype at) {
  if (at > 0 && (code[at - 1].isLetterOrNumber() || code[at - 1] == QLatin1Char('_'))) return false;
  if (code.mid(at, 4).compare(QLatin1String("else"), Qt::CaseInsensitive) != 0) return false;
  const qsizetype after = at + 4;
  return after >= code.size() || !(code[after].isLetterOrNumber() || code[after] == QLatin1Char('_'));
}

}  // namespace

QString CodeOnly(const QString& source) {
  QString code = source;
  bool in_string = false;
  bool in_comment = false;
  for (qsizetype i = 0; i < source.size(); ++i) {
    const QChar c = source[i];
    if (c == QLatin1Char('\n')) {
      in_string = false;  // a literal never spans lines
      in_comment = false;
      continue;
    }
    if (in_comment) {
      code[i] = QLatin1Char(' ');
    } else if (in_string) {
      if (c == QLatin1Char('"')) in_string = false;  // "" inside a literal closes and reopens it
      else code[i] = QLatin1Char(' ');
    } else if (c == QLatin1Char('"')) {
      in_string = true;
    } else if (c == QLatin1Char('\'') || ((c == QLatin1Char('R') || c == QLatin1Char('r')) && StartsRemComment(source, i))) {
      in_comment = true;
      code[i] = QLatin1Char(' ');
    }
  }
  return code;
}

namespace {

qsizetype RawStatementEnd(const QString& code, qsizetype from) {
  int depth = 0;
  for (qsizetype i = from; i < code.size(); ++i) {
    const QChar c = code[i];
    if (c == QLatin1Char('\n')) {
      if (!ContinuesOnNextLine(code, i)) return code[i - 1] == QLatin1Char('\r') ? i - 1 : i;
    } else if (c == QLatin1Char('(')) {
      ++depth;
    } else if (c == QLatin1Char(')')) {
      --depth;
    } else if (depth <= 0 && c == QLatin1Char(':') && (i + 1 >= code.size() || code[i + 1] != QLatin1Char('='))) {
      return i;
    } else if (depth <= 0 && (c == QLatin1Char('E') || c == QLatin1Char('e')) && ElseAt(code, i)) {
      return i;
    }
  }
  return code.size();
}

}  // namespace

qsizetype StatementEnd(const QString& code, qsizetype from) {
  qsizetype end = RawStatementEnd(code, from);
  // A comment or spaces after the statement stay where they are.
  while (end > from && code[end - 1].isSpace()) --end;
  return end;
}

QString ReplaceKeepingLines(const QString& source, qsizetype from, qsizetype to, const QString& text) {
  const qsizetype breaks = source.mid(from, to - from).count(QLatin1Char('\n'));
  QString result = source.left(from) + text;
  for (qsizetype n = 0; n < breaks; ++n) result += QLatin1Char('\n');
  return result + source.mid(to);
}

const QRegularExpression& ProcedureStart() {
  static const QRegularExpression start(
      QStringLiteral(R"(^[ \t]*(?:(?:Public|Private|Friend|Static)[ \t]+)*(Sub|Function|Property)[ \t]+)"
                     R"((?:(?:Get|Let|Set)[ \t]+)?(\w+))"),
      QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption);
  return start;
}

bool DefinesProcedure(const QString& source, const QString& procedure) {
  for (auto it = ProcedureStart().globalMatch(source); it.hasNext();)
    if (it.next().captured(2).compare(procedure, Qt::CaseInsensitive) == 0) return true;
  return false;
}

}  // namespace excel
