#include "daemon/client.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/registry/memory_registry.h"
#include "platform/registry/test_registry.h"

namespace ketra::vspd {
namespace {

// Records what the client sends and answers a fixed Status.
class RecordingDevice : public device::DeviceIo {
 public:
  explicit RecordingDevice(std::uint8_t status, bool open_ok = true)
      : status_(status), open_ok_(open_ok) {}
  device::Handle CreateFile(std::string_view path, std::uint32_t access, std::uint32_t share,
                            const device::SecurityAttributes*, std::uint32_t disposition,
                            std::uint32_t, device::Handle) override {
    paths.emplace_back(path);
    EXPECT_EQ(access, 0u);
    EXPECT_EQ(share, 3u);
    EXPECT_EQ(disposition, 3u);
    return open_ok_ ? 5 : device::kInvalidHandleValue;
  }
  bool DeviceIoControl(device::Handle, std::uint32_t code, const std::uint8_t* in,
                       std::uint32_t in_size, std::uint8_t* out, std::uint32_t out_size,
                       std::uint32_t*) override {
    codes.push_back(code);
    sent.assign(in, in + in_size);
    EXPECT_EQ(out_size, 12u);
    out[11] = status_;
    return true;
  }
  bool CloseHandle(device::Handle) override {
    ++closes;
    return true;
  }
  std::vector<std::string> paths;
  std::vector<std::uint32_t> codes;
  std::vector<std::uint8_t> sent;
  int closes = 0;

 private:
  std::uint8_t status_;
  bool open_ok_;
};

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

TEST(ClientTest, SendsThePanelsRecordAndSaysThePanelsWords) {
  const std::vector<std::uint8_t> expected{0x7F, 0, 0, 1, 0xBB, 0x0B, 0xB8, 0x0B, 1, 0x13, 0x11, 0};
  struct Case {
    bool connect;
    std::uint8_t status;
    const char* path;
    std::uint32_t code;
    const char* words;
    int exit_code;
  };
  const std::vector<Case> cases = {
      {true, 112, "\\\\.\\COM5", 0x80202000u, "Connect Successful", 0},
      {true, 15, "\\\\.\\COM5", 0x80202000u, "Already Connected", 0},
      {true, 21, "\\\\.\\COM5", 0x80202000u, "Connection Failed", 1},
      {true, 19, "\\\\.\\COM5", 0x80202000u, "Connection Timed Out", 1},
      {true, 113, "\\\\.\\COM5", 0x80202000u,
       "Unable to Connect, Please check the configuration parameters", 1},
      {false, 113, "\\\\.\\COM5\\p", 0x80202004u, "Disconnect Successful", 0},
      {false, 0, "\\\\.\\COM5\\p", 0x80202004u, "Already in the Disconnected state", 0},
      {false, 21, "\\\\.\\COM5\\p", 0x80202004u, "Connectio Failed", 1},
      {false, 15, "\\\\.\\COM5\\p", 0x80202004u,
       "Unable to Disconnect, Please check the configuration parameters", 1},
  };
  auto registry = HiveWithCom5();
  for (const auto& c : cases) {
    RecordingDevice device(c.status);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunPortCommand(*registry, device, c.connect, "COM5", out, err), c.exit_code)
        << c.words;
    EXPECT_EQ(device.paths, std::vector<std::string>{c.path});
    EXPECT_EQ(device.codes, std::vector<std::uint32_t>{c.code});
    EXPECT_EQ(device.sent, expected);
    EXPECT_EQ(device.closes, 1);
    EXPECT_NE(out.str().find(std::string("COM5: ") + c.words + " (Status"), std::string::npos)
        << out.str();
  }
}

// No settings stored: the device is never opened. No handle: nothing is sent, and the user is told.
TEST(ClientTest, NoSettingsOrNoHandleSendsNothing) {
  auto registry = HiveWithCom5();
  const struct {
    const char* port;
    bool open_ok;
    int exit_code;
    std::size_t opens;
    const char* error;
  } cases[] = {{"COM6", true, 2, 0, ""},
               {"COM5", false, 1, 1, "Unable to open handle for the port"}};
  for (const auto& c : cases) {
    RecordingDevice device(112, c.open_ok);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(RunPortCommand(*registry, device, true, c.port, out, err), c.exit_code) << c.port;
    EXPECT_EQ(device.paths.size(), c.opens);
    EXPECT_TRUE(device.codes.empty());
    EXPECT_NE(err.str().find(c.error), std::string::npos) << err.str();
  }
}

}  // namespace
}  // namespace ketra::vspd
