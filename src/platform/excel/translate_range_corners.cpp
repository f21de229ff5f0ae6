// Range("C5", Cells(n, 3)): the range from a cell given by its address to a
// cell given as a range. Unqualified, Excel takes both corners on the active
// sheet; the office takes the address on the workbook's first sheet and
// fails unless that is the active one. Written as the range of two ranges,
// Range(Range("C5"), Cells(n, 3)), it means the same in both.
#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

// Where the bracket opened at `open` closes, or -1.
qsizetype ClosingBracket(const QString& mask, qsizetype open) {
  int depth = 0;
  for (qsizetype i = open; i < mask.size(); ++i) {
    if (mask[i] == QLatin1Char('(')) ++depth;
    if (mask[i] == QLatin1Char(')') && --depth == 0) return i;
  }
  return -1;
}

}  // namespace

QString RangeCornersAsRanges(const QString& source) {
  // Range( not after a dot or inside a name: the active sheet's.
  static const QRegularExpression range_call = VbaPattern(QStringLiteral(R"((?<![.\w])Range\s*\()"));
  static const QRegularExpression address = VbaPattern(QStringLiteral(R"(^"[^"]*"$)"));
  SourceLines lines = SplitSource(source);
  for (SourceLine& line : lines) {
    const QString mask = line.CodeMask();
    QString code = line.Code();
    // From the right, so that the positions still to rewrite stay put.
    std::vector<TextSpan> corners;
    for (auto it = range_call.globalMatch(mask); it.hasNext();) {
      const auto match = it.next();
      const qsizetype open = match.capturedEnd() - 1;
      const qsizetype close = ClosingBracket(mask, open);
      if (close < 0) continue;
      const QString arguments = mask.mid(open + 1, close - open - 1);
      const auto spans = ArgumentSpans(arguments);
      if (spans.size() != 2) continue;
      const QString first = arguments.mid(spans[0].from, spans[0].to - spans[0].from);
      const QString second = arguments.mid(spans[1].from, spans[1].to - spans[1].from);
      if (!address.match(first).hasMatch() || second.isEmpty() || second.startsWith(QLatin1Char('"'))) continue;
      corners.push_back({open + 1 + spans[0].from, open + 1 + spans[0].to});
    }
    for (auto corner = corners.rbegin(); corner != corners.rend(); ++corner) {
      code.insert(corner->to, QLatin1Char(')'));
      code.insert(corner->from, QStringLiteral("Range("));
    }
    if (!corners.empty()) line.SetCode(code);
  }
  return JoinSource(lines);
}

}  // namespace excel
