#include "daemon/control_server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "daemon/status_report.h"
#include "platform/device/vspd_device.h"
#include "platform/device/vspd_protocol.h"

namespace ketra::vspd {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

std::uint16_t FreeLoopbackPort() {
  net::UdpSocket probe;
  EXPECT_EQ(probe.Open({net::kLoopbackAddress, 0}), 0);
  return probe.LocalEndpoint().port;
}

// One port COM7 behind a control server whose loop runs on its own thread; the test speaks to it
// through the machine's device layer as the panel would.
class ControlServerTest : public ::testing::Test, public PortDirectory {
 protected:
  void SetUp() override {
    directory_ = ::testing::TempDir() + "control-test-" + std::to_string(::getpid());
    EnsureDirectory(directory_);
    socket_path_ = directory_ + "/vspd.sock";
    PortOptions options;
    options.link_directory = directory_;
    options.bind_address = net::kLoopbackAddress;
    std::string warning;
    port_ = std::make_unique<VirtualPort>(loop_, "COM7", OpenPosixPortIo("", &warning), options);
    server_ = std::make_unique<ControlServer>(loop_, socket_path_, "", *this);
    server_->Publish();
    thread_ = std::thread([this] {
      while (!stop_) loop_.RunOnce(5);
    });
    ASSERT_EQ(peer_.Open({net::kLoopbackAddress, 0}), 0);
    device_ = device::MakeVspdDevice(socket_path_, 2000ms);
  }
  void TearDown() override {
    stop_ = true;
    thread_.join();
    server_.reset();
    port_.reset();
  }

  VirtualPort* FindPort(std::string_view name) override {
    return name == "COM7" || name == "com7" ? port_.get() : nullptr;
  }
  std::string StatusJson() override {
    if (large_status_) return LargeStatus();
    return BuildStatusJson({1, socket_path_, "h"}, {port_.get()});
  }
  // Larger than any socket buffer, as the document of a thousand ports is.
  static std::string LargeStatus() {
    std::string document = "{\"ports\":[";
    for (int i = 0; i < 20000; ++i) document += (i ? ",\"" : "\"") + std::to_string(i) + "\"";
    return document + "]}";
  }

  device::wire::Record Record(std::uint16_t local_port, std::uint8_t flow = 1) {
    const net::Endpoint remote = peer_.LocalEndpoint();
    return {127,
            0,
            0,
            1,
            static_cast<std::uint8_t>(remote.port),
            static_cast<std::uint8_t>(remote.port >> 8),
            static_cast<std::uint8_t>(local_port),
            static_cast<std::uint8_t>(local_port >> 8),
            flow,
            0x13,
            0x11,
            0};
  }

  // One command as the panel makes it; the Status byte that came back, or -1 for no handle,
  // -2 for a failed call.
  int Command(const std::string& path, std::uint32_t code, const device::wire::Record& input) {
    const device::Handle handle = device_->CreateFile(path, 0, 3, nullptr, 3, 0, 0);
    if (handle == device::kInvalidHandleValue) return -1;
    std::uint8_t out[12] = {};
    std::uint32_t returned = 0;
    const bool ok = device_->DeviceIoControl(handle, code, input.data(), 12, out, 12, &returned);
    device_->CloseHandle(handle);
    return ok ? out[11] : -2;
  }

  // Sends raw bytes on a fresh connection; the reply, or nullopt when none came.
  std::optional<device::wire::Reply> Raw(const std::vector<Bytes>& messages) {
    runtime::Fd fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socket_path_.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    std::optional<device::wire::Reply> last;
    for (const Bytes& message : messages) {
      ::send(fd.get(), message.data(), message.size(), MSG_NOSIGNAL);
      Bytes buffer(device::wire::kMaxMessageSize);
      const ssize_t size = ::recv(fd.get(), buffer.data(), buffer.size(), 0);
      if (size <= 0) return std::nullopt;
      device::wire::ParseError error;
      last = device::wire::ParseReply(std::span(buffer.data(), size), &error);
    }
    // The server closes after a refusal: the next read sees the end.
    return last;
  }

  EventLoop loop_;
  std::string directory_;
  std::string socket_path_;
  std::unique_ptr<VirtualPort> port_;
  std::unique_ptr<ControlServer> server_;
  std::thread thread_;
  std::atomic<bool> stop_{false};
  std::atomic<bool> large_status_{false};
  net::UdpSocket peer_;
  std::unique_ptr<device::DeviceIo> device_;
};

TEST_F(ControlServerTest, ThePanelsCommandsGetTheirAnswers) {
  const std::uint16_t local = FreeLoopbackPort();
  const std::uint32_t connect = device::kIoctlVspConnect;
  const std::uint32_t disconnect = device::kIoctlVspDisconnect;
  struct Step {
    std::string path;
    std::uint32_t code;
    device::wire::Record record;
    int status;
  };
  const std::vector<Step> steps = {
      {"\\\\.\\COM7\\p", disconnect, Record(local), 0},
      {"\\\\.\\COM7", connect, Record(local), 112},
      {"\\\\.\\COM7", connect, Record(local), 15},
      {"\\\\.\\com7", connect, {}, 15},  // connected says so whatever the record
      {"\\\\.\\COM7\\p", disconnect, {}, 113},
      {"\\\\.\\COM7", connect, {}, 87},  // twelve zero bytes: nothing to connect to
      {"\\\\.\\COM7", connect, Record(local, 2), 87},
      {"\\\\.\\COM7", connect, Record(local), 112},
      {"\\\\.\\COM7\\p", disconnect, Record(local), 113},
      {"\\\\.\\COM8", connect, Record(local), -1},      // no such port
      {"\\\\.\\COM7\\x", connect, Record(local), -1},   // no such path
      {"\\\\.\\COM7", 0x80202008u, Record(local), -2},  // unknown control code
  };
  for (std::size_t i = 0; i < steps.size(); ++i) {
    EXPECT_EQ(Command(steps[i].path, steps[i].code, steps[i].record), steps[i].status)
        << "step " << i << " " << steps[i].path;
  }
}

TEST_F(ControlServerTest, ABindConflictAnswers21) {
  net::UdpSocket holder;
  ASSERT_EQ(holder.Open({net::kLoopbackAddress, 0}), 0);
  EXPECT_EQ(Command("\\\\.\\COM7", device::kIoctlVspConnect, Record(holder.LocalEndpoint().port)),
            21);
}

TEST_F(ControlServerTest, MalformedAndOutOfOrderMessagesAreRefusedAndEndTheConnection) {
  namespace v = device::wire;
  const Bytes open = v::EncodeRequest(v::OpenRequest{"\\\\.\\COM7"});
  const Bytes ioctl =
      v::EncodeRequest(v::IoctlRequest{device::kIoctlVspConnect, Record(FreeLoopbackPort())});
  struct Case {
    const char* what;
    std::vector<Bytes> messages;
  };
  const std::vector<Case> cases = {
      {"garbage", {{1, 2, 3, 4, 5}}},
      {"empty", {{}}},
      {"short ioctl", {open, {v::kMagic, v::kVersion, 2, 0, 1, 2}}},
      {"ioctl before open", {ioctl}},
      {"two opens", {open, open}},
      {"oversized", {Bytes(5000, 'K')}},
  };
  for (const auto& c : cases) {
    const auto reply = Raw(c.messages);
    ASSERT_TRUE(reply.has_value()) << c.what;
    EXPECT_TRUE(std::holds_alternative<v::ErrorReply>(*reply)) << c.what;
  }
  EXPECT_FALSE(port_->connected());
  // The server is still there for well-formed clients.
  EXPECT_EQ(Command("\\\\.\\COM7\\p", device::kIoctlVspDisconnect, {}), 0);
}

TEST_F(ControlServerTest, StatusListsThePort) {
  ASSERT_EQ(Command("\\\\.\\COM7", device::kIoctlVspConnect, Record(FreeLoopbackPort(), 0)), 112);
  const auto document = device::QueryVspdStatus(socket_path_, 2000ms);
  ASSERT_TRUE(document.has_value());
  const auto status = nlohmann::json::parse(*document);
  ASSERT_EQ(status.at("ports").size(), 1u);
  const auto& port = status.at("ports")[0];
  EXPECT_EQ(port.at("name"), "COM7");
  EXPECT_EQ(port.at("connected"), true);
  EXPECT_EQ(port.at("flow"), "hardware");
  EXPECT_EQ(port.at("remote"), peer_.LocalEndpoint().ToString());
  const std::string table = FormatStatusTable(status);
  EXPECT_NE(table.find("COM7"), std::string::npos);
  EXPECT_NE(table.find("connected"), std::string::npos);
}

TEST_F(ControlServerTest, AStatusOfAnySizeArrivesWhole) {
  large_status_ = true;
  const auto document = device::QueryVspdStatus(socket_path_, 2000ms);
  ASSERT_TRUE(document.has_value());
  EXPECT_GT(document->size(), 4 * device::wire::kStatusPieceSize);
  EXPECT_EQ(*document, LargeStatus());
}

TEST_F(ControlServerTest, HeldConnectionsCannotBlindStatus) {
  std::vector<std::unique_ptr<device::DeviceIo>> holders;
  for (std::size_t i = 0; i < ControlServer::kMaxConnections; ++i) {
    holders.push_back(device::MakeVspdDevice(socket_path_, 2000ms));
    ASSERT_NE(holders.back()->CreateFile("\\\\.\\COM7", 0, 3, nullptr, 3, 0, 0),
              device::kInvalidHandleValue)
        << "connection " << i;
  }
  // Every ordinary slot is taken: another open is refused, status is still answered.
  EXPECT_EQ(Command("\\\\.\\COM7", device::kIoctlVspConnect, Record(FreeLoopbackPort())), -1);
  for (int i = 0; i < 3; ++i) {
    const auto document = device::QueryVspdStatus(socket_path_, 2000ms);
    ASSERT_TRUE(document.has_value()) << "status " << i;
    EXPECT_EQ(nlohmann::json::parse(*document).at("ports").size(), 1u);
  }
}

TEST_F(ControlServerTest, ASecondServerOnALiveSocketIsRefused) {
  EventLoop other;
  EXPECT_THROW(ControlServer(other, socket_path_, "", *this), std::runtime_error);
}

TEST(ControlServerStaleTest, AStaleSocketFileIsReplaced) {
  const std::string path = ::testing::TempDir() + "stale-" + std::to_string(::getpid()) + ".sock";
  {
    runtime::Fd fd(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    ::unlink(path.c_str());
    ASSERT_EQ(::bind(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }  // closed without unlink: a dead daemon's socket
  struct NoPorts : PortDirectory {
    VirtualPort* FindPort(std::string_view) override { return nullptr; }
    std::string StatusJson() override { return "{}"; }
  } ports;
  EventLoop loop;
  {
    ControlServer server(loop, path, "", ports);
    // Until it is published the stale file stays, and then the path answers at once: the
    // socket listened before its path appeared.
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    runtime::Fd early(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    EXPECT_NE(::connect(early.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    server.Publish();
    runtime::Fd client(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    EXPECT_EQ(::connect(client.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0660u);
  }
  EXPECT_NE(::access(path.c_str(), F_OK), 0) << "socket file left behind";
}

}  // namespace
}  // namespace ketra::vspd
