// Status: the result of an engine operation, in the style of LevelDB.
// An ok Status carries nothing; an error carries a code, a message and,
// where Jet has one, the Jet error number a DAO caller would see.
#pragma once

#include <string>
#include <utility>

namespace jet {

class Status {
 public:
  enum class Code {
    kOk,
    kNotFound,         // an object, column or file that does not exist
    kCorruption,       // the file is malformed
    kUnsupported,      // a format or feature this engine does not handle
    kInvalidArgument,  // a caller's input is wrong (bad SQL, bad parameter)
    kIOError,          // the operating system refused
    kReadOnly,         // a write to something opened or kept read-only
    kBusy,             // another writer holds the file
    kStale,            // another program changed the file under a long read, which must start again
  };

  Status() = default;

  static Status OK() { return Status(); }
  static Status NotFound(std::string msg, int jet_error = 0) { return {Code::kNotFound, std::move(msg), jet_error}; }
  static Status Corruption(std::string msg) { return {Code::kCorruption, std::move(msg), 0}; }
  static Status Unsupported(std::string msg) { return {Code::kUnsupported, std::move(msg), 0}; }
  static Status InvalidArgument(std::string msg, int jet_error = 0) {
    return {Code::kInvalidArgument, std::move(msg), jet_error};
  }
  static Status IOError(std::string msg) { return {Code::kIOError, std::move(msg), 0}; }
  static Status ReadOnly(std::string msg, int jet_error = 0) { return {Code::kReadOnly, std::move(msg), jet_error}; }
  static Status Busy(std::string msg, int jet_error = 0) { return {Code::kBusy, std::move(msg), jet_error}; }
  static Status Stale(std::string msg) { return {Code::kStale, std::move(msg), 3197}; }

  bool ok() const { return code_ == Code::kOk; }
  Code code() const { return code_; }
  const std::string& message() const { return message_; }
  // Jet's own error number (3078, 3265, ...) or 0 when none applies.
  int jet_error() const { return jet_error_; }

  std::string ToString() const;

 private:
  Status(Code code, std::string msg, int jet_error)
      : code_(code), message_(std::move(msg)), jet_error_(jet_error) {}

  Code code_ = Code::kOk;
  std::string message_;
  int jet_error_ = 0;
};

}  // namespace jet

// Returns from the enclosing function when `expr` yields an error Status.
#define JET_RETURN_IF_ERROR(expr)          \
  do {                                     \
    ::jet::Status jet_status_ = (expr);    \
    if (!jet_status_.ok()) return jet_status_; \
  } while (0)
