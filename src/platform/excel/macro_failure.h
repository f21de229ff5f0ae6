// What a run tells about a macro that did not finish: the macro, its module,
// the line the office stopped at and the office's own text, or that the
// office itself went away while the macro ran.
#pragma once

#include <QString>
#include <optional>

#include "platform/excel/macro_stop_place.h"

namespace excel {

struct MacroStop {
  int number = 0;  // the Basic error number
  QString text;    // the error's text as the probe received it
};

// Basic code for the probe's error handler: the answer it gives back.
QString ProbeStopAnswer();
// The stop the probe answered with; nullopt for any other answer.
std::optional<MacroStop> ParseStopAnswer(const QString& answer);

// "The macro 'SortBlock' (module Module1) stopped at line 7: Property or
// method not found: SortFields. (error 423)", or "... stopped in Helper
// (module Tools) at line 3: ..." for a procedure the macro called; without a
// place, only the text.
QString DescribeStop(const QString& macro, const QString& module, const std::optional<StopPlace>& place,
                     int number, const QString& text);
// What is said when the office refused a close of one of our workbooks, or
// its own end, while the macro ran.
QString DescribeRefusal(const QString& macro, const QString& module, bool closing_workbook);
// What is said when the office ended, or was stopped, during the macro.
QString DescribeOfficeLoss(const QString& macro, const QString& module, bool stopped_for_time);

}  // namespace excel
