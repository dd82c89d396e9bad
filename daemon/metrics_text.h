// The daemon's status as Prometheus metrics, in the text exposition format: one family per
// status field, `ketra_port_<field>{port="COM3"}`, counters ending in `_total`, states as 0 or
// 1, and `ketra_port_info` carrying each port's link, pty, endpoints and flow as labels. Made
// from the status document itself (status_report.h), so that `ketra-vspd status --format
// prometheus` and the file the service writes for node_exporter's textfile collector say the
// same, and a field added to the document shows here with no second list: a field the list of
// status fields does not know becomes a gauge of its key, strings become labels of an `_info`
// family. Pure functions; thread-safe.
#ifndef KETRA_DAEMON_METRICS_TEXT_H_
#define KETRA_DAEMON_METRICS_TEXT_H_

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace ketra::vspd {

// Throws nlohmann::json::exception for a document without its "ports" list.
std::string FormatPrometheus(const nlohmann::json& status);

// A label value as the exposition format wants it inside double quotes: backslash, double quote
// and line feed escaped.
std::string EscapeLabelValue(std::string_view text);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_METRICS_TEXT_H_
