#include "platform/device/scripted_device.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::device {
namespace {

enum class Op { kConnect, kDisconnect };

struct Step {
  Op op;
  std::string port;  // "\\.\" + port is opened; a disconnect adds "\p"
  bool call_ok;
  int status;  // byte 11 of an output record that started at 0xEE
};

struct Case {
  std::string name;
  void (*setup)(ScriptedDevice&);
  std::vector<Step> steps;
};

Handle Open(ScriptedDevice& device, const std::string& path) {
  return device.CreateFile(path, 0, kFileShareReadWrite, nullptr, kOpenExisting, 0, 0);
}

class ScriptedDeviceModes : public ::testing::TestWithParam<Case> {};

TEST_P(ScriptedDeviceModes, AnswersEachCommandAsTheModeSays) {
  ScriptedDevice device;
  GetParam().setup(device);
  int index = 0;
  for (const Step& step : GetParam().steps) {
    SCOPED_TRACE("step " + std::to_string(index++));
    const bool connect = step.op == Op::kConnect;
    const Handle handle = Open(device, "\\\\.\\" + step.port + (connect ? "" : "\\p"));
    ASSERT_NE(handle, kInvalidHandleValue);
    const std::array<std::uint8_t, 12> in{0xC0, 0xA8, 1, 0x23, 0xBB, 0x0B,
                                          0xB8, 0x0B, 1, 19,   17,   0};
    std::array<std::uint8_t, 12> out;
    out.fill(0xEE);
    std::uint32_t returned = 0;
    const bool ok = device.DeviceIoControl(handle, connect ? kIoctlVspConnect : kIoctlVspDisconnect,
                                           in.data(), 12, out.data(), 12, &returned);
    EXPECT_EQ(ok, step.call_ok);
    EXPECT_EQ(out[11], step.status);
    if (ok) {
      EXPECT_EQ(returned, 12u);
      for (int i = 0; i < 11; ++i) EXPECT_EQ(out[static_cast<size_t>(i)], 0) << "byte " << i;
    } else {
      EXPECT_EQ(returned, 0u);
      for (std::uint8_t byte : out) EXPECT_EQ(byte, 0xEE) << "a failed call wrote its output";
    }
    EXPECT_TRUE(device.CloseHandle(handle));
  }
  EXPECT_EQ(device.open_handles(), 0);
}

const Case kCases[] = {
    {"AutoConnectsOnceThenSaysAlreadyConnected",
     [](ScriptedDevice&) {},
     {{Op::kConnect, "COM5", true, 112},
      {Op::kConnect, "COM5", true, 15},
      {Op::kConnect, "COM6", true, 112}}},
    {"SilentLeavesTheOutputUnwritten",
     [](ScriptedDevice& d) { d.SetSilent(); },
     {{Op::kConnect, "COM5", false, 0xEE}, {Op::kDisconnect, "COM5", false, 0xEE}}},
    {"StatusZeroAndHighValues",
     [](ScriptedDevice& d) { d.SetStatus(255); },
     {{Op::kDisconnect, "COM9", true, 255}}},
};

INSTANTIATE_TEST_SUITE_P(Modes, ScriptedDeviceModes, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<Case>& param_info) {
                           return param_info.param.name;
                         });

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

TEST(ScriptedDevice, PortOfPathDropsOnlyTheDisconnectSuffix) {
  EXPECT_EQ(ScriptedDevice::PortOfPath("\\\\.\\COM5\\p"), "\\\\.\\COM5");
  EXPECT_EQ(ScriptedDevice::PortOfPath("\\\\.\\COM5"), "\\\\.\\COM5");
  EXPECT_EQ(ScriptedDevice::PortOfPath("\\\\.\\COM5\\P"), "\\\\.\\COM5\\P");
  EXPECT_EQ(ScriptedDevice::PortOfPath(""), "");
}

}  // namespace
}  // namespace ketra::device
