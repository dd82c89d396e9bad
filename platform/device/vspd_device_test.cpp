#include "platform/device/vspd_device.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/device/vspd_protocol.h"
#include "platform/runtime/fd.h"

namespace ketra::device {
namespace {

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

// A stand-in daemon on a real socket: serves one connection, answering each request with what
// `answer` returns; an empty answer means silence.
class FakeDaemon {
 public:
  using Answer = std::function<Bytes(const std::optional<wire::Request>&)>;

  explicit FakeDaemon(Answer answer) : answer_(std::move(answer)) {
    path_ = ::testing::TempDir() + "vspd-fake-" + std::to_string(::getpid()) + ".sock";
    ::unlink(path_.c_str());
    listener_ = runtime::Fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path_.c_str(), sizeof address.sun_path - 1);
    EXPECT_EQ(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(listener_.get(), 4), 0);
    thread_ = std::thread([this] { Serve(); });
  }
  ~FakeDaemon() {
    ::shutdown(listener_.get(), SHUT_RDWR);
    thread_.join();
    ::unlink(path_.c_str());
  }
  const std::string& path() const { return path_; }
  std::vector<wire::Request> seen;

 private:
  void Serve() {
    runtime::Fd connection(::accept(listener_.get(), nullptr, nullptr));
    if (!connection) return;
    std::vector<std::uint8_t> buffer(wire::kMaxMessageSize);
    for (;;) {
      const ssize_t size = ::recv(connection.get(), buffer.data(), buffer.size(), 0);
      if (size <= 0) return;
      wire::ParseError error = wire::ParseError::kNone;
      auto request = wire::ParseRequest(std::span(buffer.data(), size), &error);
      if (request) seen.push_back(*request);
      const Bytes reply = answer_(request);
      if (!reply.empty()) ::send(connection.get(), reply.data(), reply.size(), MSG_NOSIGNAL);
    }
  }

  Answer answer_;
  std::string path_;
  runtime::Fd listener_;
  std::thread thread_;
};

Bytes Healthy(const std::optional<wire::Request>& request) {
  if (!request) return wire::EncodeReply(wire::ErrorReply{wire::kErrorInvalidParameter, "bad"});
  if (std::holds_alternative<wire::OpenRequest>(*request)) {
    return wire::EncodeReply(wire::OpenReply{0});
  }
  if (const auto* ioctl = std::get_if<wire::IoctlRequest>(&*request)) {
    wire::Record out = ioctl->input;
    out[11] = 112;
    return wire::EncodeReply(wire::IoctlReply{0, out});
  }
  return wire::EncodeReply(wire::CloseReply{0});
}

const std::uint8_t kInput[12] = {0x7F, 0, 0, 1, 0xBB, 0x0B, 0xB8, 0x0B, 1, 0x13, 0x11, 0};

// An open, a call and a close travel as one connection; what each failure of the daemon gives.
TEST(VspdDeviceTest, CallsAndFailuresByWayOfTheDaemon) {
  struct Case {
    const char* what;
    FakeDaemon::Answer answer;
    bool open_ok;
    bool call_ok;
    std::uint8_t status;  // when the call succeeds
  };
  const auto refuse_open = [](const std::optional<wire::Request>& r) {
    return std::holds_alternative<wire::OpenRequest>(*r)
               ? wire::EncodeReply(wire::OpenReply{wire::kErrorFileNotFound})
               : Healthy(r);
  };
  const auto silent_call = [](const std::optional<wire::Request>& r) {
    return std::holds_alternative<wire::IoctlRequest>(*r) ? Bytes{} : Healthy(r);
  };
  const auto garbage_call = [](const std::optional<wire::Request>& r) {
    return std::holds_alternative<wire::IoctlRequest>(*r) ? Bytes{1, 2, 3} : Healthy(r);
  };
  const auto error_call = [](const std::optional<wire::Request>& r) {
    return std::holds_alternative<wire::IoctlRequest>(*r)
               ? wire::EncodeReply(wire::IoctlReply{wire::kErrorInvalidFunction, {}})
               : Healthy(r);
  };
  const std::vector<Case> cases = {
      {"healthy", Healthy, true, true, 112},
      {"open refused", refuse_open, false, false, 0},
      {"silent daemon times out as Status 19", silent_call, true, true, kStatusTimedOut},
      {"garbage answer", garbage_call, true, false, 0},
      {"call refused", error_call, true, false, 0},
  };
  for (const auto& c : cases) {
    FakeDaemon daemon(c.answer);
    auto device = MakeVspdDevice(daemon.path(), c.status == kStatusTimedOut ? 200ms : 2000ms);
    const Handle handle = device->CreateFile("\\\\.\\COM5", 0, 3, nullptr, 3, 0, 0);
    EXPECT_EQ(handle != kInvalidHandleValue, c.open_ok) << c.what;
    if (handle == kInvalidHandleValue) continue;
    std::uint8_t out[12] = {0xEE};
    std::uint32_t returned = 0;
    EXPECT_EQ(device->DeviceIoControl(handle, kIoctlVspConnect, kInput, 12, out, 12, &returned),
              c.call_ok)
        << c.what;
    if (c.call_ok) {
      EXPECT_EQ(returned, 12u) << c.what;
      EXPECT_EQ(out[11], c.status) << c.what;
    } else {
      EXPECT_EQ(out[0], 0xEE) << c.what << ": output written on failure";
    }
    device->CloseHandle(handle);
    EXPECT_FALSE(device->CloseHandle(handle)) << c.what << ": closed twice";
  }
}

TEST(VspdDeviceTest, NoDaemonNoHandle) {
  auto device = MakeVspdDevice(::testing::TempDir() + "no-such-daemon.sock", 200ms);
  EXPECT_EQ(device->CreateFile("\\\\.\\COM5", 0, 3, nullptr, 3, 0, 0), kInvalidHandleValue);
  std::uint8_t out[12] = {};
  EXPECT_FALSE(device->DeviceIoControl(7, kIoctlVspConnect, kInput, 12, out, 12, nullptr));
  EXPECT_FALSE(QueryVspdStatus(::testing::TempDir() + "no-such-daemon.sock", 200ms).has_value());
}

}  // namespace
}  // namespace ketra::device
