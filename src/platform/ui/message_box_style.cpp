#include "platform/ui/message_box_style.h"

namespace platform {
namespace {

constexpr int kButtonsMask = 0x0F;
constexpr int kIconMask = 0x70;
constexpr int kDefaultButtonMask = 0x300;

}  // namespace

QVector<MsgBoxResult> ButtonsOf(int style) {
  switch (style & kButtonsMask) {
    case vbOKCancel:
      return {vbOK, vbCancel};
    case vbAbortRetryIgnore:
      return {vbAbort, vbRetry, vbIgnore};
    case vbYesNoCancel:
      return {vbYes, vbNo, vbCancel};
    case vbYesNo:
      return {vbYes, vbNo};
    case vbRetryCancel:
      return {vbRetry, vbCancel};
    default:
      return {vbOK};
  }
}

MsgBoxIcon IconOf(int style) {
  switch (style & kIconMask) {
    case vbCritical:
      return MsgBoxIcon::kCritical;
    case vbQuestion:
      return MsgBoxIcon::kQuestion;
    case vbExclamation:
      return MsgBoxIcon::kExclamation;
    case vbInformation:
      return MsgBoxIcon::kInformation;
    default:
      return MsgBoxIcon::kNone;
  }
}

MsgBoxResult DefaultAnswerOf(int style) {
  const QVector<MsgBoxResult> buttons = ButtonsOf(style);
  const int index = (style & kDefaultButtonMask) / vbDefaultButton2;
  return index < buttons.size() ? buttons.at(index) : buttons.first();
}

std::optional<MsgBoxResult> CloseBoxAnswerOf(int style) {
  const QVector<MsgBoxResult> buttons = ButtonsOf(style);
  if (buttons.contains(vbCancel)) return vbCancel;
  if (buttons.size() == 1) return buttons.first();
  return std::nullopt;
}

}  // namespace platform
