// Ending the program at once, as the family's "End" does: no window gets to
// unload, so nothing is saved on the way out. Every path that ends this way
// goes through here, so that tests can put something in its place.
#pragma once

#include <functional>

namespace app {

using EndHandler = std::function<void()>;

// Ends the process. Returns only when a test replaced the ending.
void EndProgramNow();

// nullptr restores the real ending.
void SetEndProgramHandler(EndHandler handler);

}  // namespace app
