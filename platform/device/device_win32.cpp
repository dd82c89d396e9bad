// The panel's device calls on kernel32. The security-attributes block comes as the panel lays it
// out (three 32-bit fields, all zero for its commands); on a 64-bit system the record has a
// pointer in the middle, so it is rebuilt field by field: a zero length and descriptor stay
// zero and null.
#include <windows.h>
// The interface names its open CreateFile; the system header makes that a macro.
#undef CreateFile

#include <string>

#include "platform/device/win32_device.h"

namespace ketra::device {
namespace {

class Win32Device final : public DeviceIo {
 public:
  Handle CreateFile(std::string_view path, std::uint32_t desired_access, std::uint32_t share_mode,
                    const SecurityAttributes* security, std::uint32_t creation_disposition,
                    std::uint32_t flags, Handle template_file) override {
    SECURITY_ATTRIBUTES sa{};
    SECURITY_ATTRIBUTES* sa_pointer = nullptr;
    if (security != nullptr) {
      // A descriptor of the panel's 32-bit layout cannot be carried over; the panel passes none.
      sa.nLength = security->length;
      sa.lpSecurityDescriptor = nullptr;
      sa.bInheritHandle = security->inherit_handle != 0;
      sa_pointer = &sa;
    }
    const std::string name(path);
    HANDLE handle = ::CreateFileA(name.c_str(), desired_access, share_mode, sa_pointer,
                                  creation_disposition, flags, LongToHandle(template_file));
    return HandleToLong(handle);
  }

  bool DeviceIoControl(Handle device, std::uint32_t control_code, const std::uint8_t* in,
                       std::uint32_t in_size, std::uint8_t* out, std::uint32_t out_size,
                       std::uint32_t* bytes_returned) override {
    DWORD returned = 0;
    const BOOL ok =
        ::DeviceIoControl(LongToHandle(device), control_code, const_cast<std::uint8_t*>(in),
                          in_size, out, out_size, &returned, nullptr);
    if (bytes_returned != nullptr) *bytes_returned = returned;
    return ok != FALSE;
  }

  bool CloseHandle(Handle device) override { return ::CloseHandle(LongToHandle(device)) != FALSE; }
};

}  // namespace

std::unique_ptr<DeviceIo> MakeWin32Device() { return std::make_unique<Win32Device>(); }

}  // namespace ketra::device
