// The daemon's housekeeping tick: a timerfd in the loop that runs a callback once a second
// (closing idle control connections, logging losses, telling the service manager a changed
// status). Owns the timerfd and its watch. Single-threaded (the loop's).
#ifndef KETRA_DAEMON_TICK_H_
#define KETRA_DAEMON_TICK_H_

#include <functional>

#include "daemon/event_loop.h"
#include "platform/runtime/fd.h"

namespace ketra::vspd {

class Tick {
 public:
  // Throws std::runtime_error when the kernel gives no timer.
  Tick(Poller& poller, std::function<void()> on_tick);
  Tick(const Tick&) = delete;
  Tick& operator=(const Tick&) = delete;
  ~Tick();

 private:
  void OnTimer();

  Poller& poller_;
  std::function<void()> on_tick_;
  runtime::Fd timer_;
  Poller::WatchId watch_ = 0;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_TICK_H_
