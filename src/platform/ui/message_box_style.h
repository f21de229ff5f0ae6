// What a message box style number asks for: its buttons (with the answer
// each gives), its icon and its default button. Shared by the real boxes
// and the scripted ones, so both accept and refuse the same answers.
#pragma once

#include <QVector>
#include <optional>

#include "platform/ui/dialogs.h"

namespace platform {

enum class MsgBoxIcon { kNone, kCritical, kQuestion, kExclamation, kInformation };

// The buttons from left to right as the style lists them.
QVector<MsgBoxResult> ButtonsOf(int style);
MsgBoxIcon IconOf(int style);
// The default button's answer; the first button when the style names one
// the box does not have.
MsgBoxResult DefaultAnswerOf(int style);
// What closing the box (close box or Escape) answers: Cancel when there is
// one, the only answer of a one-button box; nullopt when the box can only be
// answered by a button.
std::optional<MsgBoxResult> CloseBoxAnswerOf(int style);

}  // namespace platform
