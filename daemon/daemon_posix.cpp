#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <span>
#include <stdexcept>

#include "config_appl/driver/vsp_command.h"
#include "config_appl/store/stored_port.h"
#include "daemon/daemon.h"
#include "daemon/log.h"
#include "daemon/status_report.h"
#include "platform/device/device.h"
#include "platform/runtime/conversion_error.h"
#include "platform/runtime/lock_file.h"
#include "platform/runtime/strings.h"

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

runtime::Fd LockHive(const std::string& hive) {
  const std::string path = hive + ".vspd-lock";
  runtime::Fd fd = runtime::OpenLockFile(path);
  if (!fd) throw std::runtime_error("cannot open " + path + ": " + std::strerror(errno));
  if (!runtime::TryLockFile(fd)) {
    throw std::runtime_error("another daemon serves the hive " + hive + " (lock " + path + ")");
  }
  return fd;
}

// The store's name of a connected port's socket carries what the relay needs to resume:
// "udp.COM3.7F000001.0FA0.0BB8.1.11.13" (remote address, remote port, local port, flow, XON, XOFF,
// in hexadecimal). Port names hold no dot.
std::string SocketName(const std::string& port, const PortSettings& settings) {
  char fields[64];
  std::snprintf(fields, sizeof fields, "%08X.%04X.%04X.%u.%02X.%02X", settings.remote.address,
                settings.remote.port, settings.local_port, settings.software_flow ? 1u : 0u,
                settings.xon, settings.xoff);
  return "udp." + port + "." + fields;
}

std::optional<std::pair<std::string, PortSettings>> ParseSocketName(const std::string& name) {
  char port[64] = {};
  unsigned address = 0, remote = 0, local = 0, flow = 0, xon = 0, xoff = 0;
  if (std::sscanf(name.c_str(), "udp.%63[A-Za-z0-9_-].%8X.%4X.%4X.%u.%2X.%2X", port, &address,
                  &remote, &local, &flow, &xon, &xoff) != 7 ||
      flow > 1) {
    return std::nullopt;
  }
  PortSettings settings{{address, static_cast<std::uint16_t>(remote)},
                        static_cast<std::uint16_t>(local),
                        flow == 1,
                        static_cast<std::uint8_t>(xon),
                        static_cast<std::uint8_t>(xoff)};
  if (SocketName(port, settings) != name) return std::nullopt;
  return std::make_pair(std::string(port), settings);
}

std::string PtyName(const std::string& port) { return "pty." + port; }

}  // namespace

void BlockDaemonSignals() {
  const sigset_t set = DaemonSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
  ::signal(SIGPIPE, SIG_IGN);
}

Daemon::Daemon(const DaemonConfig& config, registry::Registry& registry, ServiceManager& service)
    : config_(config), registry_(registry), service_(service), hive_lock_(LockHive(config.hive)) {
  RaiseDescriptorLimit(config_.ports.size());
  const sigset_t set = DaemonSignals();
  signals_ = runtime::Fd(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!signals_) throw std::runtime_error(std::string("signalfd: ") + std::strerror(errno));
  loop_.Add(signals_.get(), kReadable, [this](std::uint32_t) { OnSignal(); });

  timer_ = runtime::Fd(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC));
  if (!timer_) throw std::runtime_error(std::string("timerfd: ") + std::strerror(errno));
  itimerspec every_second{};
  every_second.it_interval.tv_sec = 1;
  every_second.it_value.tv_sec = 1;
  ::timerfd_settime(timer_.get(), 0, &every_second, nullptr);
  loop_.Add(timer_.get(), kReadable, [this](std::uint32_t) { OnTick(); });

  EnsureOwnDirectory(config_.link_directory);
  if (const auto slash = config_.socket.rfind('/'); slash != std::string::npos && slash > 0) {
    EnsureOwnDirectory(config_.socket.substr(0, slash));
  }
  PortOptions options;
  options.link_directory = config_.link_directory;
  options.bind_address = config_.bind_address;
  options.max_datagram = config_.max_datagram;
  // What the service manager kept across a restart.
  std::map<std::string, runtime::Fd> handed;
  for (auto& [name, fd] : service_.TakeHanded()) handed[name] = std::move(fd);
  for (const std::string& name : config_.ports) {
    std::unique_ptr<PortIo> io;
    std::optional<PortSettings> resumed;
    if (auto master = handed.extract(PtyName(name))) {
      runtime::Fd socket;
      for (auto it = handed.begin(); it != handed.end(); ++it) {
        const auto parsed = ParseSocketName(it->first);
        if (parsed && parsed->first == name) {
          resumed = parsed->second;
          stored_sockets_[name] = it->first;
          socket = std::move(it->second);
          handed.erase(it);
          break;
        }
      }
      io = AdoptPosixPortIo(std::move(master.mapped()), std::move(socket));
      LogInfo(name + ": resumed " + io->pty_path() +
              (resumed ? ", connected to " + resumed->remote.ToString() : std::string()));
    } else {
      std::string warning;
      io = OpenPosixPortIo(config_.group, &warning);
      if (!warning.empty()) LogWarning(name + ": " + warning);
      if (service_.present()) {
        const int fd = io->pty_fd();
        if (!service_.Store(PtyName(name), std::span(&fd, 1))) {
          LogWarning(name +
                     ": the service manager did not keep the pty; a restart will lose it "
                     "(FileDescriptorStoreMax= too small?)");
        }
      }
    }
    ports_.push_back(std::make_unique<VirtualPort>(loop_, name, std::move(io), options, resumed));
    VirtualPort* port = ports_.back().get();
    port->OnConnectionChange([this](VirtualPort& changed) { KeepInStore(changed); });
    open_watch_.Add(port->pty_path(), [port] { port->ProgramMayHaveOpened(); });
    loss_logs_.emplace_back();
  }
  // Kept for ports this configuration no longer has: given back, and let go.
  for (auto& [name, fd] : handed) {
    LogInfo("dropped " + name + " from the service manager's store: no such port now");
    service_.Remove(name);
  }
  // The socket listens under a temporary name until the map is written: clients take the
  // control socket's appearance as the sign that the daemon is ready, and a panel started then
  // must find the ports.
  control_ = std::make_unique<ControlServer>(loop_, config_.socket, config_.group, *this);
  device_map_ = std::make_unique<DeviceMap>(registry_);
  if (!PublishDeviceMap()) {
    // Stopped while the hive was locked: nothing was written, so nothing is to be withdrawn.
    device_map_.reset();
    stop_ = true;
    return;
  }
  control_->Publish();
  LogInfo("serving " + std::to_string(ports_.size()) + " ports (" + ports_.front()->name() +
          " ... " + ports_.back()->name() + ") with links in " + config_.link_directory +
          ", control socket " + config_.socket + ", hive " + config_.hive);
  last_status_line_ = StatusLine();
  service_.Notify("READY=1\nSTATUS=" + last_status_line_);
}

bool Daemon::PublishDeviceMap() {
  // Another program may hold the hive locked for a while (each try waits out the hive's own
  // busy time-out); the daemon tries again for a bounded time and stops if told to meanwhile.
  const auto deadline = std::chrono::steady_clock::now() + kHiveWait;
  const sigset_t stop_signals = DaemonSignals();
  for (bool warned = false;; warned = true) {
    std::string problem;
    if (device_map_->Publish(config_.ports, &problem)) return true;
    if (std::chrono::steady_clock::now() >= deadline) {
      throw std::runtime_error("device map in " + config_.hive + ": " + problem + " (tried for " +
                               std::to_string(kHiveWait.count()) + " s)");
    }
    if (!warned) LogWarning("device map in " + config_.hive + ": " + problem + "; trying again");
    const timespec pause{0, 200'000'000};
    siginfo_t info{};
    const int signal = ::sigtimedwait(&stop_signals, &info, &pause);
    if (signal == SIGTERM || signal == SIGINT) {
      LogInfo(std::string("stopping on ") + (signal == SIGTERM ? "SIGTERM" : "SIGINT") +
              " while waiting for the hive");
      return false;
    }
  }
}

void Daemon::KeepInStore(VirtualPort& port) {
  if (!service_.present()) return;
  if (const auto found = stored_sockets_.find(port.name()); found != stored_sockets_.end()) {
    service_.Remove(found->second);
    stored_sockets_.erase(found);
  }
  if (!port.connected()) return;
  const std::string name = SocketName(port.name(), *port.settings());
  const runtime::Fd socket = port.io().DuplicateSocket();
  const int fd = socket.get();
  if (socket && service_.Store(name, std::span(&fd, 1))) {
    stored_sockets_[port.name()] = name;
  } else {
    LogWarning(port.name() +
               ": the service manager did not keep the socket; a restart will "
               "disconnect the port");
  }
}

std::string Daemon::StatusLine() const {
  std::size_t connected = 0, held = 0;
  for (const auto& port : ports_) {
    connected += port->connected() ? 1 : 0;
    held += port->held() ? 1 : 0;
  }
  return std::to_string(ports_.size()) + " ports, " + std::to_string(connected) + " connected, " +
         std::to_string(held) + " open by programs";
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
  if (stop_) return;
  for (const auto& port : ports_) {
    const auto row = ReadStoredPort(registry_, port->name());
    if (!row) {
      LogInfo(port->name() + ": no stored settings, left disconnected");
      continue;
    }
    if (row->Enabled != -1) continue;
    try {
      const device::Record record = EncodeVspCommand(CommandFromRow(*row));
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
    if (runtime::EqualsNoCase(port->name(), name)) return port.get();
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
  const auto now = std::chrono::steady_clock::now();
  control_->DropIdle(now);
  for (std::size_t i = 0; i < ports_.size(); ++i) {
    if (const auto line = loss_logs_[i].Update(ports_[i]->name(), ports_[i]->counters(), now)) {
      LogWarning(*line);
    }
  }
  if (std::string line = StatusLine(); line != last_status_line_) {
    last_status_line_ = std::move(line);
    service_.Notify("STATUS=" + last_status_line_);
  }
}

}  // namespace ketra::vspd
