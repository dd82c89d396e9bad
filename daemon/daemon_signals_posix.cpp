#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

#include "daemon/daemon_signals.h"

namespace ketra::vspd {
namespace {

sigset_t DaemonSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGHUP);
  return set;
}

}  // namespace

void BlockDaemonSignals() {
  const sigset_t set = DaemonSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
}

runtime::Fd OpenDaemonSignalFd() {
  const sigset_t set = DaemonSignals();
  runtime::Fd fd(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!fd) throw std::runtime_error(std::string("signalfd: ") + std::strerror(errno));
  return fd;
}

int ReadDaemonSignal(int signal_fd) {
  signalfd_siginfo info{};
  if (::read(signal_fd, &info, sizeof info) != static_cast<ssize_t>(sizeof info)) return 0;
  return static_cast<int>(info.ssi_signo);
}

int WaitForDaemonSignal(std::chrono::milliseconds pause) {
  const sigset_t set = DaemonSignals();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(pause);
  const timespec wait{static_cast<time_t>(seconds.count()),
                      static_cast<long>((pause - seconds).count()) * 1'000'000L};
  siginfo_t info{};
  const int signal = ::sigtimedwait(&set, &info, &wait);
  return signal > 0 ? signal : 0;
}

const char* DaemonSignalName(int signal) {
  switch (signal) {
    case SIGTERM:
      return "SIGTERM";
    case SIGINT:
      return "SIGINT";
    case SIGHUP:
      return "SIGHUP";
    default:
      return "a signal";
  }
}

}  // namespace ketra::vspd
