#include "daemon/status_report.h"

#include <cstdio>

namespace ketra::vspd {
namespace {

std::string Pad(const std::string& text, std::size_t width) {
  return text.size() >= width ? text + " " : text + std::string(width - text.size(), ' ');
}

}  // namespace

nlohmann::json PortStatus(const VirtualPort& port) {
  const PortCounters& c = port.counters();
  nlohmann::json status = {
      {"name", port.name()},
      {"link", port.link_path()},
      {"pty", port.pty_path()},
      {"connected", port.connected()},
      {"held", port.held()},
      {"local", nullptr},
      {"remote", nullptr},
      {"flow", nullptr},
      {"paused", port.connected() && port.paused()},
      {"stopped_terminal", port.stopped_terminal()},
      {"bytes_to_udp", c.bytes_to_udp},
      {"datagrams_to_udp", c.datagrams_to_udp},
      {"bytes_to_pty", c.bytes_to_pty},
      {"datagrams_from_udp", c.datagrams_from_udp},
      {"stranger_datagrams", c.stranger_datagrams},
      {"stranger_bytes", c.stranger_bytes},
      {"dropped_datagrams", c.dropped_datagrams},
      {"unheld_bytes", c.unheld_bytes},
      {"discarded_bytes", c.discarded_bytes},
      {"send_errors", c.send_errors},
      {"send_error_bytes", c.send_error_bytes},
      {"pty_error_bytes", c.pty_error_bytes},
      {"xoff_sent", c.xoff_sent},
      {"xon_sent", c.xon_sent},
  };
  if (const auto& settings = port.settings()) {
    status["local"] = port.local_endpoint().ToString();
    status["remote"] = settings->remote.ToString();
    status["flow"] = settings->software_flow ? "software" : "hardware";
  }
  return status;
}

std::string BuildStatusJson(const DaemonFacts& facts,
                            const std::vector<const VirtualPort*>& ports) {
  nlohmann::json list = nlohmann::json::array();
  for (const VirtualPort* port : ports) list.push_back(PortStatus(*port));
  return nlohmann::json{{"pid", facts.pid},
                        {"socket", facts.socket},
                        {"hive", facts.hive},
                        {"ports", std::move(list)}}
      .dump();
}

std::string FormatStatusTable(const nlohmann::json& status) {
  std::string out = "daemon pid " + std::to_string(status.at("pid").get<long>()) + ", socket " +
                    status.at("socket").get<std::string>() + ", hive " +
                    status.at("hive").get<std::string>() + "\n";
  out += Pad("PORT", 8) + Pad("LINK", 24) + Pad("STATE", 14) + Pad("OPEN", 5) + Pad("LOCAL", 22) +
         Pad("REMOTE", 22) + Pad("TO UDP bytes/dgrams", 22) + Pad("TO PTY bytes/dgrams", 22) +
         Pad("STRANGERS dgrams/bytes", 24) +
         "LOST kernel-dgrams/unheld/discarded/send-errors/pty-errors\n";
  for (const auto& port : status.at("ports")) {
    const bool connected = port.at("connected").get<bool>();
    std::string state = connected ? "connected" : "disconnected";
    if (connected && port.at("paused").get<bool>()) state = "paused(XOFF)";
    if (connected && port.at("stopped_terminal").get<bool>()) state = "sent-XOFF";
    const auto text = [&](const char* key) {
      return port.at(key).is_null() ? std::string("-") : port.at(key).get<std::string>();
    };
    const auto number = [&](const char* key) {
      return std::to_string(port.at(key).get<std::uint64_t>());
    };
    out += Pad(port.at("name").get<std::string>(), 8) +
           Pad(port.at("link").get<std::string>(), 24) + Pad(state, 14) +
           Pad(port.at("held").get<bool>() ? "yes" : "no", 5) + Pad(text("local"), 22) +
           Pad(text("remote"), 22) +
           Pad(number("bytes_to_udp") + "/" + number("datagrams_to_udp"), 22) +
           Pad(number("bytes_to_pty") + "/" + number("datagrams_from_udp"), 22) +
           Pad(number("stranger_datagrams") + "/" + number("stranger_bytes"), 24) +
           number("dropped_datagrams") + "/" + number("unheld_bytes") + "/" +
           number("discarded_bytes") + "/" + number("send_errors") + "/" +
           number("pty_error_bytes") + "\n";
  }
  return out;
}

}  // namespace ketra::vspd
