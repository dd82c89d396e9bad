// Grouping writes so that they reach the store together or not at all: ketra-reg applies a
// whole import file this way, and the panel saves all its settings in one batch. A registry that
// offers it implements this interface beside Registry (find it with dynamic_cast). While a batch is
// open, the registry's own reads see the batch's writes and other processes see none of them; a
// hive file stays locked for writing. Same threading as the registry it belongs to.
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
  virtual bool InBatch() const = 0;
};

// The batch interface of `reg`, or null when it has none.
inline BatchWriter* BatchOf(Registry& reg) { return dynamic_cast<BatchWriter*>(&reg); }

// Commits the batch that is open on `reg`, if any: what was written so far is kept before the
// caller gives up (and before it waits on the user, since an open batch holds the store locked).
inline Status CommitOpenBatch(Registry& reg) {
  BatchWriter* batch = BatchOf(reg);
  return batch != nullptr && batch->InBatch() ? batch->CommitBatch() : kErrorSuccess;
}

// A batch over one scope, for a group of writes that should land together. It is begun at
// construction when the registry offers batches and none is open (otherwise each write lands on
// its own, as without it), and committed when the scope ends, however it ends: writes made
// before a failure stay written.
class ScopedBatch {
 public:
  explicit ScopedBatch(Registry& reg) : batch_(BatchOf(reg)) {
    if (batch_ != nullptr && (batch_->InBatch() || batch_->BeginBatch() != kErrorSuccess)) {
      batch_ = nullptr;
    }
  }
  ScopedBatch(const ScopedBatch&) = delete;
  ScopedBatch& operator=(const ScopedBatch&) = delete;
  ~ScopedBatch() { Commit(); }

  Status Commit() {
    BatchWriter* batch = batch_;
    batch_ = nullptr;
    return batch != nullptr && batch->InBatch() ? batch->CommitBatch() : kErrorSuccess;
  }

 private:
  BatchWriter* batch_;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_REGISTRY_BATCH_H_
