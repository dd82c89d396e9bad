// A stand-in for the virtual serial port driver, driven by a script: by default it behaves like
// a healthy driver that remembers which ports are connected; on request every control call
// answers one fixed status, fails without writing its output, or every open fails. Used by the
// session tool and by tests that need a driver without the daemon.
//
// Owns nothing outside itself. Not thread-safe: one caller at a time, as DeviceIo requires.
#ifndef KETRA_PLATFORM_DEVICE_SCRIPTED_DEVICE_H_
#define KETRA_PLATFORM_DEVICE_SCRIPTED_DEVICE_H_

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "platform/device/device.h"

namespace ketra::device {

class ScriptedDevice : public DeviceIo {
 public:
  enum class Mode {
    kAuto,       // a healthy driver: connect 112 (15 when connected), disconnect 113 (0 when not)
    kStatus,     // every control call answers the fixed status, other output bytes zero
    kSilent,     // control calls fail and leave the output unwritten
    kOpenFails,  // opens fail; handles opened before still answer as kAuto
  };

  // Back to the healthy driver. Which ports are connected is kept across mode changes.
  void SetAuto() { mode_ = Mode::kAuto; }
  void SetStatus(std::uint8_t status) {
    mode_ = Mode::kStatus;
    status_ = status;
  }
  void SetSilent() { mode_ = Mode::kSilent; }
  void SetOpenFails() { mode_ = Mode::kOpenFails; }
  Mode mode() const { return mode_; }

  // The port a device path names: the path without a trailing "\p" (the disconnect's form).
  static std::string PortOfPath(std::string_view path);
  bool IsConnected(std::string_view port) const { return connected_.count(std::string(port)) > 0; }

  Handle CreateFile(std::string_view path, std::uint32_t desired_access, std::uint32_t share_mode,
                    const SecurityAttributes* security, std::uint32_t creation_disposition,
                    std::uint32_t flags, Handle template_file) override;
  bool DeviceIoControl(Handle device, std::uint32_t control_code, const std::uint8_t* in,
                       std::uint32_t in_size, std::uint8_t* out, std::uint32_t out_size,
                       std::uint32_t* bytes_returned) override;
  bool CloseHandle(Handle device) override;

 private:
  Mode mode_ = Mode::kAuto;
  std::uint8_t status_ = 0;
  Handle next_handle_ = 1;
  std::map<Handle, std::string> open_;  // handle -> port
  std::set<std::string> connected_;
};

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_SCRIPTED_DEVICE_H_
