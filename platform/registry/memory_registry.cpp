#include "platform/registry/memory_registry.h"

#include "platform/registry/model_registry.h"

namespace ketra::registry {

std::unique_ptr<Registry> MakeMemoryRegistry() { return std::make_unique<ModelRegistry>(nullptr); }

}  // namespace ketra::registry
