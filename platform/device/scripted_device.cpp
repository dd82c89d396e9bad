// The scripted driver stand-in. A control call writes the whole 12-byte answer record, as the
// driver does; only the last byte, the status, carries anything.
#include "platform/device/scripted_device.h"

#include <algorithm>

namespace ketra::device {

std::string ScriptedDevice::PortOfPath(std::string_view path) {
  if (path.ends_with(kControlPathSuffix)) path.remove_suffix(kControlPathSuffix.size());
  return std::string(path);
}

Handle ScriptedDevice::CreateFile(std::string_view path, std::uint32_t /*desired_access*/,
                                  std::uint32_t /*share_mode*/,
                                  const SecurityAttributes* /*security*/,
                                  std::uint32_t /*creation_disposition*/, std::uint32_t /*flags*/,
                                  Handle /*template_file*/) {
  if (mode_ == Mode::kOpenFails) return kInvalidHandleValue;
  const Handle handle = next_handle_++;
  open_.emplace(handle, PortOfPath(path));
  return handle;
}

bool ScriptedDevice::DeviceIoControl(Handle device, std::uint32_t control_code,
                                     const std::uint8_t* /*in*/, std::uint32_t /*in_size*/,
                                     std::uint8_t* out, std::uint32_t out_size,
                                     std::uint32_t* bytes_returned) {
  const auto port = open_.find(device);
  if (port == open_.end() || mode_ == Mode::kSilent || out == nullptr || out_size < kRecordSize) {
    return false;
  }
  std::uint8_t status = 0;
  if (mode_ == Mode::kStatus) {
    status = status_;
  } else if (control_code == kIoctlVspConnect) {
    // kAuto, and kOpenFails for a handle opened before the opens began to fail.
    status = connected_.insert(port->second).second ? kStatusConnected : kStatusAlreadyConnected;
  } else if (control_code == kIoctlVspDisconnect) {
    status = connected_.erase(port->second) > 0 ? kStatusDisconnected : kStatusAlreadyInState;
  } else {
    return false;  // a code this driver does not know
  }
  std::fill(out, out + kRecordSize, std::uint8_t{0});
  out[kStatusOffset] = status;
  if (bytes_returned != nullptr) *bytes_returned = kRecordSize;
  return true;
}

bool ScriptedDevice::CloseHandle(Handle device) { return open_.erase(device) > 0; }

}  // namespace ketra::device
