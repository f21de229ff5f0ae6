// MMain: the program's start-up, from an empty process to the shown main
// window.
#pragma once

namespace MMain {

// Creates the shared objects and the main window, loads and shows it. A
// failure is reported once and the program goes on with what was built.
void Main();

}  // namespace MMain
