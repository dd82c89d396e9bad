// The moment a window's first frame has been shown, for the start-up benchmark: a monotonic
// timestamp in nanoseconds (CLOCK_MONOTONIC, the clock the benchmark reads before it starts the
// process), printed as one line "first-frame NS" on standard output.
//
// Stateless; any thread.
#ifndef KETRA_WINDOW_FIRST_FRAME_H_
#define KETRA_WINDOW_FIRST_FRAME_H_

#include <cstdint>

namespace ketra::window {

std::int64_t MonotonicNanoseconds();
void PrintFirstFrame();

}  // namespace ketra::window

#endif  // KETRA_WINDOW_FIRST_FRAME_H_
