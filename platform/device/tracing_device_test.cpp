// The session scripts show the trace of every open, control call and close; what they cannot
// show is a record the caller did not clear, and the result of a control call.
#include "platform/device/tracing_device.h"

#include <array>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "platform/device/scripted_device.h"

namespace ketra::device {
namespace {

TEST(TracingDevice, StatusIsWhatTheCallLeftInTheCallersRecord) {
  ScriptedDevice scripted;
  std::vector<DeviceCall> calls;
  TracingDevice device(scripted, [&](const DeviceCall& call) { calls.push_back(call); });
  const Handle handle = device.CreateFile("\\\\.\\COM3", 0, 3, nullptr, 3, 0, 0);
  std::array<std::uint8_t, 12> in{};
  std::array<std::uint8_t, 12> out{};
  std::uint32_t returned = 0;
  EXPECT_TRUE(
      device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
  out[11] = 77;  // a record the caller did not clear
  scripted.SetSilent();
  EXPECT_FALSE(
      device.DeviceIoControl(handle, kIoctlVspConnect, in.data(), 12, out.data(), 12, &returned));
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[1].status, 112);
  EXPECT_TRUE(calls[1].ok);
  EXPECT_EQ(calls[2].status, 77);
  EXPECT_FALSE(calls[2].ok);
}

}  // namespace
}  // namespace ketra::device
