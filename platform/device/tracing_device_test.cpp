#include "platform/device/tracing_device.h"

#include <array>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "platform/device/scripted_device.h"

namespace ketra::device {
namespace {

TEST(TracingDevice, ReportsEveryCallWithWhatTheCallerSees) {
  ScriptedDevice scripted;
  std::vector<DeviceCall> calls;
  TracingDevice device(scripted, [&](const DeviceCall& call) { calls.push_back(call); });

  const SecurityAttributes security;
  const Handle handle =
      device.CreateFile("\\\\.\\COM5", 0, kFileShareReadWrite, &security, kOpenExisting, 0, 0);
  const std::array<std::uint8_t, 12> in{0xC0, 0xA8, 1, 0x23, 0xBB, 0x0B,
                                        0xB8, 0x0B, 1, 0x13, 0x11, 0};
  std::array<std::uint8_t, 12> out{};
  std::uint32_t returned = 0;
  EXPECT_TRUE(
      device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
  EXPECT_EQ(out[11], 112);
  scripted.SetSilent();
  out.fill(0);
  EXPECT_FALSE(device.DeviceIoControl(handle, kIoctlVspDisconnect, in.data(), 12, out.data(), 12,
                                      &returned));
  EXPECT_TRUE(device.CloseHandle(handle));
  scripted.SetOpenFails();
  EXPECT_EQ(device.CreateFile("\\\\.\\COM5\\p", 0, 3, &security, 3, 0, 0), kInvalidHandleValue);

  ASSERT_EQ(calls.size(), 5u);
  EXPECT_EQ(calls[0].kind, DeviceCall::Kind::kOpen);
  EXPECT_EQ(calls[0].path, "\\\\.\\COM5");
  EXPECT_EQ(calls[0].access, 0u);
  EXPECT_EQ(calls[0].share, 3u);
  EXPECT_EQ(calls[0].disposition, 3u);
  EXPECT_TRUE(calls[0].ok);
  EXPECT_EQ(calls[0].handle, handle);

  EXPECT_EQ(calls[1].kind, DeviceCall::Kind::kControl);
  EXPECT_EQ(calls[1].code, kIoctlVspConnect);
  EXPECT_EQ(calls[1].in, std::vector<std::uint8_t>(in.begin(), in.end()));
  EXPECT_EQ(calls[1].status, 112);
  EXPECT_TRUE(calls[1].ok);

  EXPECT_EQ(calls[2].kind, DeviceCall::Kind::kControl);
  EXPECT_EQ(calls[2].code, kIoctlVspDisconnect);
  EXPECT_EQ(calls[2].status, 0) << "an unwritten zero record reads 0";
  EXPECT_FALSE(calls[2].ok);

  EXPECT_EQ(calls[3].kind, DeviceCall::Kind::kClose);
  EXPECT_TRUE(calls[3].ok);

  EXPECT_EQ(calls[4].kind, DeviceCall::Kind::kOpen);
  EXPECT_EQ(calls[4].path, "\\\\.\\COM5\\p");
  EXPECT_FALSE(calls[4].ok);
}

TEST(TracingDevice, StatusIsWhatTheCallLeftInTheCallersRecord) {
  ScriptedDevice scripted;
  std::vector<DeviceCall> calls;
  TracingDevice device(scripted, [&](const DeviceCall& call) { calls.push_back(call); });
  const Handle handle = device.CreateFile("\\\\.\\COM3", 0, 3, nullptr, 3, 0, 0);
  std::array<std::uint8_t, 12> in{};
  std::array<std::uint8_t, 12> out{};
  out[11] = 77;  // a record the caller did not clear
  scripted.SetSilent();
  std::uint32_t returned = 0;
  device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[1].status, 77);
}

}  // namespace
}  // namespace ketra::device
