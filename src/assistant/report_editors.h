// The editor dialogs the Export Assistant opens. The program hands them in
// when it opens the Assistant (the editors sit beside the Assistant, not
// below it); a command whose editor was not handed in stays disabled.
#pragma once

#include <QString>
#include <cstdint>
#include <functional>

namespace assistant {

struct ReportEditors {
  // The report editor on a report, or on a new one for kNewReportMarker.
  std::function<void(std::int32_t outputId)> showReport;
  // The report's query selection (the Add command).
  std::function<void(std::int32_t outputId)> showReportQueries;
  std::function<void(std::int32_t queryId)> showQueryDestination;
  std::function<void(std::int32_t queryId)> showQueryParameters;
  // Asks and deletes a report; true when it was deleted.
  std::function<bool(const QString& reportName, std::int32_t outputId)> deleteReport;
  // Takes one query out of one report; true when it was removed.
  std::function<bool(std::int32_t outputId, std::int32_t queryId)> removeQueryFromReport;
};

// The report editor's marker for a report not stored yet.
constexpr std::int32_t kNewReportMarker = -9999;

}  // namespace assistant
