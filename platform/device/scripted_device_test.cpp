// Each mode's answers to the panel's commands are shown end to end by the driver command session
// script; here what the panel never does: unknown handles, short records, unknown codes.
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

TEST(ScriptedDevice, OpenFailsUntilAutoAndHandlesAreUnique) {
  ScriptedDevice device;
  const Handle a = Open(device, "\\\\.\\COM3");
  const Handle b = Open(device, "\\\\.\\COM3");
  EXPECT_NE(a, b);
  EXPECT_NE(a, kInvalidHandleValue);
  device.SetOpenFails();
  EXPECT_EQ(Open(device, "\\\\.\\COM3"), kInvalidHandleValue);
  EXPECT_EQ(Open(device, "\\\\.\\COM3\\p"), kInvalidHandleValue);
  device.SetAuto();
  const Handle c = Open(device, "\\\\.\\COM3");
  EXPECT_NE(c, kInvalidHandleValue);
  EXPECT_NE(c, a);
  EXPECT_NE(c, b);
  EXPECT_TRUE(device.CloseHandle(a));
  EXPECT_FALSE(device.CloseHandle(a)) << "a handle closes once";
  EXPECT_TRUE(device.CloseHandle(b));
  EXPECT_TRUE(device.CloseHandle(c));
}

TEST(ScriptedDevice, ControlCallsOnUnknownHandlesOrShortRecordsFail) {
  ScriptedDevice device;
  std::array<std::uint8_t, 12> in{};
  std::array<std::uint8_t, 12> out{};
  std::uint32_t returned = 0;
  EXPECT_FALSE(
      device.DeviceIoControl(42, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
  const Handle handle = Open(device, "\\\\.\\COM3");
  EXPECT_FALSE(
      device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 11, &returned));
  EXPECT_FALSE(
      device.DeviceIoControl(handle, 0x80202008u, in.data(), 12, out.data(), 12, &returned));
  EXPECT_FALSE(device.IsConnected("\\\\.\\COM3"));
  EXPECT_TRUE(
      device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
  EXPECT_TRUE(device.IsConnected("\\\\.\\COM3"));
}

}  // namespace
}  // namespace ketra::device
