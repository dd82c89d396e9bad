#include <unistd.h>

#include <csignal>

#include <stdexcept>

#include "daemon/daemon.h"
#include "daemon/descriptor_limit.h"
#include "daemon/hive_lock.h"
#include "daemon/log.h"
#include "daemon/metrics_text.h"
#include "daemon/status_report.h"

namespace ketra::vspd {

Daemon::Daemon(const DaemonConfig& config, registry::Registry& registry, ServiceManager& service)
    : config_(config),
      registry_(registry),
      service_(service),
      hive_lock_(LockHive(config.hive)),
      store_(service) {
  RaiseDescriptorLimit(config_.ports.size());
  signals_ = OpenDaemonSignalFd();
  loop_.Add(signals_.get(), kReadable, [this](std::uint32_t) { OnSignal(); });
  tick_ = std::make_unique<Tick>(loop_, [this] { OnTick(); });

  EnsureOwnDirectory(config_.link_directory);
  if (const auto slash = config_.socket.rfind('/'); slash != std::string::npos && slash > 0) {
    EnsureOwnDirectory(config_.socket.substr(0, slash));
  }
  MakePorts();
  // The socket listens under a temporary name until the map is written: clients take the
  // control socket's appearance as the sign that the daemon is ready, and a panel started then
  // must find the ports.
  traces_ = std::make_unique<TraceServer>(loop_);
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
  if (!config_.metrics_file.empty()) {
    metrics_file_.emplace(config_.metrics_file);
    WriteMetrics(std::chrono::steady_clock::now());
  }
}

bool Daemon::PublishDeviceMap() {
  // Another program may hold the hive locked for a while (each try waits out the hive's own
  // busy time-out); the daemon tries again for a bounded time and stops if told to meanwhile.
  // Nothing else is waited for: a hive that is corrupt, another program's file, not writable
  // or failing to read or write stays so.
  const auto deadline = std::chrono::steady_clock::now() + kHiveWait;
  for (bool warned = false;; warned = true) {
    const runtime::Status published = device_map_->Publish(config_.ports);
    if (published.ok()) return true;
    const std::string& problem = published.message();
    if (published.IsCorruption()) {
      throw std::runtime_error("device map in " + config_.hive + ": " + problem +
                               ": the hive is damaged or another program's file");
    }
    if (published.IsPermissionDenied()) {
      throw std::runtime_error("device map in " + config_.hive + ": " + problem +
                               ": the hive may not be written (read-only, or no permission)");
    }
    if (!published.IsBusy()) {
      throw std::runtime_error("device map in " + config_.hive + ": " + problem);
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      throw std::runtime_error("device map in " + config_.hive + ": " + problem + " (tried for " +
                               std::to_string(kHiveWait.count()) + " s)");
    }
    if (!warned) LogWarning("device map in " + config_.hive + ": " + problem + "; trying again");
    const int signal = WaitForDaemonSignal(std::chrono::milliseconds(200));
    if (signal != 0 && signal != SIGHUP) {
      LogInfo(std::string("stopping on ") + DaemonSignalName(signal) +
              " while waiting for the hive");
      return false;
    }
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
  traces_.reset();
  ports_.clear();
  LogInfo("stopped; device map entries, links and socket removed");
}

void Daemon::Run() {
  while (!stop_) {
    ticked_ = false;
    const int ran = loop_.RunOnce(-1);
    // Anything but the tick itself may have made work for it.
    if (ran > (ticked_ ? 1 : 0)) {
      active_ = true;
      tick_->Arm();
    }
  }
}

std::string Daemon::StatusJson() {
  std::vector<const VirtualPort*> ports;
  for (const auto& port : ports_) {
    port->CountKernelDrops();
    ports.push_back(port.get());
  }
  return BuildStatusJson({static_cast<long>(::getpid()), config_.socket, config_.hive}, ports);
}

void Daemon::StartTrace(VirtualPort& port, runtime::Fd connection, const std::string& peer) {
  traces_->Attach(port, std::move(connection), peer);
}

void Daemon::OnSignal() {
  while (const int signal = ReadDaemonSignal(signals_.get())) {
    if (signal == SIGHUP) {
      for (const auto& port : ports_) {
        LogInfo("status " + PortStatus(*port).dump());
      }
      continue;
    }
    LogInfo(std::string("stopping on ") + DaemonSignalName(signal));
    stop_ = true;
  }
}

void Daemon::WriteMetrics(std::chrono::steady_clock::time_point now) {
  nlohmann::json status{{"ports", nlohmann::json::array()}};
  for (const auto& port : ports_) status["ports"].push_back(PortStatus(*port));
  // A failure is said once per change; the next change tries again.
  if (const runtime::Status written = metrics_file_->Update(FormatPrometheus(status));
      !written.ok()) {
    LogWarning("metrics file: " + written.message());
  }
  metrics_written_ = now;
  metrics_stale_ = false;
}

void Daemon::OnTick() {
  ticked_ = true;
  const auto now = std::chrono::steady_clock::now();
  control_->DropIdle(now);
  for (std::size_t i = 0; i < ports_.size(); ++i) {
    ports_[i]->CountKernelDrops();
    if (const auto line = loss_logs_[i].Update(ports_[i]->name(), ports_[i]->counters(), now)) {
      LogWarning(*line);
    }
  }
  if (std::string line = StatusLine(); line != last_status_line_) {
    last_status_line_ = std::move(line);
    service_.Notify("STATUS=" + last_status_line_);
  }
  const bool active = std::exchange(active_, false);
  if (active && metrics_file_) metrics_stale_ = true;
  if (metrics_stale_ && now - metrics_written_ >= kMetricsInterval) WriteMetrics(now);
  // Nothing happened since the last tick, no connection can go idle, no metrics wait: sleep
  // until the next event.
  if (!active && control_->connection_count() == 0 && !metrics_stale_) tick_->Disarm();
}

}  // namespace ketra::vspd
