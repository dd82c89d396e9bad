// The daemon as a whole: its ports, the control channel and the serial device map, all served
// by one EventLoop in which SIGTERM, SIGINT and SIGHUP arrive through a signalfd and the
// housekeeping tick through a timerfd, so no work happens in a signal handler.
//
// Construction makes everything or nothing (it throws, and what was made is undone): it takes a
// lock beside the hive (one daemon per hive), makes the ports and their links, listens on the
// control socket, and last writes the device map, so the panel never finds a port that does not
// answer. Destruction removes the map entries first, then the socket, the links and the ptys.
// Owns all of it except the registry. Single-threaded; construct, use and destroy it on one
// thread, with SIGTERM, SIGINT and SIGHUP blocked in every thread of the process.
#ifndef KETRA_DAEMON_DAEMON_H_
#define KETRA_DAEMON_DAEMON_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "daemon/control_server.h"
#include "daemon/daemon_config.h"
#include "daemon/device_map.h"
#include "daemon/event_loop.h"
#include "daemon/port.h"
#include "platform/net/fd.h"
#include "platform/registry/registry.h"

namespace ketra::vspd {

// Blocks the signals the daemon takes through its signalfd; call before any thread starts.
void BlockDaemonSignals();

class Daemon final : public PortDirectory {
 public:
  Daemon(const DaemonConfig& config, registry::Registry& registry);
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;
  ~Daemon() override;

  // Connects every port whose stored settings say enabled, as the panel's connect would.
  void ConnectEnabledPorts();
  // Serves until SIGTERM or SIGINT.
  void Run();

  VirtualPort* FindPort(std::string_view name) override;
  std::string StatusJson() override;

 private:
  void OnSignal();
  void OnTick();

  DaemonConfig config_;
  registry::Registry& registry_;
  net::Fd hive_lock_;
  EventLoop loop_;
  net::Fd signals_;
  net::Fd timer_;
  std::vector<std::unique_ptr<VirtualPort>> ports_;
  std::unique_ptr<ControlServer> control_;
  std::unique_ptr<DeviceMap> device_map_;
  bool stop_ = false;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DAEMON_H_
