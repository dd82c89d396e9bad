// The contract of PortIo, run against the real pty and socket and against the fake the relay's
// tests use, so that the fake cannot drift from what the kernel does; then what only the real
// one can show: what the program does, told through packet mode. The kernel's count of dropped
// datagrams, the descriptors handed over across a restart and the fresh device the next program
// finds, reset or replaced, are checked end to end, through the daemon.
#include "daemon/port_io.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "daemon/port_io_fake.h"

namespace ketra::vspd {
namespace {

using Bytes = std::vector<std::uint8_t>;

// A program on the pty, for each implementation.
struct PosixHarness {
  std::unique_ptr<PortIo> Make() {
    std::string warning;
    return OpenPosixPortIo("", &warning);
  }
  void Open(PortIo& io) {
    program = runtime::Fd(::open(io.pty_path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK));
    ASSERT_TRUE(program.valid());
  }
  void Write(PortIo&, const Bytes& bytes) {
    ASSERT_EQ(::write(program.get(), bytes.data(), bytes.size()),
              static_cast<ssize_t>(bytes.size()));
  }
  Bytes Read(PortIo&) {
    Bytes buffer(4096);
    const ssize_t got = ::read(program.get(), buffer.data(), buffer.size());
    buffer.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return buffer;
  }
  void Close(PortIo&) { program.Reset(); }
  void FromTerminal(PortIo& io, const Bytes& bytes) {
    if (!terminal.is_open()) {
      ASSERT_EQ(terminal.Open({net::kLoopbackAddress, 0}), 0);
    }
    ASSERT_EQ(terminal.SendTo(bytes, io.LocalEndpoint()), static_cast<long>(bytes.size()));
  }
  runtime::Fd program;
  net::UdpSocket terminal;
};

struct FakeHarness {
  std::unique_ptr<PortIo> Make() { return std::make_unique<FakePortIo>(); }
  static FakePortIo& Fake(PortIo& io) { return static_cast<FakePortIo&>(io); }
  void Open(PortIo& io) { Fake(io).held = true; }
  void Write(PortIo& io, const Bytes& bytes) { Fake(io).from_program.push_back(bytes); }
  Bytes Read(PortIo& io) { return std::exchange(Fake(io).to_program, Bytes()); }
  void Close(PortIo& io) { Fake(io).held = false; }
  void FromTerminal(PortIo& io, const Bytes& bytes) {
    Fake(io).from_terminal.push_back({bytes, {net::kLoopbackAddress, 4000}});
  }
};

template <typename Harness>
class PortIoContract : public ::testing::Test {
 protected:
  Bytes ReadAll(std::size_t size) {
    Bytes all(size + 1);
    std::uint8_t events = 0;
    const long got = io_->ReadPty(all, &events);
    all.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return all;
  }
  Harness harness;
  std::unique_ptr<PortIo> io_ = harness.Make();
};

using Implementations = ::testing::Types<PosixHarness, FakeHarness>;
TYPED_TEST_SUITE(PortIoContract, Implementations);

TYPED_TEST(PortIoContract, ThePtyFollowsWhetherAProgramHoldsIt) {
  PortIo& io = *this->io_;
  std::uint8_t byte[1];
  std::uint8_t events = 0;
  EXPECT_FALSE(io.Held());
  EXPECT_EQ(io.ReadPty(byte, &events), -EIO);

  this->harness.Open(io);
  EXPECT_TRUE(io.Held());
  EXPECT_EQ(io.ReadPty(byte, &events), -EAGAIN);
  this->harness.Write(io, {'a', 0, 0xFF});
  EXPECT_EQ(this->ReadAll(3), (Bytes{'a', 0, 0xFF}));
  const Bytes toward{'z', 0x11, 0x13};
  EXPECT_EQ(io.WritePty(toward), 3);
  EXPECT_EQ(this->harness.Read(io), toward);

  // What the program wrote before it left still comes, then the hang-up.
  this->harness.Write(io, {'b', 'y', 'e'});
  this->harness.Close(io);
  EXPECT_FALSE(io.Held());
  EXPECT_EQ(this->ReadAll(3), (Bytes{'b', 'y', 'e'}));
  EXPECT_EQ(io.ReadPty(byte, &events), -EIO);
  EXPECT_EQ(events, 0);
}

TYPED_TEST(PortIoContract, TheSocketSaysWhatWaitsWithoutTakingIt) {
  PortIo& io = *this->io_;
  EXPECT_FALSE(io.socket_open());
  ASSERT_EQ(io.OpenSocket({net::kLoopbackAddress, 0}, 1 << 16), 0);
  EXPECT_TRUE(io.socket_open());
  EXPECT_EQ(io.LocalEndpoint().address, net::kLoopbackAddress);
  std::uint8_t buffer[16];
  net::Endpoint from;
  std::uint32_t dropped = 0;
  EXPECT_FALSE(io.DatagramWaiting());
  EXPECT_EQ(io.ReceiveFrom(buffer, &from, &dropped), -EAGAIN);
  this->harness.FromTerminal(io, {'o', 'n', 'e'});
  EXPECT_TRUE(io.DatagramWaiting());
  EXPECT_TRUE(io.DatagramWaiting()) << "asking took the datagram";
  EXPECT_EQ(io.ReceiveFrom(buffer, &from, &dropped), 3);
  EXPECT_EQ(from.address, net::kLoopbackAddress);
  EXPECT_FALSE(io.DatagramWaiting());
  EXPECT_EQ(io.ReceiveFrom(buffer, &from, &dropped), -EAGAIN);
  EXPECT_EQ(io.CloseSocket(), 0);
  EXPECT_FALSE(io.socket_open());
}

// What the program does reaches the master through packet mode, ahead of its data, and a
// read of the events alone takes no data; the program's line is read through the master (the
// pty driver keeps 8 bits and no parity, but the speed, stop bits, flow and PARODD as set).
TEST(PosixPortIoTest, ThePtyTellsTheProgramsFlushesStopsAndLine) {
  std::string warning;
  const auto io = OpenPosixPortIo("", &warning);
  const runtime::Fd program(::open(io->pty_path().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK));
  ASSERT_TRUE(program.valid());
  termios settings{};
  ASSERT_EQ(::tcgetattr(program.get(), &settings), 0);
  ::cfsetspeed(&settings, B9600);
  settings.c_cflag =
      (settings.c_cflag & ~static_cast<tcflag_t>(CSIZE)) | CS7 | PARENB | PARODD | CSTOPB | CRTSCTS;
  settings.c_iflag |= IXOFF;
  ASSERT_EQ(::tcsetattr(program.get(), TCSANOW, &settings), 0);
  const auto line = io->ReadProgramLine();
  ASSERT_TRUE(line);
  EXPECT_EQ(line->speed, 9600u);
  EXPECT_EQ(line->stop_bits, 2);
  EXPECT_TRUE(line->parity_odd && line->rts_cts && line->xon_xoff_input);
  EXPECT_FALSE(line->xon_xoff_output);

  std::uint8_t buffer[16];
  std::uint8_t events = 0;
  ASSERT_EQ(::write(program.get(), "ab", 2), 2);
  EXPECT_EQ(io->TakePtyEvents(), 0);
  ASSERT_EQ(::tcflush(program.get(), TCIFLUSH), 0);
  EXPECT_EQ(io->ReadPty(buffer, &events), 0);
  EXPECT_EQ(events, kInputFlushed);
  EXPECT_EQ(io->ReadPty(buffer, &events), 2) << "the data stays behind the events";
  ASSERT_EQ(::tcflow(program.get(), TCOOFF), 0);
  EXPECT_EQ(io->TakePtyEvents(), kOutputStopped);
  ASSERT_EQ(::tcflow(program.get(), TCOON), 0);
  EXPECT_EQ(io->TakePtyEvents(), kOutputStarted);
  ASSERT_EQ(::write(program.get(), "cd", 2), 2);
  // Once readable, the bytes have passed the kernel's flip buffer into what the master holds.
  pollfd master{io->pty_fd(), POLLIN, 0};
  ASSERT_EQ(::poll(&master, 1, 5000), 1);
  ASSERT_EQ(::tcflush(program.get(), TCOFLUSH), 0);
  EXPECT_EQ(io->TakePtyEvents(), kOutputFlushed);
  EXPECT_EQ(io->DiscardProgramOutput(), 2u) << "what the master had taken in already";
  EXPECT_EQ(io->ReadPty(buffer, &events), -EAGAIN);
}

}  // namespace
}  // namespace ketra::vspd
