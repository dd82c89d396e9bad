// The wire format of the driver daemon's control channel: a Unix SOCK_SEQPACKET socket on which
// every message is one record, so framing is the socket's and a message is parsed whole.
//
// Every message starts with four bytes: 'K' (0x4B), version 1, kind, 0. Then, by kind:
//   requests  1 open    the device path, 1 to 260 printable ASCII bytes (no NUL, no blank)
//             2 ioctl   control code (u32 little-endian) and the 12 input bytes: exactly 16
//             3 close   nothing
//             4 status  nothing
//             5 trace   a port's name: from now on the connection carries that port's trace
//   replies 129 open    error (u32 little-endian, 0 = success)
//           130 ioctl   error (u32) and the 12 output bytes: exactly 16
//           131 close   error (u32)
//           132 status  a JSON document, UTF-8, or its last piece: at most kMaxStatusText bytes
//           133 status  a piece of the document that goes on in the next message (a document
//                       larger than a socket's buffer takes several messages)
//           134 trace   error (u32): 0, and trace records follow; or 2, no such port
//           135 record  one trace record, 1 to kMaxTraceRecord bytes (daemon/trace_record.h)
//           255 refused error (u32) and a reason, 0 to 200 printable ASCII bytes
// Anything else (short, long, unknown kind, bad bytes) does not parse. Error numbers are the
// platform's (2 no such device, 6 invalid handle, 87 invalid parameter, 123 invalid name, 1
// invalid function). Pure functions; thread-safe.
#ifndef KETRA_PLATFORM_DEVICE_VSPD_PROTOCOL_H_
#define KETRA_PLATFORM_DEVICE_VSPD_PROTOCOL_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/device/driver_contract.h"
#include "platform/runtime/system_errors.h"

namespace ketra::device::wire {

inline constexpr std::uint8_t kMagic = 0x4B;
inline constexpr std::uint8_t kVersion = 1;
inline constexpr std::size_t kHeaderSize = 4;
using ::ketra::device::kRecordSize;
inline constexpr std::size_t kMaxPathLength = 260;
inline constexpr std::size_t kMaxReasonLength = 200;
inline constexpr std::size_t kMaxStatusText = 1 << 20;
// The daemon sends the status document in pieces of this size, well inside a socket's buffer.
inline constexpr std::size_t kStatusPieceSize = 32 << 10;
// A trace record: its head and the largest datagram.
inline constexpr std::size_t kMaxTraceRecord = 64 + 65536;
// Large enough for any message, the status reply included.
inline constexpr std::size_t kMaxMessageSize = kHeaderSize + kMaxStatusText;
// Large enough for any request.
inline constexpr std::size_t kMaxRequestSize = kHeaderSize + kMaxPathLength;

using runtime::kErrorFileNotFound;
using runtime::kErrorInvalidFunction;
using runtime::kErrorInvalidHandle;
using runtime::kErrorInvalidName;
using runtime::kErrorInvalidParameter;
using runtime::kErrorSuccess;

using ::ketra::device::Record;

struct OpenRequest {
  std::string path;
  friend bool operator==(const OpenRequest&, const OpenRequest&) = default;
};
struct IoctlRequest {
  std::uint32_t code = 0;
  Record input{};
  friend bool operator==(const IoctlRequest&, const IoctlRequest&) = default;
};
struct CloseRequest {
  friend bool operator==(const CloseRequest&, const CloseRequest&) = default;
};
struct StatusRequest {
  friend bool operator==(const StatusRequest&, const StatusRequest&) = default;
};
struct TraceRequest {
  std::string port;
  friend bool operator==(const TraceRequest&, const TraceRequest&) = default;
};
using Request = std::variant<OpenRequest, IoctlRequest, CloseRequest, StatusRequest, TraceRequest>;

struct OpenReply {
  std::uint32_t error = 0;
  friend bool operator==(const OpenReply&, const OpenReply&) = default;
};
struct IoctlReply {
  std::uint32_t error = 0;
  Record output{};
  friend bool operator==(const IoctlReply&, const IoctlReply&) = default;
};
struct CloseReply {
  std::uint32_t error = 0;
  friend bool operator==(const CloseReply&, const CloseReply&) = default;
};
struct StatusReply {
  std::string json;
  bool more = false;  // a piece: the document goes on in the next message
  friend bool operator==(const StatusReply&, const StatusReply&) = default;
};
struct ErrorReply {
  std::uint32_t error = 0;
  std::string reason;
  friend bool operator==(const ErrorReply&, const ErrorReply&) = default;
};
struct TraceReply {
  std::uint32_t error = 0;
  friend bool operator==(const TraceReply&, const TraceReply&) = default;
};
struct TraceRecord {
  std::vector<std::uint8_t> bytes;
  friend bool operator==(const TraceRecord&, const TraceRecord&) = default;
};
using Reply = std::variant<OpenReply, IoctlReply, CloseReply, StatusReply, ErrorReply, TraceReply,
                           TraceRecord>;

enum class ParseError {
  kNone,
  kTooShort,
  kBadMagic,
  kBadVersion,
  kBadReserved,
  kUnknownKind,
  kBadLength,
  kBadText,
};
std::string_view ParseErrorText(ParseError error);

// Encoders expect well-formed values (a path or text within its limits); they do not check.
std::vector<std::uint8_t> EncodeRequest(const Request& request);
std::vector<std::uint8_t> EncodeReply(const Reply& reply);

// nullopt, with *error saying why, for anything that is not exactly one valid message.
std::optional<Request> ParseRequest(std::span<const std::uint8_t> message, ParseError* error);
std::optional<Reply> ParseReply(std::span<const std::uint8_t> message, ParseError* error);

// A device path the daemon serves: "\\.\NAME" (connect) or "\\.\NAME\p" (disconnect), NAME
// being 1 to kMaxPortName letters, digits, '_' or '-'.
inline constexpr std::size_t kMaxPortName = 32;
struct DevicePath {
  std::string port;
  bool control_suffix = false;  // the "\p" form
  friend bool operator==(const DevicePath&, const DevicePath&) = default;
};
std::optional<DevicePath> ParseDevicePath(std::string_view path);
bool IsValidPortName(std::string_view name);

}  // namespace ketra::device::wire

#endif  // KETRA_PLATFORM_DEVICE_VSPD_PROTOCOL_H_
