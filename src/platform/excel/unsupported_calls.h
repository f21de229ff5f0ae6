// Calls of Excel's object model that the office we drive does not carry out:
// each raises an error there (or, for a few, does nothing of what Excel does),
// with what to write instead. Calls the macro rewriting translates never
// reach this table: the check runs on the rewritten source.
#pragma once

#include <QRegularExpression>
#include <QString>
#include <vector>

namespace excel {

struct UnsupportedCall {
  QString call;      // as the user would name it, e.g. "Range.FormatConditions"
  QRegularExpression pattern;  // matched on a statement's code, With objects written out, texts blanked
  QString advice;    // what to write instead
  bool fails = true;  // false: the call runs, with another result than Excel's
  bool in_texts = false;  // the pattern is matched on the code as written, texts and all
};

const std::vector<UnsupportedCall>& UnsupportedCalls();

// Why a line the office cannot compile fails, when it is a known cause;
// empty otherwise.
QString CompileFailureAdvice(const QString& line);

}  // namespace excel
