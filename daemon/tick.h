// The daemon's housekeeping tick: a timerfd in the loop that runs a callback once a second
// (closing idle control connections, logging losses, telling the service manager a changed
// status, keeping the metrics file), armed only while there is such work, so that an idle
// daemon does not wake at all. Armed, it fires every second (a periodic timerfd: firing costs
// no system call to re-arm); disarmed, its descriptor never becomes ready. Arm and Disarm make a
// system call only when they change something. Owns the timerfd and its watch. Single-threaded
// (the loop's).
#ifndef KETRA_DAEMON_TICK_H_
#define KETRA_DAEMON_TICK_H_

#include <functional>

#include "daemon/event_loop.h"
#include "platform/runtime/fd.h"

namespace ketra::vspd {

class Tick {
 public:
  // Disarmed at first. Throws std::runtime_error when the kernel gives no timer.
  Tick(Poller& poller, std::function<void()> on_tick);
  Tick(const Tick&) = delete;
  Tick& operator=(const Tick&) = delete;
  ~Tick();

  void Arm();
  void Disarm();
  bool armed() const { return armed_; }

 private:
  void OnTimer();
  void Set(bool armed);

  Poller& poller_;
  std::function<void()> on_tick_;
  runtime::Fd timer_;
  Poller::WatchId watch_ = 0;
  bool armed_ = false;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_TICK_H_
