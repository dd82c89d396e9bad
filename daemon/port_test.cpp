#include "daemon/port.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace ketra::vspd {
namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::uint8_t kXon = 0x11;
constexpr std::uint8_t kXoff = 0x13;

std::uint16_t FreeLoopbackPort() {
  net::UdpSocket probe;
  EXPECT_EQ(probe.Open({net::kLoopbackAddress, 0}), 0);
  return probe.LocalEndpoint().port;
}

// One port on loopback with a peer standing in for the terminal and a program on the pty.
class PortTest : public ::testing::Test {
 protected:
  void SetUp() override {
    directory_ = ::testing::TempDir() + "port-test-" + std::to_string(::getpid());
    EnsureDirectory(directory_);
    PortOptions options;
    options.link_directory = directory_;
    options.group = "";
    options.bind_address = net::kLoopbackAddress;
    port_ = std::make_unique<VirtualPort>(loop_, "COM7", options);
    ASSERT_EQ(peer_.Open({net::kLoopbackAddress, 0}), 0);
    program_ = net::Fd(::open(port_->link_path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK));
    ASSERT_TRUE(program_.valid());
  }

  PortSettings Settings(bool software = false) {
    return PortSettings{peer_.LocalEndpoint(), FreeLoopbackPort(), software, kXon, kXoff};
  }

  // Runs the loop until `done` holds; false when it did not within a generous bound.
  bool PumpUntil(const std::function<bool()>& done) {
    for (int i = 0; i < 400; ++i) {
      if (done()) return true;
      loop_.RunOnce(5);
    }
    return done();
  }
  void Pump(int rounds) {
    for (int i = 0; i < rounds; ++i) loop_.RunOnce(2);
  }

  void WriteProgram(const Bytes& bytes) {
    ASSERT_EQ(::write(program_.get(), bytes.data(), bytes.size()),
              static_cast<ssize_t>(bytes.size()));
  }
  Bytes ReadProgram() {
    Bytes buffer(4096);
    const ssize_t got = ::read(program_.get(), buffer.data(), buffer.size());
    buffer.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return buffer;
  }
  // Reads the program's side until `size` bytes came or the loop gave up.
  Bytes ReadProgramUntil(std::size_t size) {
    Bytes all;
    PumpUntil([&] {
      const Bytes more = ReadProgram();
      all.insert(all.end(), more.begin(), more.end());
      return all.size() >= size;
    });
    return all;
  }
  Bytes ReceivePeer() {
    Bytes buffer(65536);
    const long got = peer_.ReceiveFrom(buffer, nullptr);
    buffer.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return buffer;
  }
  Bytes ReceivePeerUntilSome() {
    Bytes got;
    PumpUntil([&] {
      got = ReceivePeer();
      return !got.empty();
    });
    return got;
  }
  void SendFrom(net::UdpSocket& socket, const Bytes& bytes) {
    ASSERT_EQ(socket.SendTo(bytes, {net::kLoopbackAddress, port_->local_endpoint().port}),
              static_cast<long>(bytes.size()));
  }

  EventLoop loop_;
  std::string directory_;
  std::unique_ptr<VirtualPort> port_;
  net::UdpSocket peer_;
  net::Fd program_;
};

TEST_F(PortTest, RelaysBothWaysOnLoopback) {
  ASSERT_EQ(port_->Connect(Settings()), kStatusConnected);
  WriteProgram({'h', 'e', 'l', 'l', 'o', 0, 0xFF});
  EXPECT_EQ(ReceivePeerUntilSome(), (Bytes{'h', 'e', 'l', 'l', 'o', 0, 0xFF}));

  SendFrom(peer_, {'w', 'o', 'r', 'l', 'd'});
  EXPECT_EQ(ReadProgramUntil(5), (Bytes{'w', 'o', 'r', 'l', 'd'}));

  const PortCounters& counters = port_->counters();
  EXPECT_EQ(counters.bytes_to_udp, 7u);
  EXPECT_EQ(counters.datagrams_to_udp, 1u);
  EXPECT_EQ(counters.bytes_to_pty, 5u);
  EXPECT_EQ(counters.datagrams_from_udp, 1u);
  EXPECT_EQ(counters.stranger_datagrams, 0u);
}

TEST_F(PortTest, StrangersCannotInjectBytes) {
  ASSERT_EQ(port_->Connect(Settings()), kStatusConnected);
  net::UdpSocket stranger;
  ASSERT_EQ(stranger.Open({net::kLoopbackAddress, 0}), 0);
  SendFrom(stranger, {'e', 'v', 'i', 'l'});
  SendFrom(stranger, {kXoff});
  ASSERT_TRUE(PumpUntil([&] { return port_->counters().stranger_datagrams == 2; }));
  EXPECT_EQ(port_->counters().stranger_bytes, 5u);
  EXPECT_TRUE(ReadProgram().empty());

  SendFrom(peer_, {'o', 'k'});
  EXPECT_EQ(ReadProgramUntil(2), (Bytes{'o', 'k'}));
  EXPECT_EQ(port_->counters().stranger_datagrams, 2u);
}

TEST_F(PortTest, SoftwareFlowXoffHoldsThePtyUntilXon) {
  ASSERT_EQ(port_->Connect(Settings(true)), kStatusConnected);
  SendFrom(peer_, {'a', kXoff, 'b'});
  EXPECT_EQ(ReadProgramUntil(2), (Bytes{'a', 'b'}));  // the flow character is consumed
  EXPECT_TRUE(port_->paused());

  WriteProgram({'1', '2', '3'});
  Pump(30);
  EXPECT_TRUE(ReceivePeer().empty()) << "bytes went out while paused";

  SendFrom(peer_, {kXon});
  EXPECT_EQ(ReceivePeerUntilSome(), (Bytes{'1', '2', '3'}));
  EXPECT_FALSE(port_->paused());
  EXPECT_TRUE(ReadProgram().empty());
}

TEST_F(PortTest, HardwareFlowPassesFlowCharactersAsData) {
  ASSERT_EQ(port_->Connect(Settings(false)), kStatusConnected);
  SendFrom(peer_, {kXoff, 'x', kXon});
  EXPECT_EQ(ReadProgramUntil(3), (Bytes{kXoff, 'x', kXon}));
  EXPECT_FALSE(port_->paused());
  WriteProgram({'y'});
  EXPECT_EQ(ReceivePeerUntilSome(), (Bytes{'y'}));
}

TEST_F(PortTest, ConnectAndDisconnectAnswers) {
  const PortSettings settings = Settings();
  struct Step {
    bool connect;
    std::uint8_t status;
    bool connected_after;
  };
  const std::vector<Step> steps = {
      {false, kStatusAlreadyInState, false}, {true, kStatusConnected, true},
      {true, kStatusAlreadyConnected, true}, {false, kStatusDisconnected, false},
      {false, kStatusAlreadyInState, false}, {true, kStatusConnected, true},
  };
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const std::uint8_t status = steps[i].connect ? port_->Connect(settings) : port_->Disconnect();
    EXPECT_EQ(status, steps[i].status) << "step " << i;
    EXPECT_EQ(port_->connected(), steps[i].connected_after) << "step " << i;
  }
  // After the round trip the relay works as before.
  WriteProgram({'z'});
  EXPECT_EQ(ReceivePeerUntilSome(), (Bytes{'z'}));
}

TEST_F(PortTest, DisconnectResumesAPausedPortAndKeepsItPresent) {
  ASSERT_EQ(port_->Connect(Settings(true)), kStatusConnected);
  SendFrom(peer_, {kXoff});
  ASSERT_TRUE(PumpUntil([&] { return port_->paused(); }));
  EXPECT_EQ(port_->Disconnect(), kStatusDisconnected);
  EXPECT_FALSE(port_->paused());
  struct stat info {};
  EXPECT_EQ(::lstat(port_->link_path().c_str(), &info), 0);
}

TEST_F(PortTest, ALocalPortHeldElsewhereFailsWith21) {
  net::UdpSocket holder;
  ASSERT_EQ(holder.Open({net::kLoopbackAddress, 0}), 0);
  PortSettings settings = Settings();
  settings.local_port = holder.LocalEndpoint().port;
  EXPECT_EQ(port_->Connect(settings), kStatusConnectionFailed);
  EXPECT_FALSE(port_->connected());
  EXPECT_NE(port_->last_problem().find("bind"), std::string::npos);
  holder.Close();
  EXPECT_EQ(port_->Connect(settings), kStatusConnected);
}

TEST_F(PortTest, BytesWrittenWhileDisconnectedAreDiscardedAndCounted) {
  WriteProgram({1, 2, 3, 4});
  ASSERT_TRUE(PumpUntil([&] { return port_->counters().discarded_bytes == 4; }));
  ASSERT_EQ(port_->Connect(Settings()), kStatusConnected);
  WriteProgram({5});
  EXPECT_EQ(ReceivePeerUntilSome(), (Bytes{5}));  // the old bytes do not come late
}

TEST_F(PortTest, ALargeTransferLosesNothingEitherWay) {
  ASSERT_EQ(port_->Connect(Settings()), kStatusConnected);
  // Toward the pty: many datagrams while the program reads as the loop runs.
  Bytes expected;
  for (int i = 0; i < 200; ++i) {
    Bytes datagram(1000, static_cast<std::uint8_t>(i));
    expected.insert(expected.end(), datagram.begin(), datagram.end());
    SendFrom(peer_, datagram);
    if (i % 20 == 19) Pump(1);
  }
  EXPECT_EQ(ReadProgramUntil(expected.size()), expected);
  EXPECT_EQ(port_->counters().datagrams_from_udp, 200u);
}

TEST(PortLinkTest, TheLinkFollowsThePortAndNeverClobbers) {
  EventLoop loop;
  const std::string directory = ::testing::TempDir() + "link-test-" + std::to_string(::getpid());
  EnsureDirectory(directory + "/deeper");
  PortOptions options;
  options.link_directory = directory + "/deeper";
  options.group = "";
  std::string link;
  {
    VirtualPort port(loop, "COM9", options);
    link = port.link_path();
    char target[256] = {};
    ASSERT_GT(::readlink(link.c_str(), target, sizeof target - 1), 0);
    EXPECT_EQ(std::string(target), port.pty_path());
    struct stat info {};
    ASSERT_EQ(::stat(port.pty_path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0660u);
    // A second port of the same name replaces the link (it takes the name over).
    VirtualPort again(loop, "COM9", options);
    ASSERT_GT(::readlink(link.c_str(), target, sizeof target - 1), 0);
  }
  struct stat info {};
  EXPECT_NE(::lstat(link.c_str(), &info), 0) << "link left behind";

  const std::string file = directory + "/deeper/COM8";
  net::Fd(::open(file.c_str(), O_CREAT | O_WRONLY, 0600));
  EXPECT_THROW(VirtualPort(loop, "COM8", options), std::runtime_error);
  EXPECT_EQ(::lstat(file.c_str(), &info), 0) << "a file not ours was removed";
  ::unlink(file.c_str());
}

}  // namespace
}  // namespace ketra::vspd
