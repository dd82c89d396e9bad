// A DeviceIo that passes every call on to another one and reports it, with what the caller will
// see of it, to a listener: the session tool prints these reports as events, whichever device
// stands behind.
//
// Does not own the wrapped device. The listener runs on the caller's thread, after the call.
#ifndef KETRA_PLATFORM_DEVICE_TRACING_DEVICE_H_
#define KETRA_PLATFORM_DEVICE_TRACING_DEVICE_H_

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/device/device.h"

namespace ketra::device {

struct DeviceCall {
  enum class Kind { kOpen, kControl, kClose };
  Kind kind = Kind::kOpen;
  bool ok = false;  // open: a valid handle came back; control, close: the call's result
  Handle handle = kInvalidHandleValue;
  // kOpen
  std::string path;
  std::uint32_t access = 0;
  std::uint32_t share = 0;
  std::uint32_t disposition = 0;
  // kControl
  std::uint32_t code = 0;
  std::vector<std::uint8_t> in;  // the input bytes as passed
  // The byte the caller reads at offset 11 of its output record after the call: whatever the
  // call left there, so 0 in a zeroed record that the call did not write.
  std::uint8_t status = 0;
};

class TracingDevice : public DeviceIo {
 public:
  using Listener = std::function<void(const DeviceCall&)>;

  TracingDevice(DeviceIo& inner, Listener listener)
      : inner_(inner), listener_(std::move(listener)) {}

  Handle CreateFile(std::string_view path, std::uint32_t desired_access, std::uint32_t share_mode,
                    const SecurityAttributes* security, std::uint32_t creation_disposition,
                    std::uint32_t flags, Handle template_file) override;
  bool DeviceIoControl(Handle device, std::uint32_t control_code, const std::uint8_t* in,
                       std::uint32_t in_size, std::uint8_t* out, std::uint32_t out_size,
                       std::uint32_t* bytes_returned) override;
  bool CloseHandle(Handle device) override;

 private:
  void Report(const DeviceCall& call) {
    if (listener_) listener_(call);
  }

  DeviceIo& inner_;
  Listener listener_;
};

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_TRACING_DEVICE_H_
