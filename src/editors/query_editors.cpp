#include "editors/query_editors.h"

#include "platform/ui/dialogs.h"

namespace editors {
namespace {

// The destination and parameters editors are not in this version yet; the
// buttons say so rather than doing nothing.
void NotAvailable(const QString& editor) {
  platform::dialogs().MsgBox(QStringLiteral("The ") + editor +
                                 QStringLiteral(" is not available in this version of Tabulon."),
                             platform::vbInformation, QStringLiteral("Tabulon"));
}

}  // namespace

void ShowQueryDestinationEditor(std::int32_t) { NotAvailable(QStringLiteral("query destination editor")); }

void ShowQueryParametersEditor(std::int32_t) { NotAvailable(QStringLiteral("query parameters editor")); }

}  // namespace editors
