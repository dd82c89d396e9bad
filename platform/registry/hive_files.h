// What the hive needs of the file system around its database file, besides SQLite itself: whether
// the file is there, making its directories and the file with the group's access, and saying why
// a path cannot be used. Plain functions on paths; safe from any thread.
#ifndef KETRA_PLATFORM_REGISTRY_HIVE_FILES_H_
#define KETRA_PLATFORM_REGISTRY_HIVE_FILES_H_

#include <string>

#include "platform/registry/registry.h"

namespace ketra::registry {

bool HiveFileExists(const std::string& path);

// Makes every missing directory above `path`: access denied (5) when that is refused, I/O
// failure (1016) for any other reason.
Status MakeHiveDirectories(const std::string& path);

// Makes the file when it is missing, readable and writable by owner and group whatever the
// umask (the hive is shared with the service's group). An existing file is left as it is.
void CreateSharedHiveFile(const std::string& path);

// True when the file exists but this process may not read it.
bool HiveFileReadDenied(const std::string& path);

// Why a hive that was not found cannot be reached ("no permission", "path missing (no directory
// D)"), or empty when it is simply not made yet.
std::string WhyHiveIsMissing(const std::string& path);

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_HIVE_FILES_H_
