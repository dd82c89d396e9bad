// A descriptor kept inside a socket, for the service manager's store. The store keeps descriptors
// across a restart but drops one as soon as it reports a hang-up or an error (systemd: "Received
// EPOLLHUP on stored fd ..., closing."), and a pty master reports a hang-up whenever no program
// holds its device. Holding a slave descriptor would keep the master quiet, but then the master
// could no longer tell when the last program goes, which is the kernel's own count of openers
// and the one the daemon trusts (see port_io.h). So the master is given to the store inside a
// stash: one end of a datagram socket pair whose queue holds a copy of the master, its other end
// closed. That socket reports neither a hang-up nor an error, whatever the pty does, and keeps
// the pty alive as long as the store keeps it.
// Functions over descriptors the caller owns; thread-safe.
#ifndef KETRA_DAEMON_FD_STASH_H_
#define KETRA_DAEMON_FD_STASH_H_

#include "platform/runtime/fd.h"
#include "platform/runtime/status.h"

namespace ketra::vspd {

// A socket that holds a copy of `fd`, or why none could be made (kIoError).
runtime::StatusOr<runtime::Fd> StashDescriptor(int fd);

// A copy of the descriptor the stash `stash` holds; the stash keeps its own, so it can be read
// again after another restart. Invalid when `stash` holds none (a descriptor stored as it is,
// by a daemon before stashes, is no stash: the caller then takes it as it is).
runtime::Fd TakeFromStash(int stash);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_FD_STASH_H_
