// One pseudo-terminal for a virtual port: the master, which the daemon reads and writes for its
// whole life, and the slave that programs open as the serial device. The daemon holds a slave
// descriptor of its own as well, so the master never sees a hang-up when programs close theirs
// (the pty stays one device, with its settings, across opens). The slave is raw (no echo, no line
// editing, no translation, 8 bits) and belongs to the serial devices' group with mode 0660.
// Move-only owner of both descriptors; single-threaded.
#ifndef KETRA_DAEMON_PTY_H_
#define KETRA_DAEMON_PTY_H_

#include <string>

#include "platform/net/fd.h"

namespace ketra::vspd {

class Pty {
 public:
  // Throws std::system_error when no pty can be had. A group that cannot be given (no such
  // group, or not permitted) is not fatal: *warning then says so and the pty keeps its group.
  static Pty Open(const std::string& group, std::string* warning);

  int master() const { return master_.get(); }
  const std::string& slave_path() const { return slave_path_; }

 private:
  Pty() = default;

  net::Fd master_;
  net::Fd slave_;
  std::string slave_path_;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_PTY_H_
