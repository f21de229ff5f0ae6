// Range("C5", Cells(n, 3)), Range("A1", "E" & n): a range from two corners,
// one or both given by address. Unqualified, Excel takes both corners on the
// active sheet; the office takes an address corner on the workbook's first
// sheet: with a range for the other corner it fails, with two addresses it
// silently works on the first sheet. Written as the range of two ranges,
// Range(Range("C5"), Cells(n, 3)), it means the same in both. The other
// corner must be an address too or a range for certain: a member returning
// one, or a variable the module Sets or declares As Range. A Variant that
// may hold either is left as written.
#include <algorithm>

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

// A member that returns a range, or a variable that holds one.
bool IsRange(const QString& source, const QString& corner) {
  static const QRegularExpression member = VbaPattern(
      QStringLiteral(R"((?:^|\.)\s*(?:(?:Cells|Range|End|Offset|Resize)\s*\(.*\)|Cells|ActiveCell|Selection)$)"));
  static const QRegularExpression name = VbaPattern(QStringLiteral(R"(^\w+$)"));
  if (member.match(corner).hasMatch()) return true;
  if (!name.match(corner).hasMatch()) return false;
  const QRegularExpression object = VbaPattern(
      QStringLiteral(R"(\bSet\s+%1\s*=|\b%1\s+As\s+(?:Excel\s*\.\s*)?Range\b)").arg(corner));
  return object.match(source).hasMatch();
}

// An address for certain: a literal, text joined with &, a range's
// Address, or a variable the module declares As String.
bool IsAddress(const QString& source, const QString& corner) {
  static const QRegularExpression text = VbaPattern(
      QStringLiteral(R"(^"[^"]*"$|&|\.\s*Address\s*(?:\(.*\))?$)"));
  static const QRegularExpression name = VbaPattern(QStringLiteral(R"(^\w+$)"));
  if (text.match(corner).hasMatch()) return true;
  if (!name.match(corner).hasMatch()) return false;
  return VbaPattern(QStringLiteral(R"(\b%1\s+As\s+String\b)").arg(corner)).match(source).hasMatch();
}

// The address corners of a call's two arguments, to be written as ranges;
// none unless each corner is an address or a range for certain.
std::vector<TextSpan> AddressCorners(const QString& source, const QString& arguments) {
  const auto spans = ArgumentSpans(arguments);
  if (spans.size() != 2) return {};
  std::vector<TextSpan> addresses;
  for (const TextSpan& span : spans) {
    const QString corner = arguments.mid(span.from, span.to - span.from).trimmed();
    if (IsAddress(source, corner)) addresses.push_back(span);
    else if (!IsRange(source, corner)) return {};
  }
  return addresses;
}

}  // namespace

QString RangeCornersAsRanges(const QString& source) {
  // Range( not after a dot or inside a name: the active sheet's.
  static const QRegularExpression range_call = VbaPattern(QStringLiteral(R"((?<![.\w])Range\s*\()"));
  SourceLines lines = SplitSource(source);
  for (SourceLine& line : lines) {
    const QString mask = line.CodeMask();
    QString code = line.Code();
    std::vector<TextSpan> corners;
    for (auto it = range_call.globalMatch(mask); it.hasNext();) {
      const auto match = it.next();
      const qsizetype open = match.capturedEnd() - 1;
      const qsizetype close = ClosingBracket(mask, open);
      if (close < 0) continue;
      const QString arguments = mask.mid(open + 1, close - open - 1);
      for (const TextSpan& span : AddressCorners(source, arguments))
        corners.push_back({open + 1 + span.from, open + 1 + span.to});
    }
    std::sort(corners.begin(), corners.end(), [](const TextSpan& a, const TextSpan& b) { return a.from < b.from; });
    // From the right, so that the positions still to rewrite stay put.
    for (auto corner = corners.rbegin(); corner != corners.rend(); ++corner) {
      code.insert(corner->to, QLatin1Char(')'));
      code.insert(corner->from, QStringLiteral("Range("));
    }
    if (!corners.empty()) line.SetCode(code);
  }
  return JoinSource(lines);
}

}  // namespace excel
