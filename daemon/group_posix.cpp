#include <grp.h>

#include <vector>

#include "daemon/group.h"

namespace ketra::vspd {

std::optional<unsigned> FindGroupId(const std::string& name) {
  std::vector<char> buffer(16384);
  struct group entry {};
  struct group* found = nullptr;
  if (::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return std::nullopt;
  }
  return found->gr_gid;
}

}  // namespace ketra::vspd
