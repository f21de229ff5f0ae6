#include "jet/status.h"

namespace jet {

std::string Status::ToString() const {
  const char* kind = "OK";
  switch (code_) {
    case Code::kOk: return "OK";
    case Code::kNotFound: kind = "Not found"; break;
    case Code::kCorruption: kind = "Corrupt database"; break;
    case Code::kUnsupported: kind = "Unsupported"; break;
    case Code::kInvalidArgument: kind = "Invalid argument"; break;
    case Code::kIOError: kind = "I/O error"; break;
    case Code::kReadOnly: kind = "Read-only"; break;
    case Code::kBusy: kind = "Busy"; break;
    case Code::kStale: kind = "Changed while read"; break;
  }
  std::string s = kind;
  if (jet_error_ != 0) s += " (" + std::to_string(jet_error_) + ")";
  s += ": ";
  s += message_;
  return s;
}

}  // namespace jet
