// The device calls on kernel32 (under Wine in the cross build's tests): a port with no driver
// behind it cannot be opened, and a device that does not know the panel's control codes fails
// the call and leaves the output record as it was, which the panel then reads as Status 0.
#include "platform/device/win32_device.h"

#include <gtest/gtest.h>

#include <array>

namespace ketra::device {
namespace {

TEST(Win32DeviceTest, OpensFailForMissingDevicesAndForeignDevicesRefuseTheCodes) {
  auto device = MakeWin32Device();
  const SecurityAttributes zero{};
  for (const char* path : {"\\\\.\\COM250", "\\\\.\\COM250\\p", "\\\\.\\KetraNoSuchDevice"}) {
    EXPECT_EQ(device->CreateFile(path, 0, kFileShareReadWrite, &zero, kOpenExisting, 0, 0),
              kInvalidHandleValue)
        << path;
  }

  const Handle nul =
      device->CreateFile("\\\\.\\NUL", 0, kFileShareReadWrite, &zero, kOpenExisting, 0, 0);
  ASSERT_NE(nul, kInvalidHandleValue);
  for (std::uint32_t code : {kIoctlVspConnect, kIoctlVspDisconnect}) {
    const std::array<std::uint8_t, 12> in{0xC0, 0xA8, 1, 0x23, 0xBB, 0x0B,
                                          0xB8, 0x0B, 1, 19,   17,   0};
    std::array<std::uint8_t, 12> out{};
    std::uint32_t returned = 99;
    EXPECT_FALSE(device->DeviceIoControl(nul, code, in.data(), 12, out.data(), 12, &returned));
    EXPECT_EQ(returned, 0u);
    EXPECT_EQ(out, (std::array<std::uint8_t, 12>{})) << std::hex << code;
  }
  EXPECT_TRUE(device->CloseHandle(nul));
}

}  // namespace
}  // namespace ketra::device
