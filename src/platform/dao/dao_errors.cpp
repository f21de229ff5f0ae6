#include "platform/dao/dao_errors.h"

namespace dao {

void ThrowIfError(const jet::Status& status, const char* source) {
  if (status.ok()) return;
  int number = status.jet_error();
  if (number == 0) {
    switch (status.code()) {
      case jet::Status::Code::kNotFound: number = kErrFileNotFound; break;
      case jet::Status::Code::kCorruption:
      case jet::Status::Code::kUnsupported: number = kErrUnrecognizedFormat; break;
      default: number = kErrGeneral; break;
    }
  }
  throw platform::AppError(number, QString::fromStdString(status.message()), QString::fromLatin1(source));
}

void ThrowItemNotFound(const char* source) {
  throw platform::AppError(kErrItemNotFound, QStringLiteral("Item not found in this collection."),
                           QString::fromLatin1(source));
}

}  // namespace dao
