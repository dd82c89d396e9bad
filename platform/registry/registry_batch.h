// Grouping writes so that they reach the store together or not at all: ketra-reg applies a
// whole import file this way. A registry that offers it implements this interface beside
// Registry (find it with dynamic_cast). While a batch is open, the registry's own reads see the
// batch's writes and other processes see none of them; a hive file stays locked for writing.
// Same threading as the registry it belongs to.
#ifndef KETRA_PLATFORM_REGISTRY_REGISTRY_BATCH_H_
#define KETRA_PLATFORM_REGISTRY_REGISTRY_BATCH_H_

#include "platform/registry/registry.h"

namespace ketra::registry {

class BatchWriter {
 public:
  virtual ~BatchWriter() = default;
  // Starts a batch; fails when one is open already or the store cannot be locked.
  virtual Status BeginBatch() = 0;
  // Makes every write since BeginBatch lasting at once.
  virtual Status CommitBatch() = 0;
  // Drops every write since BeginBatch.
  virtual void AbortBatch() = 0;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_REGISTRY_BATCH_H_
