#include "daemon/status_report.h"

#include <cstdio>

namespace ketra::vspd {
namespace {

std::string Pad(const std::string& text, std::size_t width) {
  return text.size() >= width ? text + " " : text + std::string(width - text.size(), ' ');
}

// The parity the program asked for, as far as the pty shows it: the kernel's pty driver clears
// PARENB in every request, and leaves PARODD and CMSPAR, so odd, mark and space show but even
// cannot be told from none.
std::string ParityOf(const ProgramLine& line) {
  if (line.parity_stick) return line.parity_odd ? "mark" : "space";
  if (line.parity_odd) return "odd";
  return line.parity_enabled ? "even" : "none or even";
}

// The program's line: what it set, and what a pty cannot carry whatever it set.
nlohmann::json ProgramLineStatus(const ProgramLine& line, bool output_stopped) {
  nlohmann::json not_carried = {"data bits", "parity", "modem lines", "break"};
  if (line.rts_cts) not_carried.push_back("RTS/CTS flow");
  return {
      {"speed", line.speed},
      // 8 is all a pty holds on Linux, whatever was asked; another size is what was asked.
      {"data_bits", line.data_bits == 8 ? nlohmann::json(nullptr) : nlohmann::json(line.data_bits)},
      {"parity", ParityOf(line)},
      {"stop_bits", line.stop_bits},
      {"xon_xoff_output", line.xon_xoff_output},
      {"xon_xoff_input", line.xon_xoff_input},
      {"rts_cts", line.rts_cts},
      {"output_stopped", output_stopped},
      {"not_carried", std::move(not_carried)},
  };
}

std::string ProgramLineText(const nlohmann::json& line) {
  const auto flag = [&](const char* key) { return line.at(key).get<bool>(); };
  std::string text =
      std::to_string(line.at("speed").get<std::uint32_t>()) + " bits/s, data bits " +
      (line.at("data_bits").is_null() ? std::string("?")
                                      : std::to_string(line.at("data_bits").get<int>())) +
      ", parity " + line.at("parity").get<std::string>() + ", stop bits " +
      std::to_string(line.at("stop_bits").get<int>());
  if (flag("xon_xoff_output") || flag("xon_xoff_input")) {
    text += std::string(", XON/XOFF ") +
            (flag("xon_xoff_output") && flag("xon_xoff_input")
                 ? "both ways"
                 : (flag("xon_xoff_output") ? "on its output" : "on its input"));
  }
  if (flag("rts_cts")) text += ", RTS/CTS";
  if (flag("output_stopped")) text += ", output stopped";
  std::string not_carried;
  for (const auto& what : line.at("not_carried")) {
    not_carried += (not_carried.empty() ? "" : ", ") + what.get<std::string>();
  }
  return text + "; not carried by a pty: " + not_carried;
}

}  // namespace

template <std::uint64_t PortCounters::*member>
std::uint64_t Count(const VirtualPort& port) {
  return port.counters().*member;
}

constexpr auto kCounter = StatusField::Kind::kCounter;
constexpr auto kState = StatusField::Kind::kState;

const std::vector<StatusField> kStatusFields = {
    {"connected", kState, "Whether the port is connected: its UDP socket is bound and relays.",
     [](const VirtualPort& port) -> std::uint64_t { return port.connected(); }},
    {"held", kState, "Whether a program holds the port's device open.",
     [](const VirtualPort& port) -> std::uint64_t { return port.held(); }},
    {"paused", kState, "Whether the terminal sent XOFF: nothing goes toward it until its XON.",
     [](const VirtualPort& port) -> std::uint64_t { return port.connected() && port.paused(); }},
    {"stopped_terminal", kState, "Whether the port sent the terminal XOFF and owes it an XON.",
     [](const VirtualPort& port) -> std::uint64_t { return port.stopped_terminal(); }},
    {"bytes_to_udp", kCounter, "Bytes the program wrote that went to the terminal.",
     &Count<&PortCounters::bytes_to_udp>},
    {"datagrams_to_udp", kCounter, "Datagrams sent to the terminal with the program's bytes.",
     &Count<&PortCounters::datagrams_to_udp>},
    {"bytes_to_pty", kCounter, "Bytes from the terminal that went into the pty.",
     &Count<&PortCounters::bytes_to_pty>},
    {"datagrams_from_udp", kCounter, "Datagrams received from the terminal.",
     &Count<&PortCounters::datagrams_from_udp>},
    {"stranger_datagrams", kCounter,
     "Datagrams from senders other than the terminal, dropped (a loss).",
     &Count<&PortCounters::stranger_datagrams>},
    {"stranger_bytes", kCounter, "Bytes in datagrams from senders other than the terminal.",
     &Count<&PortCounters::stranger_bytes>},
    {"dropped_datagrams", kCounter,
     "Datagrams the kernel dropped for a full receive buffer (a loss).",
     &Count<&PortCounters::dropped_datagrams>},
    {"unheld_bytes", kCounter,
     "Bytes from the terminal while no program held the port, discarded (a loss).",
     &Count<&PortCounters::unheld_bytes>},
    {"discarded_bytes", kCounter,
     "Bytes discarded: the program's while not connected or at a disconnect, and what the "
     "program's flushes threw away (a loss).",
     &Count<&PortCounters::discarded_bytes>},
    {"send_errors", kCounter,
     "Datagrams the kernel refused to send, not for a full buffer "
     "(a loss).",
     &Count<&PortCounters::send_errors>},
    {"send_error_bytes", kCounter, "Bytes in datagrams the kernel refused to send.",
     &Count<&PortCounters::send_error_bytes>},
    {"pty_error_bytes", kCounter, "Bytes the pty refused for good (a loss).",
     &Count<&PortCounters::pty_error_bytes>},
    {"xoff_sent", kCounter, "XOFF characters sent to the terminal (software flow).",
     &Count<&PortCounters::xoff_sent>},
    {"xon_sent", kCounter, "XON characters sent to the terminal (software flow).",
     &Count<&PortCounters::xon_sent>},
};

const StatusField* FindStatusField(std::string_view name) {
  for (const StatusField& field : kStatusFields) {
    if (name == field.name) return &field;
  }
  return nullptr;
}

nlohmann::json PortStatus(const VirtualPort& port) {
  nlohmann::json status = {
      {"name", port.name()}, {"link", port.link_path()}, {"pty", port.pty_path()},
      {"local", nullptr},    {"remote", nullptr},        {"flow", nullptr},
  };
  for (const StatusField& field : kStatusFields) {
    const std::uint64_t value = field.value(port);
    if (field.kind == StatusField::Kind::kState) {
      status[field.name] = value != 0;
    } else {
      status[field.name] = value;
    }
  }
  // What the program set, while one holds the port.
  const auto line = port.program_line();
  status["program"] = line ? ProgramLineStatus(*line, port.program_stopped()) : nullptr;
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
    if (const auto line = port.find("program"); line != port.end() && !line->is_null()) {
      out += Pad("", 8) + "program: " + ProgramLineText(*line) + "\n";
    }
  }
  return out;
}

}  // namespace ketra::vspd
