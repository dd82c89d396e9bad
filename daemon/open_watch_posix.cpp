#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "daemon/open_watch.h"

namespace ketra::vspd {

OpenWatch::OpenWatch(Poller& poller)
    : poller_(poller), inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!inotify_) throw std::system_error(errno, std::generic_category(), "inotify_init1");
  watch_ = poller_.Add(inotify_.get(), kReadable, [this](std::uint32_t) { OnEvents(); });
}

OpenWatch::~OpenWatch() { poller_.Remove(watch_); }

void OpenWatch::Add(const std::string& path, Touched touched) {
  const int descriptor =
      ::inotify_add_watch(inotify_.get(), path.c_str(), IN_OPEN | IN_CLOSE_WRITE);
  if (descriptor < 0) {
    throw std::system_error(errno, std::generic_category(), "inotify_add_watch " + path);
  }
  callbacks_[descriptor] = std::move(touched);
}

void OpenWatch::OnEvents() {
  alignas(inotify_event) char buffer[8192];
  std::map<int, bool> touched;  // watch descriptor -> closed after writing
  for (;;) {
    const ssize_t size = ::read(inotify_.get(), buffer, sizeof buffer);
    if (size <= 0) break;
    for (ssize_t at = 0; at < size;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
      touched[event->wd] |= (event->mask & IN_CLOSE_WRITE) != 0;
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
  }
  // Each port once per batch, however many events it saw. (A queue overflow, IN_Q_OVERFLOW with
  // watch descriptor -1, names no port; the ports then learn of a program at its next event.)
  for (const auto& [descriptor, closed] : touched) {
    if (const auto found = callbacks_.find(descriptor); found != callbacks_.end()) {
      found->second(closed);
    }
  }
}

}  // namespace ketra::vspd
