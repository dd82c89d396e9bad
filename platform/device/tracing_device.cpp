#include "platform/device/tracing_device.h"

namespace ketra::device {

Handle TracingDevice::CreateFile(std::string_view path, std::uint32_t desired_access,
                                 std::uint32_t share_mode, const SecurityAttributes* security,
                                 std::uint32_t creation_disposition, std::uint32_t flags,
                                 Handle template_file) {
  const Handle handle = inner_.CreateFile(path, desired_access, share_mode, security,
                                          creation_disposition, flags, template_file);
  DeviceCall call;
  call.kind = DeviceCall::Kind::kOpen;
  call.ok = handle != kInvalidHandleValue;
  call.handle = handle;
  call.path = std::string(path);
  call.access = desired_access;
  call.share = share_mode;
  call.disposition = creation_disposition;
  Report(call);
  return handle;
}

bool TracingDevice::DeviceIoControl(Handle device, std::uint32_t control_code,
                                    const std::uint8_t* in, std::uint32_t in_size,
                                    std::uint8_t* out, std::uint32_t out_size,
                                    std::uint32_t* bytes_returned) {
  DeviceCall call;
  call.kind = DeviceCall::Kind::kControl;
  call.handle = device;
  call.code = control_code;
  // Taken before the call: the input and output records may be one buffer.
  if (in != nullptr) call.in.assign(in, in + in_size);
  call.ok =
      inner_.DeviceIoControl(device, control_code, in, in_size, out, out_size, bytes_returned);
  call.status = out != nullptr && out_size > kStatusOffset ? out[kStatusOffset] : 0;
  Report(call);
  return call.ok;
}

bool TracingDevice::CloseHandle(Handle device) {
  DeviceCall call;
  call.kind = DeviceCall::Kind::kClose;
  call.handle = device;
  call.ok = inner_.CloseHandle(device);
  Report(call);
  return call.ok;
}

}  // namespace ketra::device
