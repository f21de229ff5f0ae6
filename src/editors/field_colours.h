// The colours the editor dialogs mark their fields with: yellow for what
// must still be filled in, grey for a list that cannot be used yet, red for
// a refused value, and the window's own colour once a field is in order.
#pragma once

#include <QColor>

class QWidget;

namespace editors {

inline const QColor kMustFillIn{255, 255, 0};  // &H00FFFF
inline const QColor kNotYetUsable{192, 192, 192};  // &HC0C0C0
// A value the program refused; the grids write it as the family does.
inline const QColor kRefused{255, 0, 0};
constexpr unsigned kRefusedCell = 255;  // &H0000FF

// Gives the widget's base (where text is typed or items listed) `colour`.
void SetFieldColour(QWidget& widget, const QColor& colour);
// Back to the system's window colour (&H80000005).
void SetWindowColour(QWidget& widget);
// The base colour the widget shows now.
QColor FieldColour(const QWidget& widget);

}  // namespace editors
