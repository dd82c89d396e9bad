// The result of an operation that can fail for a reason a person should read: a code that callers
// branch on and a message that says why, in one value. An ok Status holds no message and costs no
// allocation. The platform's outside-facing calls (the daemon's socket, files, the site
// configuration, the hive tools) and the daemon's own start-up and commands return it in place of
// a bool beside a reason string. StatusOr<T> is a value or the Status that says why there is none.
//
// Callers decide by code(), never by the message's words: the message is for the user.
// Values; thread-compatible.
#ifndef KETRA_PLATFORM_RUNTIME_STATUS_H_
#define KETRA_PLATFORM_RUNTIME_STATUS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace ketra::runtime {

class [[nodiscard]] Status {
 public:
  enum class Code : std::uint8_t {
    kOk,
    kNotFound,          // nothing there to use: no file, no key, no daemon at the socket
    kInvalidArgument,   // the input is not acceptable (a record, a line, a setting)
    kPermissionDenied,  // the system or a peer refused us
    kCorruption,        // stored data is damaged or not ours (a hive that is no hive)
    kIoError,           // a system call failed; the message names it and its errno
    kBusy,              // another program holds what we need, for now: worth another try
  };

  Status() = default;
  static Status Ok() { return Status(); }
  static Status NotFound(std::string message) { return {Code::kNotFound, std::move(message)}; }
  static Status InvalidArgument(std::string message) {
    return {Code::kInvalidArgument, std::move(message)};
  }
  static Status PermissionDenied(std::string message) {
    return {Code::kPermissionDenied, std::move(message)};
  }
  static Status Corruption(std::string message) { return {Code::kCorruption, std::move(message)}; }
  static Status IoError(std::string message) { return {Code::kIoError, std::move(message)}; }
  static Status Busy(std::string message) { return {Code::kBusy, std::move(message)}; }
  // "<what>: <strerror(error)>".
  static Status FromErrno(const std::string& what, int error);

  bool ok() const { return code_ == Code::kOk; }
  Code code() const { return code_; }
  bool IsNotFound() const { return code_ == Code::kNotFound; }
  bool IsInvalidArgument() const { return code_ == Code::kInvalidArgument; }
  bool IsPermissionDenied() const { return code_ == Code::kPermissionDenied; }
  bool IsCorruption() const { return code_ == Code::kCorruption; }
  bool IsBusy() const { return code_ == Code::kBusy; }
  // The reason, as a sentence for the user; empty when ok.
  const std::string& message() const { return message_; }

  friend bool operator==(const Status&, const Status&) = default;

 private:
  Status(Code code, std::string message) : code_(code), message_(std::move(message)) {}

  Code code_ = Code::kOk;
  std::string message_;
};

// A value, or the Status that says why there is none. Never holds an ok Status without a value.
template <typename T>
class [[nodiscard]] StatusOr {
 public:
  StatusOr(T value) : value_(std::move(value)) {}         // NOLINT: implicit, as a return value
  StatusOr(Status status) : status_(std::move(status)) {  // NOLINT: implicit, as a return value
    if (status_.ok()) status_ = Status::InvalidArgument("no value");
  }

  bool ok() const { return value_.has_value(); }
  const Status& status() const { return status_; }
  T& value() & { return *value_; }
  const T& value() const& { return *value_; }
  T&& value() && { return std::move(*value_); }
  T& operator*() & { return *value_; }
  const T& operator*() const& { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

 private:
  Status status_;
  std::optional<T> value_;
};

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_STATUS_H_
