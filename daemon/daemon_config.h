// The command line of ketra-vspd and its configuration file, parsed into what to do:
//   ketra-vspd [run] [--hive PATH] [--socket PATH] [--link-dir DIR] [--ports COM3,COM4,...
//              | --count N --first 3] [--config FILE] [--connect-enabled] [--group NAME]
//              [--bind-address A.B.C.D] [--max-datagram BYTES] [--metrics-file PATH]
//   ketra-vspd status [--json | --format table|json|prometheus] | connect PORT | disconnect PORT
//              | trace PORT [--pcap FILE]   (with --hive, --socket)
//   ketra-vspd --version | --help
// The configuration file (see platform/runtime/site_config.h) gives `hive` and `socket` before
// any section and the other options in [daemon], as `name = value` lines (e.g.
// `ports = "COM3,COM4"`, `connect-enabled = true`); the command line wins over it. An unknown
// section or key is an error naming the file and the line. Every usage error exits with 2.
// Pure parsing apart from reading the file and the environment for defaults; thread-safe.
#ifndef KETRA_DAEMON_DAEMON_CONFIG_H_
#define KETRA_DAEMON_DAEMON_CONFIG_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ketra::vspd {

inline constexpr std::size_t kMaxPorts = 1024;

struct DaemonConfig {
  std::string hive;
  std::string socket;
  std::string link_directory;
  std::vector<std::string> ports;
  bool connect_enabled = false;
  std::string group = "dialout";
  std::uint32_t bind_address = 0;  // host byte order; 0 is every interface
  std::size_t max_datagram = 8192;
  // Where to keep the metrics for node_exporter's textfile collector; empty: nowhere.
  std::string metrics_file;
};

enum class Action { kRun, kStatus, kConnect, kDisconnect, kTrace };

enum class StatusFormat { kTable, kJson, kPrometheus };

struct Invocation {
  Action action = Action::kRun;
  DaemonConfig config;
  std::string port;                            // connect, disconnect, trace
  std::string pcap_path;                       // trace
  StatusFormat format = StatusFormat::kTable;  // status
};

// nullopt when the program should stop at once: *exit_code and *output (help text or the
// error) say how.
std::optional<Invocation> ParseCommandLine(int argc, const char* const* argv, std::string* output,
                                           int* exit_code);

// A private directory of the user: $XDG_RUNTIME_DIR/ketra-vspd, else
// ~/.local/state/ketra/run/ketra-vspd (platform/runtime/user_places.h). The service names its own
// (/run/ketra/ports) in its configuration file.
std::string DefaultLinkDirectory();

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DAEMON_CONFIG_H_
