// Tells the daemon when a program opens a port's device or closes it after writing: one inotify
// instance for all ports (the kernel allows only a few instances per user, 128 by default, and a
// daemon may serve 1024 ports), with a watch (IN_OPEN, IN_CLOSE_WRITE) per device. An event only
// wakes the port, which then asks the pty itself whether a program holds it, so merged or lost
// events cannot mislead it. Closes after writing are watched, not all closes: the daemon's own
// opens of a device are read-only, and their closes must not wake it again.
// Owns the inotify descriptor and its watch in the loop. Single-threaded (the loop's).
#ifndef KETRA_DAEMON_OPEN_WATCH_H_
#define KETRA_DAEMON_OPEN_WATCH_H_

#include <functional>
#include <map>
#include <string>

#include "daemon/event_loop.h"
#include "platform/runtime/fd.h"

namespace ketra::vspd {

class OpenWatch {
 public:
  // Throws std::system_error when the kernel gives no inotify instance.
  explicit OpenWatch(Poller& poller);
  OpenWatch(const OpenWatch&) = delete;
  OpenWatch& operator=(const OpenWatch&) = delete;
  ~OpenWatch();

  // Runs `touched(closed_after_writing)` after `path` was opened or closed after writing, once
  // per batch of events. Throws std::system_error.
  using Touched = std::function<void(bool closed_after_writing)>;
  void Add(const std::string& path, Touched touched);

 private:
  void OnEvents();

  Poller& poller_;
  runtime::Fd inotify_;
  Poller::WatchId watch_ = 0;
  std::map<int, Touched> callbacks_;  // by inotify watch descriptor
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_OPEN_WATCH_H_
