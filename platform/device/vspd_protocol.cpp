#include "platform/device/vspd_protocol.h"

#include <algorithm>

namespace ketra::device::wire {
namespace {

enum Kind : std::uint8_t {
  kOpen = 1,
  kIoctl = 2,
  kClose = 3,
  kStatus = 4,
  kTrace = 5,
  kOpenReply = 129,
  kIoctlReply = 130,
  kCloseReply = 131,
  kStatusReply = 132,
  kStatusPiece = 133,
  kTraceReply = 134,
  kTraceRecord = 135,
  kRefused = 255,
};

std::vector<std::uint8_t> Header(std::uint8_t kind) { return {kMagic, kVersion, kind, 0}; }

void PutU32(std::vector<std::uint8_t>& out, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8)
    out.push_back(static_cast<std::uint8_t>(value >> shift));
}

std::uint32_t GetU32(std::span<const std::uint8_t> bytes) {
  return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
         static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

void PutText(std::vector<std::uint8_t>& out, std::string_view text) {
  out.insert(out.end(), text.begin(), text.end());
}

bool IsPrintable(std::uint8_t c, bool blank_allowed) {
  return (c > 0x20 && c < 0x7F) || (blank_allowed && c == 0x20);
}

bool AllPrintable(std::span<const std::uint8_t> text, bool blank_allowed) {
  return std::all_of(text.begin(), text.end(),
                     [&](std::uint8_t c) { return IsPrintable(c, blank_allowed); });
}

Record TakeRecord(std::span<const std::uint8_t> bytes) {
  Record record{};
  std::copy_n(bytes.begin(), kRecordSize, record.begin());
  return record;
}

// Checks the header; on success *kind is set and the payload follows at kHeaderSize.
bool ParseHeader(std::span<const std::uint8_t> message, std::uint8_t* kind, ParseError* error) {
  if (message.size() < kHeaderSize) {
    *error = ParseError::kTooShort;
  } else if (message[0] != kMagic) {
    *error = ParseError::kBadMagic;
  } else if (message[1] != kVersion) {
    *error = ParseError::kBadVersion;
  } else if (message[3] != 0) {
    *error = ParseError::kBadReserved;
  } else {
    *kind = message[2];
    *error = ParseError::kNone;
    return true;
  }
  return false;
}

template <typename T>
std::optional<T> Fail(ParseError* error, ParseError why) {
  *error = why;
  return std::nullopt;
}

}  // namespace

std::string_view ParseErrorText(ParseError error) {
  switch (error) {
    case ParseError::kNone:
      return "no error";
    case ParseError::kTooShort:
      return "message shorter than its header";
    case ParseError::kBadMagic:
      return "bad magic byte";
    case ParseError::kBadVersion:
      return "unknown protocol version";
    case ParseError::kBadReserved:
      return "reserved byte not zero";
    case ParseError::kUnknownKind:
      return "unknown message kind";
    case ParseError::kBadLength:
      return "wrong length for its kind";
    case ParseError::kBadText:
      return "text with forbidden bytes";
  }
  return "unknown parse error";
}

std::vector<std::uint8_t> EncodeRequest(const Request& request) {
  std::vector<std::uint8_t> out;
  if (const auto* open = std::get_if<OpenRequest>(&request)) {
    out = Header(kOpen);
    PutText(out, open->path);
  } else if (const auto* ioctl = std::get_if<IoctlRequest>(&request)) {
    out = Header(kIoctl);
    PutU32(out, ioctl->code);
    out.insert(out.end(), ioctl->input.begin(), ioctl->input.end());
  } else if (std::holds_alternative<CloseRequest>(request)) {
    out = Header(kClose);
  } else if (const auto* trace = std::get_if<TraceRequest>(&request)) {
    out = Header(kTrace);
    PutText(out, trace->port);
  } else {
    out = Header(kStatus);
  }
  return out;
}

std::vector<std::uint8_t> EncodeReply(const Reply& reply) {
  std::vector<std::uint8_t> out;
  if (const auto* open = std::get_if<OpenReply>(&reply)) {
    out = Header(kOpenReply);
    PutU32(out, open->error);
  } else if (const auto* ioctl = std::get_if<IoctlReply>(&reply)) {
    out = Header(kIoctlReply);
    PutU32(out, ioctl->error);
    out.insert(out.end(), ioctl->output.begin(), ioctl->output.end());
  } else if (const auto* close = std::get_if<CloseReply>(&reply)) {
    out = Header(kCloseReply);
    PutU32(out, close->error);
  } else if (const auto* trace = std::get_if<TraceReply>(&reply)) {
    out = Header(kTraceReply);
    PutU32(out, trace->error);
  } else if (const auto* record = std::get_if<TraceRecord>(&reply)) {
    out = Header(kTraceRecord);
    out.insert(out.end(), record->bytes.begin(), record->bytes.end());
  } else if (const auto* status = std::get_if<StatusReply>(&reply)) {
    out = Header(status->more ? kStatusPiece : kStatusReply);
    PutText(out, status->json);
  } else {
    const auto& refusal = std::get<ErrorReply>(reply);
    out = Header(kRefused);
    PutU32(out, refusal.error);
    PutText(out, refusal.reason);
  }
  return out;
}

std::optional<Request> ParseRequest(std::span<const std::uint8_t> message, ParseError* error) {
  std::uint8_t kind = 0;
  if (!ParseHeader(message, &kind, error)) return std::nullopt;
  const auto payload = message.subspan(kHeaderSize);
  switch (kind) {
    case kOpen:
      if (payload.empty() || payload.size() > kMaxPathLength) {
        return Fail<Request>(error, ParseError::kBadLength);
      }
      if (!AllPrintable(payload, false)) return Fail<Request>(error, ParseError::kBadText);
      return OpenRequest{std::string(payload.begin(), payload.end())};
    case kIoctl:
      if (payload.size() != 4 + kRecordSize) return Fail<Request>(error, ParseError::kBadLength);
      return IoctlRequest{GetU32(payload), TakeRecord(payload.subspan(4))};
    case kClose:
      if (!payload.empty()) return Fail<Request>(error, ParseError::kBadLength);
      return CloseRequest{};
    case kStatus:
      if (!payload.empty()) return Fail<Request>(error, ParseError::kBadLength);
      return StatusRequest{};
    case kTrace:
      if (payload.empty() || payload.size() > kMaxPortName) {
        return Fail<Request>(error, ParseError::kBadLength);
      }
      if (!IsValidPortName(
              std::string_view(reinterpret_cast<const char*>(payload.data()), payload.size()))) {
        return Fail<Request>(error, ParseError::kBadText);
      }
      return TraceRequest{std::string(payload.begin(), payload.end())};
    default:
      return Fail<Request>(error, ParseError::kUnknownKind);
  }
}

std::optional<Reply> ParseReply(std::span<const std::uint8_t> message, ParseError* error) {
  std::uint8_t kind = 0;
  if (!ParseHeader(message, &kind, error)) return std::nullopt;
  const auto payload = message.subspan(kHeaderSize);
  switch (kind) {
    case kOpenReply:
      if (payload.size() != 4) return Fail<Reply>(error, ParseError::kBadLength);
      return OpenReply{GetU32(payload)};
    case kIoctlReply:
      if (payload.size() != 4 + kRecordSize) return Fail<Reply>(error, ParseError::kBadLength);
      return IoctlReply{GetU32(payload), TakeRecord(payload.subspan(4))};
    case kCloseReply:
      if (payload.size() != 4) return Fail<Reply>(error, ParseError::kBadLength);
      return CloseReply{GetU32(payload)};
    case kStatusReply:
    case kStatusPiece:
      if (payload.size() > kMaxStatusText) return Fail<Reply>(error, ParseError::kBadLength);
      if (std::find(payload.begin(), payload.end(), 0) != payload.end()) {
        return Fail<Reply>(error, ParseError::kBadText);
      }
      return StatusReply{std::string(payload.begin(), payload.end()), kind == kStatusPiece};
    case kTraceReply:
      if (payload.size() != 4) return Fail<Reply>(error, ParseError::kBadLength);
      return TraceReply{GetU32(payload)};
    case kTraceRecord:
      if (payload.empty() || payload.size() > kMaxTraceRecord) {
        return Fail<Reply>(error, ParseError::kBadLength);
      }
      return TraceRecord{std::vector<std::uint8_t>(payload.begin(), payload.end())};
    case kRefused:
      if (payload.size() < 4 || payload.size() > 4 + kMaxReasonLength) {
        return Fail<Reply>(error, ParseError::kBadLength);
      }
      if (!AllPrintable(payload.subspan(4), true)) return Fail<Reply>(error, ParseError::kBadText);
      return ErrorReply{GetU32(payload), std::string(payload.begin() + 4, payload.end())};
    default:
      return Fail<Reply>(error, ParseError::kUnknownKind);
  }
}

bool IsValidPortName(std::string_view name) {
  if (name.empty() || name.size() > kMaxPortName) return false;
  return std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
  });
}

std::optional<DevicePath> ParseDevicePath(std::string_view path) {
  if (!path.starts_with(kDevicePathPrefix)) return std::nullopt;
  path.remove_prefix(kDevicePathPrefix.size());
  DevicePath result;
  if (path.ends_with(kControlPathSuffix)) {
    result.control_suffix = true;
    path.remove_suffix(kControlPathSuffix.size());
  }
  if (!IsValidPortName(path)) return std::nullopt;
  result.port = std::string(path);
  return result;
}

}  // namespace ketra::device::wire
