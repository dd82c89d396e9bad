// Tells the daemon when a program opens a port's device: one inotify instance for all ports
// (the kernel allows only a few instances per user, 128 by default, and a daemon may serve 1024
// ports), with a watch (IN_OPEN) per device. An open only wakes the port, which then asks the
// pty itself whether a program holds it, so merged or lost events cannot mislead it.
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

  // Runs `opened` after `path` has been opened. Throws std::system_error.
  void Add(const std::string& path, std::function<void()> opened);

 private:
  void OnEvents();

  Poller& poller_;
  runtime::Fd inotify_;
  Poller::WatchId watch_ = 0;
  std::map<int, std::function<void()>> callbacks_;  // by inotify watch descriptor
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_OPEN_WATCH_H_
