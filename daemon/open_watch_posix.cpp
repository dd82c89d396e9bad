#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <system_error>

#include "daemon/open_watch.h"

namespace ketra::vspd {

OpenWatch::OpenWatch(Poller& poller)
    : poller_(poller), inotify_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!inotify_) throw std::system_error(errno, std::generic_category(), "inotify_init1");
  watch_ = poller_.Add(inotify_.get(), kReadable, [this](std::uint32_t) { OnEvents(); });
}

OpenWatch::~OpenWatch() { poller_.Remove(watch_); }

void OpenWatch::Add(const std::string& path, std::function<void()> opened) {
  const int descriptor = ::inotify_add_watch(inotify_.get(), path.c_str(), IN_OPEN);
  if (descriptor < 0) {
    throw std::system_error(errno, std::generic_category(), "inotify_add_watch " + path);
  }
  callbacks_[descriptor] = std::move(opened);
}

void OpenWatch::OnEvents() {
  alignas(inotify_event) char buffer[8192];
  std::set<int> opened;
  for (;;) {
    const ssize_t size = ::read(inotify_.get(), buffer, sizeof buffer);
    if (size <= 0) break;
    for (ssize_t at = 0; at < size;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
      opened.insert(event->wd);
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
  }
  // Each port once per batch, however many opens it saw.
  for (const int descriptor : opened) {
    if (const auto found = callbacks_.find(descriptor); found != callbacks_.end()) found->second();
  }
}

}  // namespace ketra::vspd
