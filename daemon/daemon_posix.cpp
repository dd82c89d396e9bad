#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "config_appl/driver/vsp_command.h"
#include "config_appl/store/stored_port.h"
#include "daemon/daemon.h"
#include "daemon/log.h"
#include "daemon/status_report.h"
#include "platform/device/device.h"
#include "platform/runtime/conversion_error.h"

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

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
           return lower(x) == lower(y);
         });
}

// Each port takes three descriptors and each control connection one; the soft limit is raised
// toward the hard one so that many ports fit.
void RaiseDescriptorLimit(std::size_t ports) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  const rlim_t wanted = static_cast<rlim_t>(ports * 3 + 256);
  if (limit.rlim_cur >= wanted) return;
  limit.rlim_cur = std::min(wanted, limit.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

net::Fd LockHive(const std::string& hive) {
  const std::string path = hive + ".vspd-lock";
  net::Fd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
  if (!fd) throw std::runtime_error("cannot open " + path + ": " + std::strerror(errno));
  if (::flock(fd.get(), LOCK_EX | LOCK_NB) != 0) {
    throw std::runtime_error("another daemon serves the hive " + hive + " (lock " + path + ")");
  }
  return fd;
}

}  // namespace

void BlockDaemonSignals() {
  const sigset_t set = DaemonSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
}

Daemon::Daemon(const DaemonConfig& config, registry::Registry& registry)
    : config_(config), registry_(registry), hive_lock_(LockHive(config.hive)) {
  RaiseDescriptorLimit(config_.ports.size());
  const sigset_t set = DaemonSignals();
  signals_ = net::Fd(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!signals_) throw std::runtime_error(std::string("signalfd: ") + std::strerror(errno));
  loop_.Add(signals_.get(), kReadable, [this](std::uint32_t) { OnSignal(); });

  timer_ = net::Fd(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
  if (!timer_) throw std::runtime_error(std::string("timerfd: ") + std::strerror(errno));
  itimerspec every_second{};
  every_second.it_interval.tv_sec = 1;
  every_second.it_value.tv_sec = 1;
  ::timerfd_settime(timer_.get(), 0, &every_second, nullptr);
  loop_.Add(timer_.get(), kReadable, [this](std::uint32_t) { OnTick(); });

  EnsureDirectory(config_.link_directory);
  PortOptions options;
  options.link_directory = config_.link_directory;
  options.bind_address = config_.bind_address;
  options.max_datagram = config_.max_datagram;
  for (const std::string& name : config_.ports) {
    std::string warning;
    auto io = OpenPosixPortIo(config_.group, &warning);
    if (!warning.empty()) LogWarning(name + ": " + warning);
    ports_.push_back(std::make_unique<VirtualPort>(loop_, name, std::move(io), options));
  }
  // The socket listens under a temporary name until the map is written: clients take the
  // control socket's appearance as the sign that the daemon is ready, and a panel started then
  // must find the ports.
  control_ = std::make_unique<ControlServer>(loop_, config_.socket, config_.group, *this);
  device_map_ = std::make_unique<DeviceMap>(registry_);
  std::string problem;
  if (!device_map_->Publish(config_.ports, &problem)) {
    throw std::runtime_error("device map in " + config_.hive + ": " + problem);
  }
  control_->Publish();
  LogInfo("serving " + std::to_string(ports_.size()) + " ports (" + ports_.front()->name() +
          " ... " + ports_.back()->name() + ") with links in " + config_.link_directory +
          ", control socket " + config_.socket + ", hive " + config_.hive);
}

Daemon::~Daemon() {
  if (device_map_ && !device_map_->Withdraw()) {
    LogError("could not remove every device map entry from " + config_.hive);
  }
  control_.reset();
  ports_.clear();
  LogInfo("stopped; device map entries, links and socket removed");
}

void Daemon::ConnectEnabledPorts() {
  for (const auto& port : ports_) {
    const auto row = ReadStoredPort(registry_, port->name());
    if (!row) {
      LogInfo(port->name() + ": no stored settings, left disconnected");
      continue;
    }
    if (row->Enabled != -1) continue;
    try {
      const VspBytes record = EncodeVspCommand(CommandFromRow(*row));
      std::string problem;
      const wire::Record output = ExecuteControl(*port, device::kIoctlVspConnect, record, &problem);
      LogInfo(port->name() + ": connect at start: Status " + std::to_string(output[11]) +
              (problem.empty() ? "" : " (" + problem + ")"));
    } catch (const runtime::ConversionError& error) {
      LogWarning(port->name() + ": stored settings do not fit the command record: " + error.what());
    }
  }
}

void Daemon::Run() {
  while (!stop_) loop_.RunOnce(-1);
}

VirtualPort* Daemon::FindPort(std::string_view name) {
  for (const auto& port : ports_) {
    if (SameName(port->name(), name)) return port.get();
  }
  return nullptr;
}

std::string Daemon::StatusJson() {
  std::vector<const VirtualPort*> ports;
  for (const auto& port : ports_) ports.push_back(port.get());
  return BuildStatusJson({static_cast<long>(::getpid()), config_.socket, config_.hive}, ports);
}

void Daemon::OnSignal() {
  signalfd_siginfo info{};
  while (::read(signals_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    if (info.ssi_signo == SIGHUP) {
      for (const auto& port : ports_) {
        LogInfo("status " + PortStatus(*port).dump());
      }
      continue;
    }
    LogInfo(std::string("stopping on ") + (info.ssi_signo == SIGTERM ? "SIGTERM" : "SIGINT"));
    stop_ = true;
  }
}

void Daemon::OnTick() {
  std::uint64_t expirations = 0;
  if (::read(timer_.get(), &expirations, sizeof expirations) < 0) return;
  control_->DropIdle(std::chrono::steady_clock::now());
}

}  // namespace ketra::vspd
