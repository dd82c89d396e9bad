// The status document of the daemon, as JSON: every port with its link, whether it is connected,
// its endpoints, its flow state, its counters and, while a program holds it, the line as the
// program set it with what a pty cannot carry. The daemon builds it, the client prints it as
// a table. Pure functions; thread-safe.
#ifndef KETRA_DAEMON_STATUS_REPORT_H_
#define KETRA_DAEMON_STATUS_REPORT_H_

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "daemon/port.h"

namespace ketra::vspd {

struct DaemonFacts {
  long pid = 0;
  std::string socket;
  std::string hive;
};

nlohmann::json PortStatus(const VirtualPort& port);
std::string BuildStatusJson(const DaemonFacts& facts, const std::vector<const VirtualPort*>& ports);

// One line per port under a header line. Throws nlohmann::json::exception for a document that
// lacks what the daemon puts in.
std::string FormatStatusTable(const nlohmann::json& status);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_STATUS_REPORT_H_
