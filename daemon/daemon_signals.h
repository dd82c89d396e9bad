// The signals the daemon takes as events, never in a handler: SIGTERM and SIGINT stop it, SIGHUP
// makes it log every port's status. They are blocked in every thread (BlockDaemonSignals, before
// any thread starts) and read from a signalfd in the daemon's loop; while the start waits for a
// locked hive, a stop is waited for with sigtimedwait. SIGPIPE is ignored: a peer that went away
// is an error of the write, not the end of the daemon. Stateless; thread-safe.
#ifndef KETRA_DAEMON_DAEMON_SIGNALS_H_
#define KETRA_DAEMON_DAEMON_SIGNALS_H_

#include <chrono>

#include "platform/runtime/fd.h"

namespace ketra::vspd {

// Blocks the signals the daemon takes through its signalfd; call before any thread starts.
void BlockDaemonSignals();

// A non-blocking signalfd for the daemon's signals. Throws std::runtime_error.
runtime::Fd OpenDaemonSignalFd();

// The next signal waiting on a signalfd from OpenDaemonSignalFd; 0 when none.
int ReadDaemonSignal(int signal_fd);

// Waits up to `pause` for one of the daemon's signals; the signal, or 0 when none came.
int WaitForDaemonSignal(std::chrono::milliseconds pause);

// "SIGTERM", "SIGINT", "SIGHUP", for the log.
const char* DaemonSignalName(int signal);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DAEMON_SIGNALS_H_
