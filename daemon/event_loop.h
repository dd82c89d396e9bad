// The daemon's one loop: an epoll set in which every source of work is a descriptor (ptys, UDP
// sockets, the control socket and its connections, a signalfd, a timerfd). A watch is named by an
// id that is never reused, so an event that arrives for a watch removed earlier in the same batch
// is recognised and ignored. Owns the epoll descriptor and the callbacks, not the watched
// descriptors. Single-threaded.
#ifndef KETRA_DAEMON_EVENT_LOOP_H_
#define KETRA_DAEMON_EVENT_LOOP_H_

#include <cstdint>
#include <functional>
#include <unordered_map>

#include "platform/runtime/fd.h"

namespace ketra::vspd {

// The epoll event bits, so that users need not include the system header.
inline constexpr std::uint32_t kReadable = 0x001;  // EPOLLIN
inline constexpr std::uint32_t kPriority = 0x002;  // EPOLLPRI (a pty master: the program's events)
inline constexpr std::uint32_t kWritable = 0x004;  // EPOLLOUT
inline constexpr std::uint32_t kFault = 0x008;     // EPOLLERR
inline constexpr std::uint32_t kHangUp = 0x010;    // EPOLLHUP
inline constexpr std::uint32_t kPeerClosed = 0x2000;  // EPOLLRDHUP

// What a port or a server needs of the loop: watches on descriptors. The relay's tests drive a
// port through a fake that fires the callbacks on demand, with no descriptor behind them.
class Poller {
 public:
  using WatchId = std::uint64_t;
  using Callback = std::function<void(std::uint32_t events)>;

  virtual ~Poller() = default;
  // Throws std::system_error when the descriptor cannot be watched.
  virtual WatchId Add(int fd, std::uint32_t events, Callback callback) = 0;
  // Changes what a watch waits for; no system call when nothing changes.
  virtual void Modify(WatchId id, std::uint32_t events) = 0;
  virtual void Remove(WatchId id) = 0;
};

class EventLoop final : public Poller {
 public:
  // Throws std::system_error when the kernel refuses an epoll set.
  EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  WatchId Add(int fd, std::uint32_t events, Callback callback) override;
  void Modify(WatchId id, std::uint32_t events) override;
  void Remove(WatchId id) override;

  // Waits up to timeout_ms (-1: no limit) and runs the callbacks of what became ready.
  // Returns how many ran.
  int RunOnce(int timeout_ms);

 private:
  struct Watch {
    int fd;
    std::uint32_t events;
    Callback callback;
  };
  runtime::Fd epoll_;
  std::unordered_map<WatchId, Watch> watches_;
  WatchId next_id_ = 1;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_EVENT_LOOP_H_
