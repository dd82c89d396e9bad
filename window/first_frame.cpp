#include "window/first_frame.h"

#include <time.h>

#include <cstdio>

namespace ketra::window {

std::int64_t MonotonicNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

void PrintFirstFrame() {
  std::printf("first-frame %lld\n", static_cast<long long>(MonotonicNanoseconds()));
  std::fflush(stdout);
}

}  // namespace ketra::window
