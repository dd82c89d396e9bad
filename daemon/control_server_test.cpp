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

#include "daemon/status_report.h"
#include "platform/device/vspd_device.h"
#include "platform/device/vspd_protocol.h"
#include "platform/runtime/test_temp_dir.h"

namespace ketra::vspd {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

std::uint16_t FreeLoopbackPort() {
  net::UdpSocket probe;
  EXPECT_EQ(probe.Open({net::kLoopbackAddress, 0}), 0);
  return probe.LocalEndpoint().port;
}

sockaddr_un Address(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

// A fresh SEQPACKET connection to `path` in *fd; false when the connect fails.
bool ConnectTo(const std::string& path, runtime::Fd* fd) {
  *fd = runtime::Fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  const sockaddr_un address = Address(path);
  return ::connect(fd->get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

// One port COM7 behind a control server whose loop runs on its own thread; the test speaks to it
// through the machine's device layer as the panel would.
class ControlServerTest : public ::testing::Test, public PortDirectory {
 protected:
  void SetUp() override {
    socket_path_ = directory_.File("vspd.sock");
    PortOptions options;
    options.link_directory = directory_.path();
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
    return BuildStatusJson({1, socket_path_, "h"}, {port_.get()});
  }

  // The panel's record: 127.0.0.1, the peer's port and `local_port` low byte first, XOFF, XON.
  device::wire::Record Record(std::uint16_t local_port, std::uint8_t flow = 1) {
    device::wire::Record record{127, 0, 0, 1, 0, 0, 0, 0, flow, 0x13, 0x11, 0};
    for (const auto& [at, port] : {std::pair{4, peer_.LocalEndpoint().port}, {6, local_port}}) {
      record[at] = static_cast<std::uint8_t>(port);
      record[at + 1] = static_cast<std::uint8_t>(port >> 8);
    }
    return record;
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
    runtime::Fd fd;
    EXPECT_TRUE(ConnectTo(socket_path_, &fd));
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
  runtime::TestTempDir directory_;
  std::string socket_path_;
  std::unique_ptr<VirtualPort> port_;
  std::unique_ptr<ControlServer> server_;
  std::thread thread_;
  std::atomic<bool> stop_{false};
  net::UdpSocket peer_;
  std::unique_ptr<device::DeviceIo> device_;
};

// The answers a panel meets every day (112, 15, 113, 0, and 21 for a local port in use) are
// checked end to end through ketra-session; here the ones it cannot easily provoke.
TEST_F(ControlServerTest, ThePanelsCommandsGetTheirAnswers) {
  const std::uint16_t local = FreeLoopbackPort();
  const std::uint32_t connect = device::kIoctlVspConnect;
  struct Step {
    std::string path;
    std::uint32_t code;
    device::wire::Record record;
    int status;
  };
  const std::vector<Step> steps = {
      {"\\\\.\\COM7", connect, {}, 87},  // twelve zero bytes: nothing to connect to
      {"\\\\.\\COM7", connect, Record(local, 2), 87},
      {"\\\\.\\COM7", connect, Record(local), 112},
      {"\\\\.\\com7", connect, {}, 15},                 // connected says so whatever the record
      {"\\\\.\\COM8", connect, Record(local), -1},      // no such port
      {"\\\\.\\COM7\\x", connect, Record(local), -1},   // no such path
      {"\\\\.\\COM7", 0x80202008u, Record(local), -2},  // unknown control code
  };
  for (std::size_t i = 0; i < steps.size(); ++i) {
    EXPECT_EQ(Command(steps[i].path, steps[i].code, steps[i].record), steps[i].status)
        << "step " << i << " " << steps[i].path;
  }
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

TEST_F(ControlServerTest, ASecondServerOnALiveSocketIsRefused) {
  EventLoop other;
  EXPECT_THROW(ControlServer(other, socket_path_, "", *this), std::runtime_error);
}

TEST(ControlServerStaleTest, AStaleSocketFileIsReplaced) {
  const std::string path = ::testing::TempDir() + "stale-" + std::to_string(::getpid()) + ".sock";
  {
    runtime::Fd fd(::socket(AF_UNIX, SOCK_SEQPACKET, 0));
    const sockaddr_un address = Address(path);
    ::unlink(path.c_str());
    ASSERT_EQ(::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
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
    runtime::Fd early, client;
    EXPECT_FALSE(ConnectTo(path, &early));
    server.Publish();
    EXPECT_TRUE(ConnectTo(path, &client));
    struct stat info {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0660u);
  }
  EXPECT_NE(::access(path.c_str(), F_OK), 0) << "socket file left behind";
}

}  // namespace
}  // namespace ketra::vspd
