#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/registry/hive_files.h"

namespace ketra::registry {

bool HiveFileExists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0;
}

Status MakeHiveDirectories(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string dir = path.substr(0, slash);
    if (::mkdir(dir.c_str(), 0755) == 0 || errno == EEXIST) continue;
    return errno == EACCES || errno == EPERM || errno == EROFS ? kErrorAccessDenied
                                                               : kErrorRegistryIoFailed;
  }
  return kErrorSuccess;
}

void CreateSharedHiveFile(const std::string& path) {
  // SQLite gives its -wal and -shm files the mode of the main file.
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0660);
  if (fd >= 0) {
    ::fchmod(fd, 0660);
    ::close(fd);
  }
}

bool HiveFileReadDenied(const std::string& path) {
  return ::access(path.c_str(), R_OK) != 0 && errno == EACCES;
}

std::string WhyHiveIsMissing(const std::string& path) {
  struct stat info {};
  const int error = ::stat(path.c_str(), &info) == 0 ? 0 : errno;
  if (error == EACCES) return "no permission";
  if (error == ENOENT || error == ENOTDIR) {
    const std::string directory = path.substr(0, path.find_last_of('/') + 1);
    if (!directory.empty() && ::stat(directory.c_str(), &info) != 0) {
      return "path missing (no directory " + directory + ")";
    }
  }
  return {};
}

}  // namespace ketra::registry
