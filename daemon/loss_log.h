// When a port loses data the log says so, at the start of the loss and then at most once per
// interval while it goes on, with what was lost since the last line, so that a burst is seen
// without a line per datagram. One per port; the daemon feeds it the counters on every tick.
// Plain value type; single-threaded.
#ifndef KETRA_DAEMON_LOSS_LOG_H_
#define KETRA_DAEMON_LOSS_LOG_H_

#include <chrono>
#include <optional>
#include <string>

#include "daemon/port.h"

namespace ketra::vspd {

class LossLog {
 public:
  static constexpr std::chrono::seconds kInterval{10};

  // The line to log now, if any.
  std::optional<std::string> Update(const std::string& port, const PortCounters& counters,
                                    std::chrono::steady_clock::time_point now);

 private:
  PortCounters reported_;  // as of the last line
  std::uint64_t previous_total_ = 0;
  bool losing_ = false;
  std::optional<std::chrono::steady_clock::time_point> last_line_;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_LOSS_LOG_H_
