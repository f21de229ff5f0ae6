#include "platform/excel/macro_failure.h"

#include <QRegularExpression>

namespace excel {
namespace {

constexpr char kStopMark[] = "Stopped";

QString MacroAndModule(const QString& macro, const QString& module) {
  return QStringLiteral("The macro '%1' (module %2)").arg(macro, module);
}

}  // namespace

QString ProbeStopAnswer() {
  return QStringLiteral("\"%1 \" & Err.Number & \": \" & Err.Description").arg(QLatin1String(kStopMark));
}

std::optional<MacroStop> ParseStopAnswer(const QString& answer) {
  static const QRegularExpression shape(QStringLiteral(R"(^%1 (-?\d+): (.*)$)").arg(QLatin1String(kStopMark)),
                                        QRegularExpression::DotMatchesEverythingOption);
  const auto match = shape.match(answer);
  if (!match.hasMatch()) return std::nullopt;
  return MacroStop{match.captured(1).toInt(), match.captured(2)};
}

QString DescribeStop(const QString& macro, const QString& module, const std::optional<StopPlace>& place, int number,
                     const QString& text) {
  QString where = QStringLiteral(" stopped: ");
  if (place && place->procedure.compare(macro, Qt::CaseInsensitive) == 0 &&
      place->module.compare(module, Qt::CaseInsensitive) == 0)
    where = QStringLiteral(" stopped at line %1: ").arg(place->line);
  else if (place)
    where = QStringLiteral(" stopped in %1 (module %2) at line %3: ").arg(place->procedure, place->module).arg(place->line);
  return MacroAndModule(macro, module) + where + text.trimmed() + QStringLiteral(" (error %1)").arg(number);
}

QString DescribeRefusal(const QString& macro, const QString& module, bool closing_workbook) {
  return MacroAndModule(macro, module) +
         (closing_workbook ? QStringLiteral(" tried to close the workbook; it stays open for the run.")
                           : QStringLiteral(" tried to end the office; it keeps running for the run."));
}

QString DescribeOfficeLoss(const QString& macro, const QString& module, bool stopped_for_time) {
  return MacroAndModule(macro, module) +
         (stopped_for_time ? QStringLiteral(" did not finish in time, so the office was stopped.")
                           : QStringLiteral(" did not finish: the office ended while it ran.")) +
         QStringLiteral(" The next run starts a new office.");
}

}  // namespace excel
