// The device calls the panel makes to reach the virtual serial port driver: open a port's
// device, one control call with a 12-byte record each way, close it. Implementations: the
// machine's driver daemon (vspd_device), a scripted stand-in (scripted_device) and a wrapper
// that reports every call (tracing_device). Used from one thread at a time.
#ifndef KETRA_PLATFORM_DEVICE_DEVICE_H_
#define KETRA_PLATFORM_DEVICE_DEVICE_H_

#include <cstdint>
#include <string_view>

#include "platform/device/driver_contract.h"

namespace ketra::device {

using Handle = std::int32_t;
inline constexpr Handle kInvalidHandleValue = -1;

inline constexpr std::uint32_t kFileShareReadWrite = 3;
inline constexpr std::uint32_t kOpenExisting = 3;

// The security-attributes block passed to an open: length, descriptor, inherit flag.
struct SecurityAttributes {
  std::uint32_t length = 0;
  std::uint32_t descriptor = 0;
  std::uint32_t inherit_handle = 0;
};

class DeviceIo {
 public:
  virtual ~DeviceIo() = default;

  // Opens the device at `path` ("\\.\COM5" or "\\.\COM5\p"); kInvalidHandleValue on failure.
  virtual Handle CreateFile(std::string_view path, std::uint32_t desired_access,
                            std::uint32_t share_mode, const SecurityAttributes* security,
                            std::uint32_t creation_disposition, std::uint32_t flags,
                            Handle template_file) = 0;

  // One synchronous control call. Returns false on failure, in which case the output buffer may
  // be left unwritten. *bytes_returned is set to the bytes written to `out`.
  virtual bool DeviceIoControl(Handle device, std::uint32_t control_code, const std::uint8_t* in,
                               std::uint32_t in_size, std::uint8_t* out, std::uint32_t out_size,
                               std::uint32_t* bytes_returned) = 0;

  virtual bool CloseHandle(Handle device) = 0;
};

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_DEVICE_H_
