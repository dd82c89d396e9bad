// A registry hive kept in an SQLite file (WAL journal), shared safely between processes: the
// driver daemon writes the serial device map while the panel reads it. Each call is one
// statement or one short transaction and survives the process being killed once it returns.
// Constructing never fails: a file that cannot be opened, created or read makes the calls that
// need it return a failure status, and nothing crashes.
// Owns its database connection; use from one thread at a time.
#ifndef KETRA_PLATFORM_REGISTRY_SQLITE_HIVE_H_
#define KETRA_PLATFORM_REGISTRY_SQLITE_HIVE_H_

#include <memory>
#include <string>

#include "platform/registry/registry.h"

namespace ketra::registry {

std::unique_ptr<Registry> OpenSqliteHive(const std::string& path);

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_SQLITE_HIVE_H_
