#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "daemon/tick.h"

namespace ketra::vspd {

Tick::Tick(Poller& poller, std::function<void()> on_tick)
    : poller_(poller),
      on_tick_(std::move(on_tick)),
      timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC)) {
  if (!timer_) throw std::runtime_error(std::string("timerfd: ") + std::strerror(errno));
  itimerspec every_second{};
  every_second.it_interval.tv_sec = 1;
  every_second.it_value.tv_sec = 1;
  ::timerfd_settime(timer_.get(), 0, &every_second, nullptr);
  watch_ = poller_.Add(timer_.get(), kReadable, [this](std::uint32_t) { OnTimer(); });
}

Tick::~Tick() { poller_.Remove(watch_); }

void Tick::OnTimer() {
  std::uint64_t expirations = 0;
  if (::read(timer_.get(), &expirations, sizeof expirations) < 0) return;
  on_tick_();
}

}  // namespace ketra::vspd
