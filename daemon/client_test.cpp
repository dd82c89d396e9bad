#include "daemon/client.h"

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/device/scripted_device.h"
#include "platform/device/tracing_device.h"
#include "platform/registry/memory_registry.h"
#include "platform/registry/test_registry.h"
#include "platform/runtime/strings.h"

namespace ketra::vspd {
namespace {

// COM5 at 127.0.0.1, remote 3003, local 3000, software flow with XON 17 and XOFF 19, stored as
// the panel stores it (text with its NUL; the address as inet_addr gives it, signed decimal).
std::unique_ptr<registry::Registry> HiveWithCom5() {
  auto registry = registry::MakeMemoryRegistry();
  const std::pair<const char*, const char*> values[] = {
      {"PORTNAME", "COM5"},   {"ENABLED", "49"},       {"FLOWCONTROL", "49"},
      {"XON", "17"},          {"XOFF", "19"},          {"LOCALPORT", "3000"},
      {"REMOTEPORT", "3003"}, {"REMOTEIP", "16777343"}};
  for (const auto& [name, text] : values) {
    EXPECT_EQ(registry::SetText(*registry, "Software\\Tessaron\\VSP\\COM5", name, text),
              registry::kErrorSuccess);
  }
  return registry;
}

// What the client did to the driver, a line a call: "open PATH", "control CODE RECORD", "close".
std::string Trace(const std::vector<device::DeviceCall>& calls) {
  std::string trace;
  for (const device::DeviceCall& call : calls) {
    char code[16];
    switch (call.kind) {
      case device::DeviceCall::Kind::kOpen:
        // The panel's way to open: no access asked, shared both ways, the device must exist.
        trace += "open " + call.path + (call.ok ? "" : " failed") +
                 (call.access == 0 && call.share == 3 && call.disposition == 3 ? "" : " oddly");
        break;
      case device::DeviceCall::Kind::kControl:
        std::snprintf(code, sizeof code, "%08X ", call.code);
        trace += std::string("control ") + code + runtime::HexUpper(call.in);
        break;
      case device::DeviceCall::Kind::kClose:
        trace += "close";
        break;
    }
    trace += "\n";
  }
  return trace;
}

// Each status's words are the panel's (the driver commands session); the everyday successes are
// the daemon's end-to-end run's. Here statuses that succeed one way and fail the other.
TEST(ClientTest, SendsThePanelsRecordAndSaysThePanelsWords) {
  // COM5's settings in the panel's record: address, remote and local port low byte first, flow,
  // XOFF, XON.
  const std::string connect =
      "open \\\\.\\COM5\ncontrol 80202000 7F000001BB0BB80B01131100\nclose\n";
  const std::string disconnect =
      "open \\\\.\\COM5\\p\ncontrol 80202004 7F000001BB0BB80B01131100\nclose\n";
  constexpr int kOpenFails = -1;
  struct Case {
    const char* port;
    bool connect;
    int status;
    const std::string& trace;
    const char* words;  // on standard output, or on standard error when opening fails
    int exit_code;
  };
  const std::string nothing;
  const std::string failed_open = "open \\\\.\\COM5 failed\n";
  const std::vector<Case> cases = {
      {"COM5", true, 113, connect,
       "COM5: Unable to Connect, Please check the configuration parameters (Status", 1},
      {"COM5", false, 113, disconnect, "COM5: Disconnect Successful (Status", 0},
      {"COM5", false, 15, disconnect,
       "COM5: Unable to Disconnect, Please check the configuration parameters (Status", 1},
      {"COM6", true, 112, nothing, "COM6: no usable stored settings", 2},
      {"COM5", true, kOpenFails, failed_open, "Unable to open handle for the port", 1},
  };
  auto registry = HiveWithCom5();
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.port) + " " + std::to_string(c.status));
    device::ScriptedDevice driver;
    if (c.status == kOpenFails) {
      driver.SetOpenFails();
    } else {
      driver.SetStatus(static_cast<std::uint8_t>(c.status));
    }
    std::vector<device::DeviceCall> calls;
    device::TracingDevice device(driver,
                                 [&](const device::DeviceCall& call) { calls.push_back(call); });
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunPortCommand(*registry, device, c.connect, c.port, out, err), c.exit_code);
    EXPECT_EQ(Trace(calls), c.trace);
    EXPECT_NE((out.str() + err.str()).find(c.words), std::string::npos) << out.str() << err.str();
  }
}

}  // namespace
}  // namespace ketra::vspd
