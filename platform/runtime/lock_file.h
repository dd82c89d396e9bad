// A lock file: an exclusive advisory lock that one holder at a time gets, without waiting, and
// that lasts as long as its descriptor is open. The lock belongs to the open file description: a
// second open of the same file, in this process or another, does not get it while the first
// holds it, and a process that ends leaves it to the next. As LevelDB's Env::LockFile, minus the
// waiting. Thread-safe; the Fd returned belongs to the caller.
#ifndef KETRA_PLATFORM_RUNTIME_LOCK_FILE_H_
#define KETRA_PLATFORM_RUNTIME_LOCK_FILE_H_

#include <string>

#include "platform/runtime/fd.h"

namespace ketra::runtime {

// Opens the lock file at `path`, creating it when missing. A lock beside a hive shared by a group
// is the group's too: readable and writable by owner and group whatever the umask, and opened
// for reading only where this user may not write it (the lock needs no more). An invalid Fd,
// with errno set, when it cannot be opened at all.
Fd OpenLockFile(const std::string& path);

// Takes the lock of an open lock file without waiting. True when this descriptor holds it now.
bool TryLockFile(const Fd& fd);

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_LOCK_FILE_H_
