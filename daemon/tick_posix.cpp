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
  watch_ = poller_.Add(timer_.get(), kReadable, [this](std::uint32_t) { OnTimer(); });
}

Tick::~Tick() { poller_.Remove(watch_); }

void Tick::Arm() {
  if (!armed_) Set(true);
}

void Tick::Disarm() {
  if (armed_) Set(false);
}

void Tick::Set(bool armed) {
  itimerspec when{};
  if (armed) {
    when.it_interval.tv_sec = 1;
    when.it_value.tv_sec = 1;
  }
  // All zero disarms; an expiry not yet read goes with it.
  if (::timerfd_settime(timer_.get(), 0, &when, nullptr) == 0) armed_ = armed;
}

void Tick::OnTimer() {
  std::uint64_t expirations = 0;
  if (::read(timer_.get(), &expirations, sizeof expirations) < 0) return;
  on_tick_();
}

}  // namespace ketra::vspd
