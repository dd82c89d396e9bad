#include "daemon/port.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "daemon/port_io_fake.h"
#include "platform/runtime/test_temp_dir.h"

namespace ketra::vspd {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Call = FakePortIo::Call;
constexpr std::uint8_t kXon = 0x11;
constexpr std::uint8_t kXoff = 0x13;
constexpr net::Endpoint kTerminal{0x7F000001u, 4000};
constexpr net::Endpoint kStranger{0x7F000001u, 4001};
constexpr int kPty = FakePortIo::kPtyFd, kSocket = FakePortIo::kSocketFd;

Bytes Text(const std::string& text) { return Bytes(text.begin(), text.end()); }

// One port over the fake: each test sets what the program, the terminal and the kernel do and
// fires the events epoll would report.
class RelayTest : public ::testing::Test {
 protected:
  void Make(bool held, std::optional<PortSettings> resumed = std::nullopt) {
    auto io = std::make_unique<FakePortIo>();
    io_ = io.get();
    io_->held = held;
    port_ = std::make_unique<VirtualPort>(poller_, "COM7", std::move(io), PortOptions{}, resumed);
  }
  void Connect(bool software = false) {
    ASSERT_EQ(port_->Connect(PortSettings{kTerminal, 3000, software, kXon, kXoff}).status,
              device::kStatusConnected);
  }
  void FromTerminal(const Bytes& bytes, net::Endpoint from = kTerminal) {
    io_->from_terminal.push_back({bytes, from});
  }
  std::vector<Bytes> Sent() const {
    std::vector<Bytes> sent;
    for (const auto& datagram : io_->sent) {
      EXPECT_EQ(datagram.peer, kTerminal);
      sent.push_back(datagram.bytes);
    }
    return sent;
  }
  // Runs the port as the loop would until nothing is ready: the pty is writable while it has
  // room and readable while the program wrote something; the socket is readable while a datagram
  // waits and writable always (a full send side is a failure the test sets).
  void Settle() {
    for (int batch = 0; batch < 10000; ++batch) {
      bool ran = false;
      if (io_->pty_room > 0) ran |= poller_.Fire(kPty, kWritable);
      if (!io_->from_program.empty()) ran |= poller_.Fire(kPty, kReadable);
      if (!io_->from_terminal.empty()) ran |= poller_.Fire(kSocket, kReadable);
      ran |= poller_.Fire(kSocket, kWritable);
      if (!ran) return;
    }
    FAIL() << "the port never settles";
  }
  bool Waits(int fd, std::uint32_t event) const {
    const auto interest = poller_.Interest(fd);
    return interest && (*interest & event) != 0;
  }

  FakePoller poller_;
  FakePortIo* io_ = nullptr;
  std::unique_ptr<VirtualPort> port_;
};

// Every byte goes its way or is counted where it was lost: from a stranger, refused by the
// kernel's send, refused by the pty for good, dropped by the kernel (counted on across sockets),
// written by the program while not connected or still waiting when the connection went.
TEST_F(RelayTest, RelaysBothWaysAndCountsEveryLossWhereItHappens) {
  Make(true);
  io_->from_program = {Text("1234")};
  poller_.Fire(kPty, kReadable);
  Connect();
  io_->FailNext(Call::kSendTo, EPERM);
  io_->from_program = {Text("abc"), Text("hello"), {0, 0xFF}};
  poller_.Fire(kPty, kReadable);
  EXPECT_EQ(Sent(), (std::vector<Bytes>{Text("hello"), {0, 0xFF}}));

  FromTerminal(Text("evil"), kStranger);
  FromTerminal(Text("world"));
  poller_.Fire(kSocket, kReadable);
  EXPECT_EQ(io_->to_program, Text("world"));
  io_->FailNext(Call::kWritePty, EIO);
  io_->kernel_dropped = 5;
  FromTerminal(Text("xyz"));
  poller_.Fire(kSocket, kReadable);

  io_->FailNext(Call::kSendTo, EAGAIN);
  io_->from_program = {Text("ab")};
  poller_.Fire(kPty, kReadable);
  EXPECT_EQ(port_->Disconnect().status, device::kStatusDisconnected);
  Connect();
  io_->kernel_dropped = 2;
  FromTerminal(Text("q"));
  poller_.Fire(kSocket, kReadable);
  EXPECT_EQ(io_->to_program, Text("worldq"));

  const PortCounters& c = port_->counters();
  EXPECT_EQ(c.bytes_to_udp, 7u);
  EXPECT_EQ(c.datagrams_to_udp, 2u);
  EXPECT_EQ(c.bytes_to_pty, 6u);
  EXPECT_EQ(c.datagrams_from_udp, 3u);
  EXPECT_EQ(c.stranger_datagrams, 1u);
  EXPECT_EQ(c.stranger_bytes, 4u);
  EXPECT_EQ(c.send_errors, 1u);
  EXPECT_EQ(c.send_error_bytes, 3u);
  EXPECT_EQ(c.pty_error_bytes, 3u);
  EXPECT_EQ(c.discarded_bytes, 4u + 2u);
  EXPECT_EQ(c.dropped_datagrams, 5u + 2u);
  EXPECT_EQ(c.lost_events(), 7u + 6u + 1u + 3u);
}

TEST_F(RelayTest, AFullSendSideHoldsTheDatagramAndStopsReadingThePty) {
  for (const int error : {EAGAIN, ENOBUFS}) {
    SCOPED_TRACE(error);
    Make(true);
    Connect();
    io_->FailNext(Call::kSendTo, error);
    io_->from_program = {Text("abc"), Text("def")};
    poller_.Fire(kPty, kReadable);
    EXPECT_TRUE(io_->sent.empty());
    EXPECT_FALSE(Waits(kPty, kReadable));
    EXPECT_TRUE(Waits(kSocket, kWritable));
    poller_.Fire(kSocket, kWritable);
    EXPECT_EQ(Sent(), (std::vector<Bytes>{Text("abc"), Text("def")}));
    EXPECT_TRUE(Waits(kPty, kReadable));
    EXPECT_FALSE(Waits(kSocket, kWritable));
    EXPECT_EQ(port_->counters().lost_events(), 0u);
  }
}

TEST_F(RelayTest, AShortWriteKeepsTheRestAndHoldsTheSocket) {
  Make(true);
  Connect();
  io_->pty_room = 3;
  FromTerminal(Text("abcdef"));
  FromTerminal(Text("gh"));
  poller_.Fire(kSocket, kReadable);
  EXPECT_EQ(io_->to_program, Text("abc"));
  EXPECT_TRUE(Waits(kPty, kWritable));
  EXPECT_FALSE(Waits(kSocket, kReadable)) << "the socket must wait for the pty";
  EXPECT_TRUE(io_->sent.empty()) << "no XOFF with hardware flow";

  io_->pty_room = FakePortIo::kUnlimited;
  poller_.Fire(kPty, kWritable);
  EXPECT_EQ(io_->to_program, Text("abcdefgh"));
  EXPECT_TRUE(Waits(kSocket, kReadable));
  EXPECT_FALSE(Waits(kPty, kWritable));
}

// With software flow the terminal is stopped while the pty is full, and started once everything
// it sent has gone into the pty, however many datagrams it sent before it saw the XOFF: a port
// that waited for a datagram a stopped terminal will never send would leave the line stopped.
// A read that fails for another reason than EAGAIN (an error the socket reports once) must not
// keep the XON back either.
TEST_F(RelayTest, TheTerminalIsStoppedWhileThePtyIsFullAndStartedWhenAllWent) {
  for (const int read_error : {0, ECONNREFUSED})
    for (int behind = 0; behind <= 100; ++behind) {
      SCOPED_TRACE(testing::Message() << "behind " << behind << ", read error " << read_error);
      Make(true);
      Connect(true);
      io_->pty_room = 2;
      FromTerminal(Text("first"));
      Settle();
      EXPECT_EQ(Sent(), (std::vector<Bytes>{{kXoff}}));
      for (int i = 0; i < behind; ++i) FromTerminal({static_cast<std::uint8_t>('a' + i % 26)});
      // Room for the rest of the first datagram only: no XON while more waits, no second XOFF.
      io_->pty_room = 3;
      Settle();
      EXPECT_EQ(port_->stopped_terminal(), behind > 0);
      EXPECT_EQ(Sent().size(), behind > 0 ? 1u : 2u);
      io_->pty_room = FakePortIo::kUnlimited;
      if (read_error != 0) io_->FailNext(Call::kReceiveFrom, read_error);
      Settle();
      EXPECT_EQ(io_->to_program.size(), 5u + static_cast<std::size_t>(behind));
      EXPECT_EQ(Sent(), (std::vector<Bytes>{{kXoff}, {kXon}}));
      EXPECT_FALSE(port_->stopped_terminal());
    }
}

TEST_F(RelayTest, AnXoffThatFindsTheSendSideFullGoesWhenItEmpties) {
  Make(true);
  Connect(true);
  io_->pty_room = 0;
  io_->FailNext(Call::kSendTo, ENOBUFS);
  FromTerminal(Text("ab"));
  poller_.Fire(kSocket, kReadable);
  EXPECT_TRUE(io_->sent.empty());
  EXPECT_TRUE(Waits(kSocket, kWritable));
  poller_.Fire(kSocket, kWritable);
  EXPECT_EQ(Sent(), (std::vector<Bytes>{{kXoff}}));
  EXPECT_FALSE(Waits(kSocket, kWritable));
}

// That the bytes of a port nobody holds are counted and that a program opening it is seen are
// checked end to end; here the way back to unheld, with a stopped terminal, and which device
// events lead to a reset: a program that came and went unseen does; the daemon's own read-only
// open of its reset does not (it would wake the port for ever), nor does the late close of the
// program seen to leave.
TEST_F(RelayTest, NobodyHoldsThePortThenAProgramOpensItThenLeaves) {
  Make(false);
  Connect(true);
  EXPECT_FALSE(poller_.Interest(kPty)) << "an unheld master hangs up for ever";
  port_->DeviceTouched(false);
  EXPECT_EQ(io_->freshened, 0) << "an open nobody holds any more may be the daemon's own";
  port_->DeviceTouched(true);
  EXPECT_FALSE(port_->held());
  EXPECT_EQ(io_->freshened, 1) << "a close after writing, of a program gone unseen";
  io_->held = true;
  port_->DeviceTouched(false);
  EXPECT_TRUE(port_->held());

  // The program stops reading, the terminal is stopped, the program writes and leaves.
  io_->pty_room = 1;
  FromTerminal(Text("never"));
  poller_.Fire(kSocket, kReadable);
  EXPECT_TRUE(port_->stopped_terminal());
  io_->from_program = {Text("bye")};
  io_->held = false;
  poller_.Fire(kPty, kReadable | kHangUp);
  EXPECT_FALSE(port_->held());
  EXPECT_EQ(io_->freshened, 2);
  EXPECT_FALSE(poller_.Interest(kPty));
  EXPECT_EQ(Sent(), (std::vector<Bytes>{{kXoff}, Text("bye"), {kXon}}));
  EXPECT_EQ(port_->counters().unheld_bytes, 4u) << "what waited for the program";
  port_->DeviceTouched(true);
  EXPECT_EQ(io_->freshened, 2) << "the close of the program seen to leave";
  port_->DeviceTouched(true);
  EXPECT_EQ(io_->freshened, 3) << "the close of the next one, gone unseen";
}

// The program's flushes, told by the pty before its data: of its input, what the port holds
// for it and what waits in the socket (a stopped terminal may then send again); of its output,
// what the port read and could not send yet, and, while held back, what waits in the master.
// Both are counted as discarded. A flush comes before the backlog goes into the pty.
TEST_F(RelayTest, TheProgramsFlushesDiscardWhatWaitsAndCountIt) {
  Make(true);
  Connect(true);
  io_->pty_room = 2;
  FromTerminal(Text("old1"));
  FromTerminal(Text("old2"));
  poller_.Fire(kSocket, kReadable);
  EXPECT_TRUE(port_->stopped_terminal());
  FromTerminal(Text("queued"));
  io_->pty_room = FakePortIo::kUnlimited;
  io_->pty_events = kInputFlushed;
  poller_.Fire(kPty, kPriority | kWritable);
  EXPECT_EQ(io_->to_program, Text("ol")) << "the backlog went in after the flush";
  EXPECT_EQ(port_->counters().discarded_bytes, 6u + 6u);
  EXPECT_FALSE(port_->stopped_terminal());
  FromTerminal(Text("new"));
  poller_.Fire(kSocket, kReadable);
  EXPECT_EQ(io_->to_program, Text("olnew"));

  FromTerminal({kXoff});
  poller_.Fire(kSocket, kReadable);
  io_->from_program = {Text("held"), Text("back")};
  io_->pty_events = kOutputStopped;
  poller_.Fire(kPty, kPriority);
  EXPECT_TRUE(port_->program_stopped());
  io_->pty_events = kOutputFlushed | kOutputStarted;
  poller_.Fire(kPty, kPriority);
  EXPECT_FALSE(port_->program_stopped());
  EXPECT_EQ(port_->counters().discarded_bytes, 12u + 8u);
  FromTerminal({kXon});
  poller_.Fire(kSocket, kReadable);
  io_->from_program = {Text("after")};
  io_->pty_events = kOutputFlushed;  // not held back: what waits came after the flush
  poller_.Fire(kPty, kReadable);
  EXPECT_EQ(Sent().back(), Text("after"));
  EXPECT_EQ(port_->counters().discarded_bytes, 20u);
}

// A device left exclusive cannot be reopened by an unprivileged daemon (EBUSY): the port takes
// a new pty and points its link there; any other failure, or a replacement that fails, leaves
// the pty and the link alone. The connection stays either way.
TEST(PtyReplacementTest, OnlyAnExclusiveDeviceGetsANewPtyAndLink) {
  struct Case {
    int reopen_error;
    std::string replace_problem;
    std::string target;  // where the link points afterwards
  };
  const Case cases[] = {
      {EBUSY, "", "/dev/pts/fake1"},
      {EBUSY, "no pty left", "/dev/pts/fake"},
      {EACCES, "", "/dev/pts/fake"},
      {0, "", "/dev/pts/fake"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reopen_error);
    const runtime::TestTempDir dir;
    const std::string& directory = dir.path();
    FakePoller poller;
    auto owned = std::make_unique<FakePortIo>();
    FakePortIo* io = owned.get();
    io->held = true;
    io->freshen_result = {
        c.reopen_error ? runtime::Status::IoError("cannot reopen") : runtime::Status(),
        c.reopen_error};
    io->replace_problem = c.replace_problem;
    PortOptions options;
    options.link_directory = directory;
    VirtualPort port(poller, "COM7", std::move(owned), options);
    int replaced_seen = 0;
    port.OnPtyReplaced([&](VirtualPort&) { ++replaced_seen; });
    runtime::Status failed;
    port.OnFreshenFailed([&](VirtualPort&, const runtime::Status& why) { failed = why; });
    ASSERT_EQ(port.Connect(PortSettings{kTerminal, 3000, false, kXon, kXoff}).status,
              device::kStatusConnected);

    io->from_program = {Text("tail")};
    io->held = false;
    poller.Fire(kPty, kHangUp);

    const bool replaced = c.target != "/dev/pts/fake";
    EXPECT_EQ(io->replaced, replaced ? 1 : 0);
    EXPECT_EQ(replaced_seen, replaced ? 1 : 0);
    EXPECT_EQ(port.pty_path(), c.target);
    char target[256] = {};
    ASSERT_GT(::readlink((directory + "/COM7").c_str(), target, sizeof target - 1), 0);
    EXPECT_EQ(std::string(target), c.target);
    EXPECT_EQ(::access((directory + "/COM7.new").c_str(), F_OK), -1) << "no temporary left";
    EXPECT_EQ(failed.ok(), c.reopen_error == 0 || replaced) << "for the log";
    // What the last program wrote went out before the old pty went; the connection stays.
    ASSERT_EQ(io->sent.size(), 1u);
    EXPECT_EQ(io->sent[0].bytes, Text("tail"));
    EXPECT_TRUE(port.connected());
    EXPECT_TRUE(io->socket_open());
  }
}

TEST_F(RelayTest, WhatTheLastProgramWroteWaitsForTheTerminalsXon) {
  Make(true);
  Connect(true);
  FromTerminal({kXoff});
  poller_.Fire(kSocket, kReadable);
  io_->from_program = {Text("tail")};
  io_->held = false;
  poller_.Fire(kPty, kHangUp);
  EXPECT_FALSE(port_->held());
  EXPECT_TRUE(io_->sent.empty());
  FromTerminal({kXon});
  poller_.Fire(kSocket, kReadable);
  EXPECT_EQ(Sent(), (std::vector<Bytes>{Text("tail")}));
}

// What only a failing kernel shows (the answers themselves go through the control server's
// tests): a bind that fails leaves the port unconnected and unwatched, with the reason for the
// log; a close that reports an error disconnects all the same.
TEST_F(RelayTest, AFailedBindOrCloseLeavesThePortDisconnected) {
  Make(true);
  io_->FailNext(Call::kOpenSocket, EADDRINUSE);
  const ControlOutcome refused = port_->Connect(PortSettings{kTerminal, 3000, false, kXon, kXoff});
  EXPECT_EQ(refused.status, device::kStatusConnectionFailed);
  EXPECT_NE(refused.why.message().find(std::strerror(EADDRINUSE)), std::string::npos);
  EXPECT_FALSE(port_->connected() || poller_.Interest(kSocket));
  Connect();
  io_->FailNext(Call::kCloseSocket, EIO);
  const ControlOutcome released = port_->Disconnect();
  EXPECT_EQ(released.status, device::kStatusReleaseFailed);
  EXPECT_NE(released.why.message().find(std::strerror(EIO)), std::string::npos);
  EXPECT_FALSE(port_->connected() || poller_.Interest(kSocket) || io_->socket_open());
}

TEST_F(RelayTest, AResumedPortRelaysWithItsSettings) {
  auto io = std::make_unique<FakePortIo>();
  io_ = io.get();
  io_->held = true;
  ASSERT_EQ(io_->OpenSocket({0x7F000001u, 3000}, 0), 0);
  port_ = std::make_unique<VirtualPort>(poller_, "COM7", std::move(io), PortOptions{},
                                        PortSettings{kTerminal, 3000, true, kXon, kXoff});
  EXPECT_TRUE(port_->connected());
  EXPECT_EQ(Sent(), (std::vector<Bytes>{{kXon}})) << "a terminal stopped before the restart";
  FromTerminal({'a', kXoff});
  poller_.Fire(kSocket, kReadable);
  EXPECT_EQ(io_->to_program, Text("a"));
  EXPECT_TRUE(port_->paused());
}

TEST(PortLinkTest, TheLinkFollowsThePortAndNeverClobbers) {
  FakePoller poller;
  const runtime::TestTempDir dir;
  const std::string& directory = dir.path();
  EnsureDirectory(directory + "/deeper");
  PortOptions options;
  options.link_directory = directory + "/deeper";
  std::string link;
  {
    VirtualPort port(poller, "COM9", std::make_unique<FakePortIo>(), options);
    link = port.link_path();
    char target[256] = {};
    ASSERT_GT(::readlink(link.c_str(), target, sizeof target - 1), 0);
    EXPECT_EQ(std::string(target), port.pty_path());
    // A second port of the same name replaces the link (it takes the name over).
    VirtualPort again(poller, "COM9", std::make_unique<FakePortIo>(), options);
  }
  struct stat info {};
  EXPECT_NE(::lstat(link.c_str(), &info), 0) << "link left behind";

  const std::string file = directory + "/deeper/COM8";
  runtime::Fd(::open(file.c_str(), O_CREAT | O_WRONLY, 0600));
  EXPECT_THROW(VirtualPort(poller, "COM8", std::make_unique<FakePortIo>(), options),
               std::runtime_error);
  EXPECT_EQ(::lstat(file.c_str(), &info), 0) << "a file not ours was removed";
}

}  // namespace
}  // namespace ketra::vspd
