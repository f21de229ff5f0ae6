// What the About box's system-information button shows on this platform:
// the versions of the operating system, Qt, the office and our engine.
#pragma once

#include <QString>
#include <optional>

namespace app {

// One line per item; nullopt when the versions cannot be gathered.
std::optional<QString> GatherSystemInformation();

// The office's version as `soffice --version` gives it; empty when no office
// answers in time.
QString OfficeVersion();

}  // namespace app
