// A move-only owner of one file descriptor (file, lock file, socket, pty master, epoll,
// signalfd, timerfd). Closing happens exactly once, in Reset or the destructor. Not thread-safe;
// an Fd belongs to whoever holds it.
//
// The header names no system header, so every layer may hold an Fd; closing is the system's and
// lives in fd_posix.cpp.
#ifndef KETRA_PLATFORM_RUNTIME_FD_H_
#define KETRA_PLATFORM_RUNTIME_FD_H_

#include <utility>

namespace ketra::runtime {

class Fd {
 public:
  Fd() = default;
  explicit Fd(int fd) : fd_(fd) {}
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  Fd(Fd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Fd& operator=(Fd&& other) noexcept {
    if (this != &other) {
      Reset();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }
  ~Fd() { Reset(); }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  explicit operator bool() const { return valid(); }

  // Closes the descriptor held, if any. Returns 0, or the errno of a close that reported an
  // error (the descriptor is gone either way).
  int Reset();

 private:
  int fd_ = -1;
};

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_FD_H_
