// The office keeps the error handling a procedure had when it meets another
// On Error: after "On Error Resume Next", "On Error GoTo Failed" still goes
// on past an error instead of jumping to Failed; and after any handler
// (the error trap Tabulon gives every procedure among them), "On Error
// Resume Next" goes on but leaves Err empty, where a macro checks
// Err.Number for what failed. Turning the handling off first makes each
// On Error start afresh, as in Excel, where every On Error clears Err
// anyway.
#include <vector>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_code.h"

namespace excel {

QString OnErrorStartsAfresh(const QString& source) {
  static const QRegularExpression on_error(
      QStringLiteral(R"(\bOn[ \t]+Error[ \t]+(?:Resume[ \t]+Next\b|GoTo[ \t]+(?!0\b|-)\w+))"),
      QRegularExpression::CaseInsensitiveOption);
  const QString code = CodeOnly(source);
  std::vector<qsizetype> starts;
  for (auto it = on_error.globalMatch(code); it.hasNext();) starts.push_back(it.next().capturedStart());
  QString result = source;
  // From the last, so earlier positions stay valid; each stays on its line.
  for (auto it = starts.rbegin(); it != starts.rend(); ++it) result.insert(*it, QStringLiteral("On Error GoTo 0: "));
  return result;
}

}  // namespace excel
