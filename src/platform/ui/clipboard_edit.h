// Copy, cut and paste between the clipboard and the selected text of the
// control that has the focus. Failures are raised to the caller as object
// errors 514 to 516 with the operation as source; nothing is shown here.
#pragma once

namespace platform {

void EditCopy();
void EditCut();
void EditPaste();

}  // namespace platform
