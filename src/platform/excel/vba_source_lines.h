// A macro module's source as lines whose code can be matched and rewritten
// without touching string literals or comments, and without moving a line:
// the office names the line of an error, and it must stay the user's line.
#pragma once

#include <QRegularExpression>
#include <QString>
#include <vector>

namespace excel {

// Stands in the mask for each character of a literal's text or a comment.
inline constexpr char16_t kMaskedChar = 0x01;

struct SourceLine {
  QString text;       // as written, without its line break
  QString mask;       // text with literal contents and the comment masked
  qsizetype comment_at = 0;  // where the comment starts; text.size() without one
  QString line_end;   // "\n", "\r\n" or "" for the last line

  QString Code() const { return text.left(comment_at); }
  QString CodeMask() const { return mask.left(comment_at); }
  // Ends with " _": the statement goes on on the next line.
  bool Continues() const;
  // Replaces the code, keeping the comment.
  void SetCode(const QString& code);
  // The spaces the code starts with.
  QString Indent() const;
  // The line keeps only its indent and its comment.
  void BlankCode();
};

using SourceLines = std::vector<SourceLine>;

SourceLines SplitSource(const QString& source);
QString JoinSource(const SourceLines& lines);

// One statement as written over one or more continued lines.
struct LogicalLine {
  std::size_t first = 0;
  std::size_t last = 0;
  QString code;  // the lines' code joined, continuations removed
  QString mask;  // the same over the masks
};

std::vector<LogicalLine> LogicalLines(const SourceLines& lines);

// Blanks the code of every line of the statement.
void BlankStatement(SourceLines& lines, const LogicalLine& statement);

// Start of the object expression that ends where `member_dot` is (the "." of
// ".Member"): names, dots and bracketed arguments, such as
// `ws.Range("A1").Cells` or `.Cells(1, 2)` inside a With block.
qsizetype ObjectExpressionStart(const QString& mask, qsizetype member_dot);

// Where each argument of a list lies: split at top-level commas (not inside
// brackets or literals), spaces trimmed.
struct TextSpan {
  qsizetype from = 0;
  qsizetype to = 0;
};
std::vector<TextSpan> ArgumentSpans(const QString& mask);

// Case-insensitive VBA pattern.
QRegularExpression VbaPattern(const QString& pattern);

}  // namespace excel
