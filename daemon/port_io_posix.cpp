#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
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

runtime::Fd OpenSlave(const std::string& path) {
  return runtime::Fd(::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
}

// A new pty's master. The slave is opened once for `setup(slave, path)` and closed again: from
// then on the master's hang-up says that no program holds it. Throws std::system_error.
template <typename Setup>
runtime::Fd NewPty(Setup setup) {
  runtime::Fd master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (!master) Throw("posix_openpt");
  if (::grantpt(master.get()) != 0) Throw("grantpt");
  if (::unlockpt(master.get()) != 0) Throw("unlockpt");
  const std::string path = SlavePath(master.get());
  const runtime::Fd slave = OpenSlave(path);
  if (!slave) Throw("open pty slave");
  setup(slave.get(), path);
  return master;
}

// The daemon holds no descriptor of the slave: the master then reports a hang-up (EPOLLHUP, and
// EIO once read empty) exactly while no program holds the device, which is the kernel's own
// count of openers, never a guess. Opens are seen through OpenWatch, which only wakes the port;
// whether the device is held is then asked of the master again.
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

  long ReadPty(std::span<std::uint8_t> buffer) override {
    const ssize_t got = ::read(master_.get(), buffer.data(), buffer.size());
    return got < 0 ? -errno : static_cast<long>(got);
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
      return {"cannot reopen " + slave_path_ + " to reset it: " + std::strerror(error), error};
    }
    std::string problems;
    const auto note = [&](bool ok, const char* what) {
      if (!ok)
        problems += std::string(problems.empty() ? "" : "; ") + what + ": " + std::strerror(errno);
    };
    note(::ioctl(slave.get(), TIOCNXCL) == 0, "TIOCNXCL");
    note(::tcflow(slave.get(), TCOON) == 0, "TCOON");
    // Only the input: what the last program wrote and the relay has not yet sent still goes
    // out, as a UART's transmitter empties after the close.
    note(::tcflush(slave.get(), TCIFLUSH) == 0, "TCIFLUSH");
    termios settings{};
    if (::tcgetattr(slave.get(), &settings) == 0) {
      settings.c_cc[VSTART] = kDefaultStart;
      settings.c_cc[VSTOP] = kDefaultStop;
      note(::tcsetattr(slave.get(), TCSANOW, &settings) == 0, "tcsetattr");
    }
    return {problems, 0};
  }

  std::string ReplacePty() override {
    // The old slave cannot be opened, but a master's terminal calls reach its slave's termios.
    termios settings{};
    struct stat old {};
    if (::tcgetattr(master_.get(), &settings) != 0 || ::stat(slave_path_.c_str(), &old) != 0) {
      return "cannot read the settings of " + slave_path_ + ": " + std::strerror(errno);
    }
    settings.c_cc[VSTART] = kDefaultStart;
    settings.c_cc[VSTOP] = kDefaultStop;
    try {
      runtime::Fd master = NewPty([&](int slave, const std::string&) {
        if (::tcsetattr(slave, TCSANOW, &settings) != 0) Throw("tcsetattr");
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
      return std::string("cannot replace ") + slave_path_ + ": " + error.what();
    }
    return "";
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

  std::uint32_t SocketDrops() const override {
    return socket_.is_open() ? socket_.DropCount() : 0;
  }
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
  static constexpr cc_t kDefaultStart = 0x11;  // ^Q
  static constexpr cc_t kDefaultStop = 0x13;   // ^S

  runtime::Fd master_;
  std::string slave_path_;
  net::UdpSocket socket_;
};

}  // namespace

std::unique_ptr<PortIo> OpenPosixPortIo(const std::string& group, std::string* warning,
                                        runtime::Fd socket) {
  runtime::Fd master = NewPty([&](int slave, const std::string& path) {
    termios settings{};
    if (::tcgetattr(slave, &settings) != 0) Throw("tcgetattr");
    ::cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(HUPCL | CRTSCTS);
    settings.c_cflag |= CLOCAL | CREAD;
    settings.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    ::cfsetispeed(&settings, B115200);
    ::cfsetospeed(&settings, B115200);
    if (::tcsetattr(slave, TCSANOW, &settings) != 0) Throw("tcsetattr");

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
  if (socket) ::fcntl(socket.get(), F_SETFL, ::fcntl(socket.get(), F_GETFL) | O_NONBLOCK);
  return std::make_unique<PosixPortIo>(std::move(master), net::UdpSocket(std::move(socket)));
}

}  // namespace ketra::vspd
