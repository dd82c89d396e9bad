#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "daemon/group.h"
#include "daemon/port_io.h"

namespace ketra::vspd {
namespace {

[[noreturn]] void Throw(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::string SlavePath(int master) {
  char name[128];
  if (::ptsname_r(master, name, sizeof name) != 0) Throw("ptsname_r");
  return name;
}

// Read-only: the daemon's own opens then end in a close that OpenWatch does not watch (a
// program's ends in one after writing), and every call it makes works on such a descriptor.
runtime::Fd OpenSlave(const std::string& path) {
  return runtime::Fd(::open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
}

constexpr cc_t kDefaultStart = 0x11;  // ^Q
constexpr cc_t kDefaultStop = 0x13;   // ^S

// The port's own line, which every program finds: raw, 115200 bits/s, 8N1, no flow, no modem
// hang-up, start/stop characters at their defaults.
void FreshSettings(termios* settings) {
  ::cfmakeraw(settings);
  settings->c_cflag &= ~static_cast<tcflag_t>(HUPCL | CRTSCTS | CSTOPB | PARODD | CMSPAR);
  settings->c_cflag |= CLOCAL | CREAD;
  settings->c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
  settings->c_cc[VMIN] = 1;
  settings->c_cc[VTIME] = 0;
  settings->c_cc[VSTART] = kDefaultStart;
  settings->c_cc[VSTOP] = kDefaultStop;
  ::cfsetispeed(settings, B115200);
  ::cfsetospeed(settings, B115200);
}

// A new pty's master, in packet mode. The slave is opened once for `setup(slave, path)` and
// closed again: from then on the master's hang-up says that no program holds it.
// Throws std::system_error.
template <typename Setup>
runtime::Fd NewPty(Setup setup) {
  runtime::Fd master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (!master) Throw("posix_openpt");
  if (::grantpt(master.get()) != 0) Throw("grantpt");
  if (::unlockpt(master.get()) != 0) Throw("unlockpt");
  const std::string path = SlavePath(master.get());
  const runtime::Fd slave = OpenSlave(path);
  if (!slave) Throw("open pty slave");
  termios settings{};
  if (::tcgetattr(slave.get(), &settings) != 0) Throw("tcgetattr");
  FreshSettings(&settings);
  if (::tcsetattr(slave.get(), TCSANOW, &settings) != 0) Throw("tcsetattr");
  setup(slave.get(), path);
  // After the set-up, whose own changes would otherwise wait as events.
  const int on = 1;
  if (::ioctl(master.get(), TIOCPKT, &on) != 0) Throw("TIOCPKT");
  return master;
}

std::uint8_t EventsOf(std::uint8_t packet_status) {
  std::uint8_t events = 0;
  if ((packet_status & TIOCPKT_FLUSHREAD) != 0) events |= kInputFlushed;
  if ((packet_status & TIOCPKT_FLUSHWRITE) != 0) events |= kOutputFlushed;
  if ((packet_status & TIOCPKT_STOP) != 0) events |= kOutputStopped;
  if ((packet_status & TIOCPKT_START) != 0) events |= kOutputStarted;
  return events;
}

std::uint32_t BitsPerSecond(speed_t speed) {
  static constexpr std::pair<speed_t, std::uint32_t> kSpeeds[] = {{B0, 0},
                                                                  {B50, 50},
                                                                  {B75, 75},
                                                                  {B110, 110},
                                                                  {B134, 134},
                                                                  {B150, 150},
                                                                  {B200, 200},
                                                                  {B300, 300},
                                                                  {B600, 600},
                                                                  {B1200, 1200},
                                                                  {B1800, 1800},
                                                                  {B2400, 2400},
                                                                  {B4800, 4800},
                                                                  {B9600, 9600},
                                                                  {B19200, 19200},
                                                                  {B38400, 38400},
                                                                  {B57600, 57600},
                                                                  {B115200, 115200},
                                                                  {B230400, 230400},
                                                                  {B460800, 460800},
                                                                  {B500000, 500000},
                                                                  {B576000, 576000},
                                                                  {B921600, 921600},
                                                                  {B1000000, 1000000},
                                                                  {B1152000, 1152000},
                                                                  {B1500000, 1500000},
                                                                  {B2000000, 2000000},
                                                                  {B2500000, 2500000},
                                                                  {B3000000, 3000000},
                                                                  {B3500000, 3500000},
                                                                  {B4000000, 4000000}};
  for (const auto& [constant, bits] : kSpeeds) {
    if (constant == speed) return bits;
  }
  return 0;
}

// The daemon holds no descriptor of the slave: the master then reports a hang-up (EPOLLHUP, and
// EIO once read empty) exactly while no program holds the device, which is the kernel's own
// count of openers, never a guess. Opens and closes are seen through OpenWatch, which only wakes
// the port; whether the device is held is then asked of the master again. (The service manager
// must therefore never watch the master itself: see fd_stash.h.)
class PosixPortIo final : public PortIo {
 public:
  PosixPortIo(runtime::Fd master, net::UdpSocket socket)
      : master_(std::move(master)),
        slave_path_(SlavePath(master_.get())),
        socket_(std::move(socket)) {
    if (socket_.is_open()) socket_.CountDrops();
  }

  int pty_fd() const override { return master_.get(); }
  const std::string& pty_path() const override { return slave_path_; }

  long ReadPty(std::span<std::uint8_t> buffer, std::uint8_t* events) override {
    // Packet mode: each read starts with one byte, TIOCPKT_DATA before data or the status alone.
    // A status that tells nothing the relay follows (IXON's changes) is read past.
    for (;;) {
      std::uint8_t status = 0;
      iovec parts[2] = {{&status, 1}, {buffer.data(), buffer.size()}};
      const ssize_t got = ::readv(master_.get(), parts, 2);
      *events = 0;
      if (got < 0) return -errno;
      if (got == 0) return 0;
      if (status == TIOCPKT_DATA) return static_cast<long>(got - 1);
      *events = EventsOf(status);
      if (*events != 0) return 0;
    }
  }
  std::uint8_t TakePtyEvents() override {
    // One byte: a status alone, or TIOCPKT_DATA with no data taken.
    std::uint8_t status = 0;
    const ssize_t got = ::read(master_.get(), &status, 1);
    return got == 1 && status != TIOCPKT_DATA ? EventsOf(status) : 0;
  }
  std::size_t DiscardProgramOutput() override {
    int waiting = 0;
    if (::ioctl(master_.get(), FIONREAD, &waiting) != 0) waiting = 0;
    // On the master, TCIFLUSH empties what it would read: the program's output.
    ::tcflush(master_.get(), TCIFLUSH);
    return static_cast<std::size_t>(waiting);
  }
  std::optional<ProgramLine> ReadProgramLine() override {
    termios settings{};
    // A master's terminal calls reach its slave's termios.
    if (::tcgetattr(master_.get(), &settings) != 0) return std::nullopt;
    ProgramLine line;
    line.speed = BitsPerSecond(::cfgetospeed(&settings));
    switch (settings.c_cflag & CSIZE) {
      case CS5:
        line.data_bits = 5;
        break;
      case CS6:
        line.data_bits = 6;
        break;
      case CS7:
        line.data_bits = 7;
        break;
      default:
        line.data_bits = 8;
        break;
    }
    line.parity_enabled = (settings.c_cflag & PARENB) != 0;
    line.parity_odd = (settings.c_cflag & PARODD) != 0;
    line.parity_stick = (settings.c_cflag & CMSPAR) != 0;
    line.stop_bits = (settings.c_cflag & CSTOPB) != 0 ? 2 : 1;
    line.xon_xoff_output = (settings.c_iflag & IXON) != 0;
    line.xon_xoff_input = (settings.c_iflag & IXOFF) != 0;
    line.rts_cts = (settings.c_cflag & CRTSCTS) != 0;
    return line;
  }
  long WritePty(std::span<const std::uint8_t> data) override {
    const ssize_t wrote = ::write(master_.get(), data.data(), data.size());
    return wrote < 0 ? -errno : static_cast<long>(wrote);
  }
  bool Held() override {
    pollfd probe{master_.get(), POLLIN, 0};
    return ::poll(&probe, 1, 0) >= 0 && (probe.revents & POLLHUP) == 0;
  }
  Freshened Freshen() override {
    // Opening the slave for a moment is the only way to reach its state; the program that
    // opens next cannot be refused for it, as the kernel counts openers, not this descriptor.
    const runtime::Fd slave = OpenSlave(slave_path_);
    if (!slave) {
      const int error = errno;
      return {runtime::Status::FromErrno("cannot reopen " + slave_path_ + " to reset it", error),
              error};
    }
    std::string problems;
    const auto note = [&](bool ok, const char* what) {
      if (!ok)
        problems += std::string(problems.empty() ? "" : "; ") + what + ": " + std::strerror(errno);
    };
    note(::ioctl(slave.get(), TIOCNXCL) == 0, "TIOCNXCL");
    // TCOON restarts output stopped by tcflow; output stopped by a STOP character restarts
    // when the new termios turns IXON off.
    note(::tcflow(slave.get(), TCOON) == 0, "TCOON");
    // Only the input: what the last program wrote and the relay has not yet sent still goes
    // out, as a UART's transmitter empties after the close.
    note(::tcflush(slave.get(), TCIFLUSH) == 0, "TCIFLUSH");
    int discipline = 0;
    if (::ioctl(slave.get(), TIOCGETD, &discipline) == 0 && discipline != N_TTY) {
      const int tty = N_TTY;
      note(::ioctl(slave.get(), TIOCSETD, &tty) == 0, "TIOCSETD");
    }
    const winsize none{};
    note(::ioctl(slave.get(), TIOCSWINSZ, &none) == 0, "TIOCSWINSZ");
    termios settings{};
    if (::tcgetattr(slave.get(), &settings) == 0) {
      FreshSettings(&settings);
      note(::tcsetattr(slave.get(), TCSANOW, &settings) == 0, "tcsetattr");
    }
    return {problems.empty() ? runtime::Status::Ok() : runtime::Status::IoError(problems), 0};
  }

  runtime::Status ReplacePty() override {
    struct stat old {};
    if (::stat(slave_path_.c_str(), &old) != 0) {
      const int error = errno;
      return runtime::Status::FromErrno("cannot read the owner of " + slave_path_, error);
    }
    try {
      runtime::Fd master = NewPty([&](int slave, const std::string&) {
        // The group the daemon gave the old slave, which it may give again; an unchanged group
        // needs no change (and no membership).
        struct stat fresh {};
        if (::fstat(slave, &fresh) != 0) Throw("fstat pty slave");
        if (fresh.st_gid != old.st_gid && ::fchown(slave, static_cast<uid_t>(-1), old.st_gid) != 0)
          Throw("fchown pty slave");
        if (::fchmod(slave, old.st_mode & 07777) != 0) Throw("fchmod pty slave");
      });
      slave_path_ = SlavePath(master.get());
      master_ = std::move(master);
    } catch (const std::system_error& error) {
      return runtime::Status::IoError("cannot replace " + slave_path_ + ": " + error.what());
    }
    return runtime::Status::Ok();
  }

  int OpenSocket(const net::Endpoint& local, int buffer_bytes) override {
    net::UdpSocket socket;
    if (const int error = socket.Open(local); error != 0) return error;
    socket.SetBufferSizes(buffer_bytes, buffer_bytes);
    socket.CountDrops();
    socket_ = std::move(socket);
    return 0;
  }
  int CloseSocket() override { return socket_.Close(); }
  bool socket_open() const override { return socket_.is_open(); }
  int socket_fd() const override { return socket_.fd(); }
  net::Endpoint LocalEndpoint() const override { return socket_.LocalEndpoint(); }
  long SendTo(std::span<const std::uint8_t> data, const net::Endpoint& to) override {
    return socket_.SendTo(data, to);
  }
  long ReceiveFrom(std::span<std::uint8_t> buffer, net::Endpoint* from,
                   std::uint32_t* dropped) override {
    return socket_.ReceiveFrom(buffer, from, dropped);
  }

  std::uint32_t SocketDrops() const override { return socket_.is_open() ? socket_.DropCount() : 0; }
  bool DatagramWaiting() override {
    pollfd probe{socket_.fd(), POLLIN, 0};
    return ::poll(&probe, 1, 0) > 0 && (probe.revents & POLLIN) != 0;
  }

  runtime::Fd DuplicatePty() const override {
    return runtime::Fd(::fcntl(master_.get(), F_DUPFD_CLOEXEC, 3));
  }
  runtime::Fd DuplicateSocket() const override {
    return socket_.is_open() ? runtime::Fd(::fcntl(socket_.fd(), F_DUPFD_CLOEXEC, 3))
                             : runtime::Fd();
  }

 private:
  runtime::Fd master_;
  std::string slave_path_;
  net::UdpSocket socket_;
};

}  // namespace

std::unique_ptr<PortIo> OpenPosixPortIo(const std::string& group, std::string* warning,
                                        runtime::Fd socket) {
  runtime::Fd master = NewPty([&](int slave, const std::string& path) {
    if (!group.empty()) {
      const auto gid = FindGroupId(group);
      if (!gid) {
        *warning = "no group " + group + "; " + path + " keeps its own group";
      } else if (::fchown(slave, static_cast<uid_t>(-1), *gid) != 0) {
        *warning = "cannot give " + path + " to group " + group + " (" + std::strerror(errno) +
                   "); it keeps its own group";
      }
    }
    if (::fchmod(slave, 0660) != 0) Throw("fchmod pty slave");
  });
  if (socket) ::fcntl(socket.get(), F_SETFL, ::fcntl(socket.get(), F_GETFL) | O_NONBLOCK);
  return std::make_unique<PosixPortIo>(std::move(master), net::UdpSocket(std::move(socket)));
}

std::unique_ptr<PortIo> AdoptPosixPortIo(runtime::Fd master, runtime::Fd socket) {
  ::fcntl(master.get(), F_SETFL, ::fcntl(master.get(), F_GETFL) | O_NONBLOCK);
  // Already so, unless an older daemon made the pty.
  const int on = 1;
  ::ioctl(master.get(), TIOCPKT, &on);
  if (socket) ::fcntl(socket.get(), F_SETFL, ::fcntl(socket.get(), F_GETFL) | O_NONBLOCK);
  return std::make_unique<PosixPortIo>(std::move(master), net::UdpSocket(std::move(socket)));
}

}  // namespace ketra::vspd
