// What the windows ask of the desktop: staying above others, showing the
// help file, and their placement in twips, the unit the stored placements
// of the family's programs are written in.
#pragma once

#include <QString>

#include "platform/settings/application_settings.h"

class QWidget;

namespace platform {

// Keeps the window above all others, or lets it go back among them. Only
// the stacking changes: not its place, its size or which window is active.
void OnTop(QWidget* window, bool on);

// Opens the help file with the desktop's viewer for its type. False when
// the file is missing or no viewer could be started. `command` is accepted
// for the callers' sake; every command shows the file from its start.
bool DisplayHelp(QWidget* window, const QString& helpFile, int command = 0);

// 1440 twips to the inch, at the window's screen resolution.
double TwipsPerPixel(const QWidget& window);
WindowPlacement PlacementInTwips(const QWidget& window);
void ApplyPlacementInTwips(QWidget& window, const WindowPlacement& placement);

}  // namespace platform
