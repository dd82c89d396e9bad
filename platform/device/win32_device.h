// The device calls of a Windows machine: CreateFileA, DeviceIoControl and CloseHandle of
// kernel32, with the panel's arguments passed through as they are, so the driver sees exactly
// the calls the panel makes. Handles of the interface are the system's handles (kernel handles
// keep their meaning in 32 bits), INVALID_HANDLE_VALUE being kInvalidHandleValue. The caller owns
// every handle it opens until it closes it. Stateless; any thread.
#ifndef KETRA_PLATFORM_DEVICE_WIN32_DEVICE_H_
#define KETRA_PLATFORM_DEVICE_WIN32_DEVICE_H_

#include <memory>

#include "platform/device/device.h"

namespace ketra::device {

std::unique_ptr<DeviceIo> MakeWin32Device();

}  // namespace ketra::device

#endif  // KETRA_PLATFORM_DEVICE_WIN32_DEVICE_H_
