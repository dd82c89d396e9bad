#include <sys/stat.h>

#include "platform/runtime/user_places.h"

namespace ketra::runtime {

bool PlaceExists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace ketra::runtime
