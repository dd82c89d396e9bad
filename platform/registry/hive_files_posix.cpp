#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/registry/hive_files.h"
#include "platform/runtime/directories.h"
#include "platform/runtime/fd.h"

namespace ketra::registry {

bool HiveFileExists(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0;
}

Status MakeHiveDirectories(const std::string& path) {
  const int error = runtime::MakeParentDirectories(path);
  if (error == 0) return kErrorSuccess;
  return error == EACCES || error == EPERM || error == EROFS ? kErrorAccessDenied
                                                             : kErrorRegistryIoFailed;
}

void CreateSharedHiveFile(const std::string& path) {
  // SQLite gives its -wal and -shm files the mode of the main file.
  const runtime::Fd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0660));
  if (fd) ::fchmod(fd.get(), 0660);
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
