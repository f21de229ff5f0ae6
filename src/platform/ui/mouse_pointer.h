// The screen's mouse pointer as one setting for the whole application: set
// to the hourglass while the program works, back to the default when done,
// however many times either was set before.
#pragma once

namespace platform {

enum MousePointerShape : int { vbDefault = 0, vbHourglass = 11 };

void SetMousePointer(int shape);
int MousePointer();

// The hourglass for the lifetime of the object, then the pointer before it.
class WaitCursor {
 public:
  WaitCursor();
  ~WaitCursor();
  WaitCursor(const WaitCursor&) = delete;
  WaitCursor& operator=(const WaitCursor&) = delete;

 private:
  int previous_;
};

// For a long step on the user-interface thread, between slices of its work:
// the windows repaint (the hourglass shows at once), while the user's clicks
// and keys wait until the step is done rather than acting on a half-made state.
void LetWindowsPaint();

}  // namespace platform
