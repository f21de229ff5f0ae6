// Opening the Export Assistant: the report store is made, the report and
// table trees are filled and the window is shown modally. The store lives
// while the window is open.
#pragma once

#include <QString>
#include <functional>
#include <memory>

#include "assistant/report_editors.h"

class QWidget;

namespace assistant {

class CExportAssistant;
class frmExportAssistant;

extern std::unique_ptr<CExportAssistant> gExportAssistant;

// Called with the window before it is shown (the program hands the editors
// what they need of it here).
using PrepareWindow = std::function<void(frmExportAssistant& window)>;

// Shows the Assistant on the program's database until the user closes it.
void OpenExportAssistant(const ReportEditors& editors, const PrepareWindow& prepare, QWidget* parent = nullptr);

}  // namespace assistant
