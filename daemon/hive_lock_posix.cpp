#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "daemon/hive_lock.h"
#include "platform/runtime/lock_file.h"

namespace ketra::vspd {

runtime::Fd LockHive(const std::string& hive) {
  const std::string path = hive + ".vspd-lock";
  runtime::Fd fd = runtime::OpenLockFile(path);
  if (!fd) throw std::runtime_error("cannot open " + path + ": " + std::strerror(errno));
  if (!runtime::TryLockFile(fd)) {
    throw std::runtime_error("another daemon serves the hive " + hive + " (lock " + path + ")");
  }
  return fd;
}

}  // namespace ketra::vspd
