#include "daemon/daemon_config.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>

#include <CLI/CLI.hpp>

#include "config_appl/port/address.h"
#include "platform/device/vspd_protocol.h"
#include "platform/device/vspd_socket_path.h"
#include "platform/net/inet.h"
#include "platform/registry/hive_location.h"
#include "platform/runtime/build_info.h"
#include "platform/runtime/site_config.h"
#include "platform/runtime/strings.h"

namespace ketra::vspd {
namespace {

// Checks what CLI11 cannot: names, duplicates, the address. Throws CLI::ValidationError.
void Validate(DaemonConfig& config, const std::string& bind_text) {
  if (config.ports.empty() || config.ports.size() > kMaxPorts) {
    throw CLI::ValidationError("--ports", "between 1 and " + std::to_string(kMaxPorts) + " ports");
  }
  std::set<std::string> seen;
  for (const std::string& name : config.ports) {
    if (!device::wire::IsValidPortName(name)) {
      throw CLI::ValidationError(
          "--ports", "bad port name '" + name + "': 1 to 32 letters, digits, '_' or '-'");
    }
    if (!seen.insert(runtime::AsciiUpper(name)).second) {
      throw CLI::ValidationError("--ports", "port " + name + " named twice");
    }
  }
  const std::uint32_t address = StoredFromText(bind_text);
  if ((address == net::kInaddrNone && bind_text != "255.255.255.255") ||
      std::count(bind_text.begin(), bind_text.end(), '.') != 3) {
    throw CLI::ValidationError("--bind-address", "not a dotted address: " + bind_text);
  }
  config.bind_address = HostFromStored(address);  // the daemon works in host order
}

bool ParseBool(const std::string& text, bool* value) {
  if (text == "true" || text == "yes" || text == "1") return *value = true, true;
  if (text == "false" || text == "no" || text == "0") return *value = false, true;
  return false;
}

std::vector<std::string> SplitPorts(const std::string& text) {
  std::vector<std::string> ports;
  std::string::size_type start = 0;
  for (;;) {
    const auto comma = text.find(',', start);
    std::string name = text.substr(start, comma - start);
    name.erase(0, name.find_first_not_of(" \t"));
    name.erase(name.find_last_not_of(" \t") + 1);
    ports.push_back(name);
    if (comma == std::string::npos) return ports;
    start = comma + 1;
  }
}

// Takes from the configuration file every option the command line did not give. Keys before any
// section are the machine's (hive, socket), read by every program; [daemon] holds the rest.
// Throws std::runtime_error "FILE:LINE: why" for an unknown section or key or a bad value.
void ApplyConfigFile(const std::string& file, CLI::App& app, DaemonConfig& config,
                     std::vector<std::string>& ports, std::string& bind_text) {
  const auto entries = runtime::ReadConfigFile(file);
  if (!entries.ok()) throw std::runtime_error(entries.status().message());
  for (const runtime::ConfigEntry& entry : *entries) {
    const std::string where = file + ":" + std::to_string(entry.line) + ": ";
    const bool top = entry.section.empty();
    if (!top && entry.section != "daemon") {
      throw std::runtime_error(file + ":" + std::to_string(entry.section_line) +
                               ": unknown section [" + entry.section + "]");
    }
    const bool known =
        top ? (entry.key == "hive" || entry.key == "socket")
            : (entry.key == "link-dir" || entry.key == "ports" || entry.key == "connect-enabled" ||
               entry.key == "group" || entry.key == "bind-address" || entry.key == "max-datagram" ||
               entry.key == "metrics-file");
    if (!known) {
      throw std::runtime_error(where + "unknown key '" + entry.key + "'" +
                               (top ? "" : " in [" + entry.section + "]"));
    }
    if (app.get_option("--" + entry.key)->count() > 0) continue;  // the command line wins
    if (entry.key == "hive") {
      config.hive = entry.value;
    } else if (entry.key == "socket") {
      config.socket = entry.value;
    } else if (entry.key == "link-dir") {
      config.link_directory = entry.value;
    } else if (entry.key == "metrics-file") {
      config.metrics_file = entry.value;
    } else if (entry.key == "group") {
      config.group = entry.value;
    } else if (entry.key == "bind-address") {
      bind_text = entry.value;
    } else if (entry.key == "ports") {
      if (app.get_option("--count")->count() == 0) ports = SplitPorts(entry.value);
    } else if (entry.key == "connect-enabled") {
      if (!ParseBool(entry.value, &config.connect_enabled)) {
        throw std::runtime_error(where + "connect-enabled must be true or false");
      }
    } else {
      char* end = nullptr;
      const unsigned long bytes = std::strtoul(entry.value.c_str(), &end, 10);
      if (entry.value.empty() || *end != '\0' || bytes < 1 || bytes > 65507) {
        throw std::runtime_error(where + "max-datagram must be a number from 1 to 65507");
      }
      config.max_datagram = bytes;
    }
  }
}

}  // namespace

std::optional<Invocation> ParseCommandLine(int argc, const char* const* argv, std::string* output,
                                           int* exit_code) {
  Invocation invocation;
  DaemonConfig& config = invocation.config;
  CLI::App app{"ketra-vspd: virtual serial ports as ptys, each bridged to UDP"};
  app.set_version_flag("--version", "ketra-vspd " KETRA_VERSION);
  std::string config_file;
  app.add_option("--config", config_file,
                 "read options from this file (e.g. " + runtime::SiteConfigPath() + ")");
  app.add_option("--hive", config.hive, "hive file (default: $KETRA_HIVE or the user's state)");
  app.add_option("--socket", config.socket,
                 "control socket (default: $KETRA_VSPD_SOCKET, $XDG_RUNTIME_DIR/ketra-vspd.sock)");
  app.add_option("--link-dir", config.link_directory, "directory of the ports' links");
  std::vector<std::string> ports;
  auto* ports_option =
      app.add_option("--ports", ports, "port names, comma separated")->delimiter(',');
  std::size_t count = 4;
  int first = 3;
  auto* count_option = app.add_option("--count", count, "number of ports COM<first>...")
                           ->check(CLI::Range(std::size_t{1}, kMaxPorts));
  app.add_option("--first", first, "number of the first port with --count")
      ->check(CLI::Range(0, 9999));
  ports_option->excludes(count_option);
  app.add_flag("--connect-enabled", config.connect_enabled,
               "connect at start every port whose stored settings say enabled");
  app.add_option("--group", config.group, "group of the ptys and the socket (\"\" for none)");
  std::string bind_text = "0.0.0.0";
  app.add_option("--bind-address", bind_text, "local address of the UDP sockets");
  app.add_option("--max-datagram", config.max_datagram, "largest datagram sent, in bytes")
      ->check(CLI::Range(std::size_t{1}, std::size_t{65507}));
  app.add_option("--metrics-file", config.metrics_file,
                 "keep the ports' metrics in this file for node_exporter's textfile collector");

  auto* run = app.add_subcommand("run", "run the daemon in the foreground (the default)");
  auto* status = app.add_subcommand("status", "show every port of the running daemon");
  bool json = false;
  auto* json_flag = status->add_flag("--json", json, "print the daemon's status document as it is");
  status
      ->add_option("--format", invocation.format,
                   "table, json (the document as it is) or prometheus (text exposition format)")
      ->transform(CLI::CheckedTransformer(
          std::map<std::string, StatusFormat>{{"table", StatusFormat::kTable},
                                              {"json", StatusFormat::kJson},
                                              {"prometheus", StatusFormat::kPrometheus}}))
      ->excludes(json_flag);
  auto* connect = app.add_subcommand("connect", "connect PORT with its stored settings");
  connect->add_option("PORT", invocation.port, "port name")->required();
  auto* disconnect = app.add_subcommand("disconnect", "disconnect PORT");
  disconnect->add_option("PORT", invocation.port, "port name")->required();
  auto* trace = app.add_subcommand("trace", "show what goes through PORT, live, until Ctrl-C");
  trace->add_option("PORT", invocation.port, "port name")->required();
  trace->add_option("--pcap", invocation.pcap_path, "also write the trace to this pcapng file");
  for (auto* sub : {run, status, connect, disconnect, trace}) sub->fallthrough();
  app.require_subcommand(0, 1);

  try {
    app.parse(argc, argv);
    if (*status) invocation.action = Action::kStatus;
    if (json) invocation.format = StatusFormat::kJson;
    if (*connect) invocation.action = Action::kConnect;
    if (*disconnect) invocation.action = Action::kDisconnect;
    if (*trace) invocation.action = Action::kTrace;
    if (!config_file.empty()) ApplyConfigFile(config_file, app, config, ports, bind_text);
    if (!ports.empty()) {
      config.ports = ports;
    } else {
      for (std::size_t i = 0; i < count; ++i) {
        config.ports.push_back("COM" + std::to_string(first + static_cast<int>(i)));
      }
    }
    Validate(config, bind_text);
  } catch (const CLI::ParseError& error) {
    std::ostringstream out;
    std::ostringstream err;
    // Help and version end well; every mistake in the command line is a usage error, 2.
    *exit_code = app.exit(error, out, err) == 0 ? 0 : 2;
    *output = out.str() + err.str();
    return std::nullopt;
  } catch (const std::runtime_error& error) {
    *exit_code = 2;
    *output = std::string("ketra-vspd: ") + error.what() + "\n";
    return std::nullopt;
  }
  if (config.hive.empty()) config.hive = registry::DefaultHivePath();
  if (config.socket.empty()) config.socket = device::DefaultVspdSocketPath();
  if (config.link_directory.empty()) config.link_directory = DefaultLinkDirectory();
  return invocation;
}

}  // namespace ketra::vspd
