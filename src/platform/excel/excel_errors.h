// The error numbers Excel raises where the program's logic tells them apart.
#pragma once

#include <QString>

#include "platform/errors/app_error.h"

namespace excel {

constexpr int kSubscriptOutOfRange = 9;
constexpr int kApplicationDefined = 1004;
// Excel's code when its automation server is gone ("The remote procedure call failed.").
constexpr int kRemoteCallFailed = static_cast<int>(0x800706BEu);

// The source the errors of the office carry, as Excel's carry its name.
inline QString OfficeErrorSource() { return QStringLiteral("LibreOffice Calc"); }

[[noreturn]] inline void RaiseSubscriptOutOfRange() {
  throw platform::AppError(kSubscriptOutOfRange, QStringLiteral("Subscript out of range"), OfficeErrorSource());
}

[[noreturn]] inline void RaiseApplicationDefined(const QString& detail = QString()) {
  QString text = QStringLiteral("Application-defined or object-defined error");
  if (!detail.isEmpty()) text += QStringLiteral(": ") + detail;
  throw platform::AppError(kApplicationDefined, text, OfficeErrorSource());
}

}  // namespace excel
