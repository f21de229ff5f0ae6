// What the About box's system-information button shows on this platform:
// the versions of the operating system, Qt, the office and our engine.
#pragma once

#include <QString>
#include <functional>
#include <optional>

namespace app {

// One line per item; nullopt when the versions cannot be gathered.
std::optional<QString> GatherSystemInformation();

// The office's version as `soffice --version` gives it; empty when no office
// answers in time.
QString OfficeVersion();

// Where the About box gets its system information. GatherSystemInformation
// unless replaced; a machine that cannot tell is hard to come by, so the
// message for that case needs a source that can be told to fail.
using SystemInformationSource = std::function<std::optional<QString>()>;
void SetSystemInformationSource(SystemInformationSource source);  // empty restores the default
std::optional<QString> SystemInformation();

}  // namespace app
