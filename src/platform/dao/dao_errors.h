// Engine failures as the AppError a DAO caller catches.
#pragma once

#include <QString>

#include "jet/status.h"
#include "platform/errors/app_error.h"

namespace dao {

// Jet error numbers the callers test for.
constexpr int kErrItemNotFound = 3265;
constexpr int kErrNoCurrentRecord = 3021;
constexpr int kErrInputTableNotFound = 3078;
constexpr int kErrFileNotFound = 3024;
constexpr int kErrUnrecognizedFormat = 3343;
constexpr int kErrDataTypeMismatch = 3464;
constexpr int kErrGeneral = 3001;  // "Invalid argument."
constexpr int kErrOverflow = 6;    // a value too large for its type

// Throws the AppError for a failed Status; `source` is the DAO object
// ("DAO.Database", "DAO.QueryDef", ...).
void ThrowIfError(const jet::Status& status, const char* source);

[[noreturn]] void ThrowItemNotFound(const char* source);

}  // namespace dao
