#include <sys/resource.h>

#include <algorithm>

#include "daemon/descriptor_limit.h"

namespace ketra::vspd {

void RaiseDescriptorLimit(std::size_t ports) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  const rlim_t wanted = static_cast<rlim_t>(ports * 3 + 256);
  if (limit.rlim_cur >= wanted) return;
  limit.rlim_cur = std::min(wanted, limit.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace ketra::vspd
