#include "editors/field_colours.h"

#include <QApplication>
#include <QPalette>
#include <QWidget>

namespace editors {

void SetFieldColour(QWidget& widget, const QColor& colour) {
  QPalette palette = widget.palette();
  palette.setColor(QPalette::Base, colour);
  widget.setPalette(palette);
}

void SetWindowColour(QWidget& widget) {
  SetFieldColour(widget, QApplication::palette(&widget).color(QPalette::Base));
}

QColor FieldColour(const QWidget& widget) { return widget.palette().color(QPalette::Base); }

}  // namespace editors
