#include "platform/excel/vba_source_lines.h"

#include <QHash>
#include <QMutex>

namespace excel {
namespace {

bool IsNameChar(QChar c) { return c.isLetterOrNumber() || c == QLatin1Char('_'); }

// "Rem" is a comment where a statement starts: at the line's start or after ":".
bool RemStartsAt(const QString& text, qsizetype at) {
  if (text.mid(at, 3).compare(QLatin1String("rem"), Qt::CaseInsensitive) != 0) return false;
  if (at + 3 < text.size() && !text[at + 3].isSpace()) return false;
  for (qsizetype i = at - 1; i >= 0; --i) {
    if (text[i] == QLatin1Char(':')) return true;
    if (!text[i].isSpace()) return false;
  }
  return true;
}

bool EndsWithContinuation(const QString& code) {
  const QString trimmed = code.trimmed();
  return trimmed == QLatin1String("_") || trimmed.endsWith(QLatin1String(" _")) ||
         trimmed.endsWith(QLatin1String("\t_"));
}

// Masks literal contents and finds the comment. A comment ending in " _" goes
// on on the next line, as in VBA.
void MaskLine(SourceLine& line, bool& comment_goes_on) {
  line.mask = line.text;
  line.comment_at = line.text.size();
  qsizetype i = comment_goes_on ? 0 : -1;
  bool in_literal = false;
  if (i < 0) {
    for (i = 0; i < line.text.size(); ++i) {
      const QChar c = line.text[i];
      if (c == QLatin1Char('"')) {
        in_literal = !in_literal;  // "" inside a literal closes and reopens it
      } else if (in_literal) {
        line.mask[i] = QChar(kMaskedChar);
      } else if (c == QLatin1Char('\'') || RemStartsAt(line.text, i)) {
        break;
      }
    }
  }
  if (i >= line.text.size()) {
    comment_goes_on = false;
    return;
  }
  line.comment_at = i;
  for (qsizetype j = i; j < line.text.size(); ++j) line.mask[j] = QChar(kMaskedChar);
  comment_goes_on = EndsWithContinuation(line.text.mid(i));
}

}  // namespace

bool SourceLine::Continues() const { return EndsWithContinuation(Code()); }

void SourceLine::SetCode(const QString& code) {
  const QString comment = text.mid(comment_at);
  const bool spaced = code.isEmpty() || comment.isEmpty() || code.back().isSpace();
  text = code + (spaced ? QString() : QStringLiteral(" ")) + comment;
  comment_at = text.size() - comment.size();
  // Code put in by a rule holds no literal the rules should skip later on
  // when it copies the user's: remasking keeps literals masked.
  bool goes_on = false;
  MaskLine(*this, goes_on);
}

QString SourceLine::Indent() const {
  qsizetype indent = 0;
  while (indent < comment_at && text[indent].isSpace()) ++indent;
  return text.left(indent);
}

void SourceLine::BlankCode() { SetCode(Indent()); }

SourceLines SplitSource(const QString& source) {
  SourceLines lines;
  bool comment_goes_on = false;
  qsizetype start = 0;
  while (start <= source.size()) {
    qsizetype end = source.indexOf(QLatin1Char('\n'), start);
    SourceLine line;
    if (end < 0) {
      end = source.size();
    } else {
      line.line_end = QStringLiteral("\n");
    }
    line.text = source.mid(start, end - start);
    if (line.text.endsWith(QLatin1Char('\r'))) {
      line.text.chop(1);
      line.line_end.prepend(QLatin1Char('\r'));
    }
    MaskLine(line, comment_goes_on);
    lines.push_back(line);
    if (end >= source.size()) break;
    start = end + 1;
  }
  return lines;
}

QString JoinSource(const SourceLines& lines) {
  QString source;
  for (const SourceLine& line : lines) source += line.text + line.line_end;
  return source;
}

std::vector<LogicalLine> LogicalLines(const SourceLines& lines) {
  std::vector<LogicalLine> statements;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    LogicalLine statement;
    statement.first = i;
    for (;; ++i) {
      QString code = lines[i].Code();
      QString mask = lines[i].CodeMask();
      const bool continues = lines[i].Continues() && i + 1 < lines.size();
      if (continues) {
        const qsizetype underscore = mask.lastIndexOf(QLatin1Char('_'));
        code.truncate(underscore);
        mask.truncate(underscore);
      }
      statement.code += code;
      statement.mask += mask;
      if (!continues) break;
    }
    statement.last = i;
    statements.push_back(statement);
  }
  return statements;
}

void BlankStatement(SourceLines& lines, const LogicalLine& statement) {
  for (std::size_t i = statement.first; i <= statement.last; ++i) lines[i].BlankCode();
}

qsizetype ObjectExpressionStart(const QString& mask, qsizetype member_dot) {
  qsizetype at = member_dot;
  while (at > 0) {
    qsizetype before = at;
    if (mask[before - 1] == QLatin1Char(')')) {
      int depth = 0;
      do {
        --before;
        if (mask[before] == QLatin1Char(')')) ++depth;
        if (mask[before] == QLatin1Char('(')) --depth;
      } while (before > 0 && depth > 0);
      if (depth != 0) return member_dot;
    }
    while (before > 0 && IsNameChar(mask[before - 1])) --before;
    if (before == at) break;
    at = before;
    if (at > 0 && mask[at - 1] == QLatin1Char('.')) {
      --at;
      // A With block's leading dot ends the expression.
      if (at == 0 || !(IsNameChar(mask[at - 1]) || mask[at - 1] == QLatin1Char(')'))) break;
    } else {
      break;
    }
  }
  return at;
}

std::vector<TextSpan> ArgumentSpans(const QString& mask) {
  std::vector<TextSpan> spans;
  int depth = 0;
  qsizetype from = 0;
  auto close = [&](qsizetype to) {
    TextSpan span{from, to};
    while (span.from < span.to && mask[span.from].isSpace()) ++span.from;
    while (span.to > span.from && mask[span.to - 1].isSpace()) --span.to;
    spans.push_back(span);
  };
  for (qsizetype i = 0; i < mask.size(); ++i) {
    if (mask[i] == QLatin1Char('(')) ++depth;
    if (mask[i] == QLatin1Char(')')) --depth;
    if (depth == 0 && mask[i] == QLatin1Char(',')) {
      close(i);
      from = i + 1;
    }
  }
  close(mask.size());
  return spans;
}

QRegularExpression VbaPattern(const QString& pattern) {
  // The rules ask for the same patterns line after line and module after
  // module; copies share the compiled pattern, so each is compiled once.
  static QMutex mutex;
  static QHash<QString, QRegularExpression> compiled;
  const QMutexLocker lock(&mutex);
  auto known = compiled.constFind(pattern);
  if (known == compiled.cend())
    known = compiled.insert(pattern, QRegularExpression(pattern, QRegularExpression::CaseInsensitiveOption));
  return *known;
}

}  // namespace excel
