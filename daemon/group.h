// The id of a system group by name (the serial devices' group, "dialout" on Debian), for the
// ports and the control socket. Thread-safe (reentrant lookup).
#ifndef KETRA_DAEMON_GROUP_H_
#define KETRA_DAEMON_GROUP_H_

#include <optional>
#include <string>

namespace ketra::vspd {

std::optional<unsigned> FindGroupId(const std::string& name);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_GROUP_H_
