// ketra-vspd: the driver daemon and its client in one program. See daemon_config.h for the
// command line and docs/daemon.md for the whole story.
#include <exception>
#include <iostream>

#include "daemon/client.h"
#include "daemon/daemon.h"
#include "daemon/daemon_config.h"
#include "daemon/log.h"
#include "daemon/port_link.h"
#include "daemon/service_manager.h"
#include "daemon/trace_client.h"
#include "platform/device/vspd_device.h"
#include "platform/registry/sqlite_hive.h"

int main(int argc, char** argv) {
  using namespace ketra;
  std::string output;
  int exit_code = 0;
  const auto invocation = vspd::ParseCommandLine(argc, argv, &output, &exit_code);
  if (!invocation) {
    (exit_code == 0 ? std::cout : std::cerr) << output;
    return exit_code;
  }
  const vspd::DaemonConfig& config = invocation->config;
  if (invocation->action != vspd::Action::kRun) {
    // Say why the daemon cannot be reached: a user outside the service's group is told so.
    if (const std::string problem = device::DescribeVspdSocketProblem(config.socket);
        !problem.empty()) {
      std::cerr << "ketra-vspd: " << problem << "\n";
      return 1;
    }
  }
  switch (invocation->action) {
    case vspd::Action::kStatus:
      return vspd::RunStatus(config.socket, invocation->format, std::cout, std::cerr);
    case vspd::Action::kConnect:
    case vspd::Action::kDisconnect: {
      auto registry = registry::OpenSqliteHive(config.hive);
      auto device = device::MakeVspdDevice(config.socket);
      return vspd::RunPortCommand(*registry, *device, invocation->action == vspd::Action::kConnect,
                                  invocation->port, std::cout, std::cerr);
    }
    case vspd::Action::kTrace:
      return vspd::RunTrace(config.socket, invocation->port, invocation->pcap_path, std::cout,
                            std::cerr);
    case vspd::Action::kRun:
      break;
  }
  vspd::BlockDaemonSignals();
  try {
    if (const auto slash = config.hive.rfind('/'); slash != std::string::npos && slash > 0) {
      vspd::EnsureDirectory(config.hive.substr(0, slash));
    }
    auto registry = registry::OpenSqliteHive(config.hive);
    const auto service = vspd::MakeSystemdServiceManager();
    vspd::Daemon daemon(config, *registry, *service);
    if (config.connect_enabled) daemon.ConnectEnabledPorts();
    daemon.Run();
  } catch (const std::exception& error) {
    vspd::LogError(error.what());
    return 1;
  }
  return 0;
}
