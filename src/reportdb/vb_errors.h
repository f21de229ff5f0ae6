// The run-time errors that the list and key builders raise, with the
// numbers and wording the rest of the program reports them by.
#pragma once

#include "platform/errors/app_error.h"

namespace reportdb {

constexpr int kInvalidProcedureCall = 5;

// An empty list handed to a builder that must drop a trailing separator.
inline platform::AppError InvalidProcedureCall(const QString& source) {
  return platform::AppError(kInvalidProcedureCall, QStringLiteral("Invalid procedure call or argument"), source);
}

}  // namespace reportdb
