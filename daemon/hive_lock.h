// One daemon per hive: a lock file beside the hive ("<hive>.vspd-lock", see
// platform/runtime/lock_file.h) that the daemon holds for as long as it runs, so that a second
// daemon on the same hive stops at once instead of fighting over the device map. The lock goes
// with the process, however it ends. Thread-safe; the Fd belongs to the caller.
#ifndef KETRA_DAEMON_HIVE_LOCK_H_
#define KETRA_DAEMON_HIVE_LOCK_H_

#include <string>

#include "platform/runtime/fd.h"

namespace ketra::vspd {

// Takes the lock without waiting. Throws std::runtime_error naming the lock file when it cannot
// be opened or another daemon holds it.
runtime::Fd LockHive(const std::string& hive);

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_HIVE_LOCK_H_
