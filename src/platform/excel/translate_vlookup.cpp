// VLookup of a key that is not in the table: Excel's WorksheetFunction
// raises error 1004, and Application.VLookup gives the #N/A error value,
// which IsError tells; the office gives Empty for both, and the macro goes
// on with a blank. The office gives Empty for nothing else (a blank cell
// found reads 0), so each call becomes one of a routine added at the end of
// the module that answers Empty as Excel answers a miss.
#include <vector>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_code.h"

namespace excel {
namespace {

const char* const kLookupRoutines = R"(
Private Function Tabulon_VLookup(value, table, column, approximate)
    If IsMissing(approximate) Then
        Tabulon_VLookup = WorksheetFunction.VLookup(value, table, column)
    Else
        Tabulon_VLookup = WorksheetFunction.VLookup(value, table, column, approximate)
    End If
End Function

Private Function Tabulon_WorksheetVLookup(value, table, column, Optional approximate)
    Tabulon_WorksheetVLookup = Tabulon_VLookup(value, table, column, approximate)
    If IsEmpty(Tabulon_WorksheetVLookup) Then Err.Raise 1004, , "Unable to get the VLookup property of the WorksheetFunction class"
End Function

Private Function Tabulon_ApplicationVLookup(value, table, column, Optional approximate)
    Tabulon_ApplicationVLookup = Tabulon_VLookup(value, table, column, approximate)
    If IsEmpty(Tabulon_ApplicationVLookup) Then Tabulon_ApplicationVLookup = CVErr(2042)
End Function
)";

}  // namespace

QString VLookupMissesAsInExcel(const QString& source) {
  static const QRegularExpression call(
      QStringLiteral(R"(\b(?:(?:Application[ \t]*\.[ \t]*)?(WorksheetFunction)|Application)[ \t]*\.[ \t]*VLookup[ \t]*\()"),
      QRegularExpression::CaseInsensitiveOption);
  const QString code = CodeOnly(source);
  struct Call {
    qsizetype from, length;
    bool worksheet_function;
  };
  std::vector<Call> calls;
  for (auto it = call.globalMatch(code); it.hasNext();) {
    const auto match = it.next();
    // Only a call of its own: not a member of something else named the same.
    if (match.capturedStart() > 0 && code[match.capturedStart() - 1] == QLatin1Char('.')) continue;
    calls.push_back({match.capturedStart(), match.capturedLength(), match.capturedLength(1) > 0});
  }
  if (calls.empty()) return source;
  QString result = source;
  for (auto it = calls.rbegin(); it != calls.rend(); ++it)
    result.replace(it->from, it->length,
                   it->worksheet_function ? QStringLiteral("Tabulon_WorksheetVLookup(") : QStringLiteral("Tabulon_ApplicationVLookup("));
  return result + QString::fromLatin1(kLookupRoutines);
}

}  // namespace excel
