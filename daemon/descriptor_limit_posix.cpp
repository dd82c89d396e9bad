#include <sys/resource.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "daemon/descriptor_limit.h"

namespace ketra::vspd {

void RaiseDescriptorLimit(std::size_t ports) {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  const rlim_t wanted = static_cast<rlim_t>(DescriptorsFor(ports));
  if (limit.rlim_cur >= wanted) return;
  if (limit.rlim_max < wanted) {
    const rlim_t fit =
        limit.rlim_max > DescriptorsFor(0) ? (limit.rlim_max - DescriptorsFor(0)) / 3 : 0;
    throw std::runtime_error(
        std::to_string(ports) + " ports want " + std::to_string(wanted) +
        " open descriptors, but the hard limit is " + std::to_string(limit.rlim_max) +
        " (ulimit -Hn), which holds " + std::to_string(fit) +
        " ports: serve fewer ports, or raise the limit (LimitNOFILE= in the unit)");
  }
  limit.rlim_cur = wanted;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace ketra::vspd
