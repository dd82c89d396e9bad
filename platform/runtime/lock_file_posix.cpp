#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/runtime/lock_file.h"

namespace ketra::runtime {

Fd OpenLockFile(const std::string& path) {
  Fd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0660));
  if (fd) {
    ::fchmod(fd.get(), 0660);  // only the file's owner may; anyone else leaves it as it is
    return fd;
  }
  if (errno == EACCES) fd = Fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return fd;
}

bool TryLockFile(const Fd& fd) {
  if (!fd) return false;
  int result;
  do {
    result = ::flock(fd.get(), LOCK_EX | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

}  // namespace ketra::runtime
