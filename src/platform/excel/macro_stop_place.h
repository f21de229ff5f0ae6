// Where in the user's code a macro stopped: the office names the procedure's
// line as it holds the module, with the lines it put on top when it imported
// the project; the user counts lines as the VBA editor shows them.
#pragma once

#include <QString>
#include <vector>

namespace excel {

struct ModuleText {
  QString name;
  QString source;  // as the office holds it
};

struct StopPlace {
  QString procedure;
  QString module;  // empty when no module defines the procedure
  int line = 0;    // as the VBA editor counts it
};

// The module defining `procedure` (the macro's own module first) and the
// line there.
StopPlace PlaceOfStop(const std::vector<ModuleText>& modules, const QString& macro_module, const QString& procedure,
                      int office_line);

}  // namespace excel
