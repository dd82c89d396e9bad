#include <sys/stat.h>

#include <cerrno>

#include "platform/runtime/directories.h"

namespace ketra::runtime {

int MakeDirectories(const std::string& directory, unsigned mode, std::string* failed) {
  if (directory.empty()) return 0;
  for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
    const std::string prefix = directory.substr(0, slash);
    const mode_t bits = slash == std::string::npos ? static_cast<mode_t>(mode) : 0755;
    if (::mkdir(prefix.c_str(), bits) != 0 && errno != EEXIST) {
      const int error = errno;
      if (failed != nullptr) *failed = prefix;
      return error;
    }
    if (slash == std::string::npos) return 0;
  }
}

int MakeParentDirectories(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0) return 0;
  return MakeDirectories(path.substr(0, slash));
}

}  // namespace ketra::runtime
