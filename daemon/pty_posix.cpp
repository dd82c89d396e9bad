#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "daemon/group.h"
#include "daemon/pty.h"

namespace ketra::vspd {
namespace {

[[noreturn]] void Throw(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Pty Pty::Open(const std::string& group, std::string* warning) {
  Pty pty;
  pty.master_ = net::Fd(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (!pty.master_) Throw("posix_openpt");
  if (::grantpt(pty.master_.get()) != 0) Throw("grantpt");
  if (::unlockpt(pty.master_.get()) != 0) Throw("unlockpt");
  char name[128];
  if (::ptsname_r(pty.master_.get(), name, sizeof name) != 0) Throw("ptsname_r");
  pty.slave_path_ = name;
  pty.slave_ = net::Fd(::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK));
  if (!pty.slave_) Throw("open pty slave");

  termios settings{};
  if (::tcgetattr(pty.slave_.get(), &settings) != 0) Throw("tcgetattr");
  ::cfmakeraw(&settings);
  settings.c_cflag &= ~static_cast<tcflag_t>(HUPCL | CRTSCTS);
  settings.c_cflag |= CLOCAL | CREAD;
  settings.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  ::cfsetispeed(&settings, B115200);
  ::cfsetospeed(&settings, B115200);
  if (::tcsetattr(pty.slave_.get(), TCSANOW, &settings) != 0) Throw("tcsetattr");

  if (!group.empty()) {
    const auto gid = FindGroupId(group);
    if (!gid) {
      *warning = "no group " + group + "; " + pty.slave_path_ + " keeps its own group";
    } else if (::fchown(pty.slave_.get(), static_cast<uid_t>(-1), *gid) != 0) {
      *warning = "cannot give " + pty.slave_path_ + " to group " + group + " (" +
                 std::strerror(errno) + "); it keeps its own group";
    }
  }
  if (::fchmod(pty.slave_.get(), 0660) != 0) Throw("fchmod pty slave");
  return pty;
}

}  // namespace ketra::vspd
