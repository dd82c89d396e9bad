#include "daemon/event_loop.h"

#include <sys/epoll.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace ketra::vspd {

static_assert(kReadable == EPOLLIN && kWritable == EPOLLOUT && kFault == EPOLLERR &&
              kHangUp == EPOLLHUP && kPeerClosed == EPOLLRDHUP);

EventLoop::EventLoop() : epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
  if (!epoll_) throw std::system_error(errno, std::generic_category(), "epoll_create1");
}

EventLoop::WatchId EventLoop::Add(int fd, std::uint32_t events, Callback callback) {
  const WatchId id = next_id_++;
  epoll_event event{};
  event.events = events;
  event.data.u64 = id;
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd, &event) != 0) {
    throw std::system_error(errno, std::generic_category(), "epoll_ctl add");
  }
  watches_.emplace(id, Watch{fd, events, std::move(callback)});
  return id;
}

void EventLoop::Modify(WatchId id, std::uint32_t events) {
  const auto found = watches_.find(id);
  if (found == watches_.end() || found->second.events == events) return;
  epoll_event event{};
  event.events = events;
  event.data.u64 = id;
  if (::epoll_ctl(epoll_.get(), EPOLL_CTL_MOD, found->second.fd, &event) == 0) {
    found->second.events = events;
  }
}

void EventLoop::Remove(WatchId id) {
  const auto found = watches_.find(id);
  if (found == watches_.end()) return;
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, found->second.fd, nullptr);
  watches_.erase(found);
}

int EventLoop::RunOnce(int timeout_ms) {
  std::array<epoll_event, 256> events;
  const int ready = ::epoll_wait(epoll_.get(), events.data(), events.size(), timeout_ms);
  if (ready < 0) {
    if (errno == EINTR) return 0;
    throw std::system_error(errno, std::generic_category(), "epoll_wait");
  }
  int ran = 0;
  for (int i = 0; i < ready; ++i) {
    // epoll_event is packed: its 64-bit data may sit unaligned, so it is copied out before a
    // reference to it is taken.
    const std::uint64_t id = events[i].data.u64;
    const auto found = watches_.find(id);
    if (found == watches_.end()) continue;  // removed by an earlier callback of this batch
    // A copy, so that the callback may remove its own watch.
    const Callback callback = found->second.callback;
    callback(events[i].events);
    ++ran;
  }
  return ran;
}

}  // namespace ketra::vspd
