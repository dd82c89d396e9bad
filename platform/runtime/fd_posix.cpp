#include <unistd.h>

#include <cerrno>

#include "platform/runtime/fd.h"

namespace ketra::runtime {

int Fd::Reset() {
  if (fd_ < 0) return 0;
  const int fd = std::exchange(fd_, -1);
  // On Linux the descriptor is released even when close reports an error, so no retry.
  return ::close(fd) == 0 ? 0 : errno;
}

}  // namespace ketra::runtime
