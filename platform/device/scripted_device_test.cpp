// Each mode's answers to the panel's commands, a failing open among them, are shown end to end by
// the driver command session script; here what the panel never does: unknown or closed handles,
// short records, unknown codes.
#include "platform/device/scripted_device.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::device {
namespace {

Handle Open(ScriptedDevice& device, const std::string& path) {
  return device.CreateFile(path, 0, kFileShareReadWrite, nullptr, kOpenExisting, 0, 0);
}

TEST(ScriptedDevice, UnknownHandlesShortRecordsAndUnknownCodesFail) {
  ScriptedDevice device;
  std::array<std::uint8_t, 12> in{};
  std::array<std::uint8_t, 12> out{};
  std::uint32_t returned = 0;
  EXPECT_FALSE(
      device.DeviceIoControl(42, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
  const Handle handle = Open(device, "\\\\.\\COM3");
  const Handle other = Open(device, "\\\\.\\COM3");
  EXPECT_NE(handle, kInvalidHandleValue);
  EXPECT_NE(handle, other);
  EXPECT_FALSE(
      device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 11, &returned));
  EXPECT_FALSE(
      device.DeviceIoControl(handle, 0x80202008u, in.data(), 12, out.data(), 12, &returned));
  EXPECT_FALSE(device.IsConnected("\\\\.\\COM3"));
  EXPECT_TRUE(
      device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
  EXPECT_TRUE(device.IsConnected("\\\\.\\COM3"));
  EXPECT_TRUE(device.CloseHandle(other));
  EXPECT_FALSE(device.CloseHandle(other)) << "a handle closes once";
  EXPECT_FALSE(
      device.DeviceIoControl(other, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
}

}  // namespace
}  // namespace ketra::device
