// The driver daemon's control messages from any bytes: a message that parses encodes back to
// the same bytes, and a device path that parses names a port without '/' or "..", so that a
// link path built from it stays in the link directory.
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_check.h"
#include "platform/device/vspd_protocol.h"

namespace {

namespace wire = ketra::device::wire;

void CheckDevicePath(std::string_view path) {
  const auto device = wire::ParseDevicePath(path);
  if (!device) return;
  FUZZ_CHECK(!device->port.empty() && device->port.size() <= wire::kMaxPortName);
  FUZZ_CHECK(device->port.find('/') == std::string_view::npos);
  FUZZ_CHECK(device->port.find("..") == std::string_view::npos);
  FUZZ_CHECK(device->port.find('\0') == std::string_view::npos);
  FUZZ_CHECK(wire::IsValidPortName(device->port));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span<const std::uint8_t> message(data, size);
  const std::vector<std::uint8_t> bytes(data, data + size);
  wire::ParseError error = wire::ParseError::kNone;
  if (const auto request = wire::ParseRequest(message, &error)) {
    FUZZ_CHECK(wire::EncodeRequest(*request) == bytes);
    if (const auto* open = std::get_if<wire::OpenRequest>(&*request)) CheckDevicePath(open->path);
  } else {
    FUZZ_CHECK(error != wire::ParseError::kNone);
  }
  error = wire::ParseError::kNone;
  if (const auto reply = wire::ParseReply(message, &error)) {
    FUZZ_CHECK(wire::EncodeReply(*reply) == bytes);
  } else {
    FUZZ_CHECK(error != wire::ParseError::kNone);
  }
  CheckDevicePath(std::string_view(reinterpret_cast<const char*>(data), size));
  return 0;
}
