// A registry held in memory with the same semantics as the hive file; for tests.
// Not thread-safe.
#ifndef KETRA_PLATFORM_REGISTRY_MEMORY_REGISTRY_H_
#define KETRA_PLATFORM_REGISTRY_MEMORY_REGISTRY_H_

#include <memory>

#include "platform/registry/registry.h"

namespace ketra::registry {

std::unique_ptr<Registry> MakeMemoryRegistry();

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_MEMORY_REGISTRY_H_
