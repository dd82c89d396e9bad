// The daemon as a whole: its ports, the control channel and the serial device map, all served
// by one EventLoop in which SIGTERM, SIGINT and SIGHUP arrive through a signalfd and the
// housekeeping tick through a timerfd, so no work happens in a signal handler.
//
// Construction makes everything or nothing (it throws, and what was made is undone): it takes a
// lock beside the hive (one daemon per hive), makes the ports and their links, listens on the
// control socket, and last writes the device map, so the panel never finds a port that does not
// answer. Destruction removes the map entries first, then the socket, the links and the ptys.
//
// Run as a service, it tells the service manager when it is ready and how it fares, and gives it
// each pty master and each connected port's socket to keep (descriptor_store.h); at start it
// takes back what the store hands over, so a restart keeps every pty, every program that holds
// one, and every connection.
//
// Its parts live apart: the signals (daemon_signals.h), the descriptor limit
// (descriptor_limit.h), the hive's lock (hive_lock.h), the store's names (store_names.h), the
// tick (tick.h); the making and connecting of its ports is in daemon_ports_posix.cpp.
// Owns all of it except the registry. Single-threaded; construct, use and destroy it on one
// thread, with SIGTERM, SIGINT and SIGHUP blocked in every thread of the process.
#ifndef KETRA_DAEMON_DAEMON_H_
#define KETRA_DAEMON_DAEMON_H_

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/control_server.h"
#include "daemon/daemon_config.h"
#include "daemon/daemon_signals.h"
#include "daemon/descriptor_store.h"
#include "daemon/device_map.h"
#include "daemon/event_loop.h"
#include "daemon/loss_log.h"
#include "daemon/metrics_file.h"
#include "daemon/open_watch.h"
#include "daemon/port.h"
#include "daemon/service_manager.h"
#include "daemon/tick.h"
#include "daemon/trace_server.h"
#include "platform/registry/registry.h"
#include "platform/runtime/fd.h"

namespace ketra::vspd {

class Daemon final : public PortDirectory {
 public:
  // How long the start waits for a hive that another program holds locked.
  static constexpr std::chrono::seconds kHiveWait{30};
  // How often at most the metrics file is written while things change.
  static constexpr std::chrono::seconds kMetricsInterval{5};

  Daemon(const DaemonConfig& config, registry::Registry& registry, ServiceManager& service);
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;
  ~Daemon() override;

  // Connects every port whose stored settings say enabled, as the panel's connect would.
  void ConnectEnabledPorts();
  // Serves until SIGTERM or SIGINT (at once when one came during the start).
  void Run();

  VirtualPort* FindPort(std::string_view name) override;
  std::string StatusJson() override;
  void StartTrace(VirtualPort& port, runtime::Fd connection, const std::string& peer) override;

 private:
  void OnSignal();
  void OnTick();
  // Writes the metrics file (metrics_file_ is set) and notes when.
  void WriteMetrics(std::chrono::steady_clock::time_point now);
  // False when SIGTERM or SIGINT came while the hive was locked; throws after kHiveWait.
  bool PublishDeviceMap();
  // Makes every configured port, from what the store kept or afresh.
  void MakePorts();
  std::string StatusLine() const;

  DaemonConfig config_;
  registry::Registry& registry_;
  ServiceManager& service_;
  runtime::Fd hive_lock_;
  DescriptorStore store_;
  EventLoop loop_;
  runtime::Fd signals_;
  std::unique_ptr<Tick> tick_;
  OpenWatch open_watch_{loop_};
  std::vector<std::unique_ptr<VirtualPort>> ports_;
  std::unique_ptr<TraceServer> traces_;  // goes before the ports it traces
  std::unique_ptr<ControlServer> control_;
  std::unique_ptr<DeviceMap> device_map_;
  std::vector<LossLog> loss_logs_;  // one per port
  std::string last_status_line_;
  bool stop_ = false;
  // The tick runs only while it has work (tick.h): something happened since the last tick, a
  // control connection may go idle, or the metrics file is behind.
  bool active_ = false;  // a callback other than the tick ran since the last tick
  bool ticked_ = false;  // the tick ran in the loop's last round
  std::optional<MetricsFile> metrics_file_;
  bool metrics_stale_ = false;
  std::chrono::steady_clock::time_point metrics_written_;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DAEMON_H_
