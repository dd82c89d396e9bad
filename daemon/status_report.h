// The status document of the daemon, as JSON: every port with its link, whether it is connected,
// its endpoints, its flow state, its counters and, while a program holds it, the line as the
// program set it with what a pty cannot carry. The daemon builds it, the client prints it as
// a table or as Prometheus metrics (metrics_text.h). Pure functions; thread-safe.
#ifndef KETRA_DAEMON_STATUS_REPORT_H_
#define KETRA_DAEMON_STATUS_REPORT_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "daemon/port.h"

namespace ketra::vspd {

// Every number and yes/no of a port in the document, with what it means: the one list from which
// the document, the table and the metrics are made, so that a counter added here shows
// everywhere. Counters only grow; states are 0 or 1 (true or false in the document).
struct StatusField {
  enum class Kind { kCounter, kState };
  const char* name;  // the document's key
  Kind kind;
  const char* help;  // one sentence, for the metrics
  std::uint64_t (*value)(const VirtualPort& port);
};
extern const std::vector<StatusField> kStatusFields;
// The field of that key, or null.
const StatusField* FindStatusField(std::string_view name);

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
