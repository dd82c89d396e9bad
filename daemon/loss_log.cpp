#include "daemon/loss_log.h"

namespace ketra::vspd {

std::optional<std::string> LossLog::Update(const std::string& port, const PortCounters& counters,
                                           std::chrono::steady_clock::time_point now) {
  const std::uint64_t total = counters.lost_events();
  const bool growing = total > previous_total_;
  previous_total_ = total;
  if (!growing) {
    losing_ = false;
    return std::nullopt;
  }
  if (last_line_ && now - *last_line_ < kInterval) {
    losing_ = true;
    return std::nullopt;
  }
  std::string line = port + (losing_ ? ": still losing data:" : ": losing data:");
  const auto part = [&](std::uint64_t now_count, std::uint64_t before, const char* what) {
    if (now_count > before) line += " " + std::to_string(now_count - before) + " " + what + ";";
  };
  part(counters.dropped_datagrams, reported_.dropped_datagrams,
       "datagrams dropped by the kernel (receive buffer full; software flow would hold the "
       "terminal)");
  part(counters.unheld_bytes, reported_.unheld_bytes,
       "bytes from the terminal while no program held the port");
  part(counters.discarded_bytes, reported_.discarded_bytes,
       "bytes from the program while not connected");
  part(counters.send_errors, reported_.send_errors, "datagrams the kernel refused to send");
  part(counters.pty_error_bytes, reported_.pty_error_bytes, "bytes the pty refused");
  line.pop_back();
  reported_ = counters;
  last_line_ = now;
  losing_ = true;
  return line;
}

}  // namespace ketra::vspd
