// Applying a list of changes to a registry, in one batch where the registry has batches.
#include "tools/ketra-reg/reg_apply.h"

#include "platform/registry/registry_batch.h"
#include "platform/registry/scoped_key.h"

namespace ketra::regtext {

using registry::HKey;
using registry::kErrorSuccess;
using registry::kHKeyLocalMachine;
using registry::Registry;
using registry::Status;

Status ApplyChanges(Registry& reg, const std::vector<RegChange>& changes, std::string* message) {
  auto* batch = dynamic_cast<registry::BatchWriter*>(&reg);
  if (batch != nullptr) {
    Status status = batch->BeginBatch();
    if (status != kErrorSuccess) {
      *message = "the hive cannot be written (status " + std::to_string(status) + ")";
      return status;
    }
  }
  registry::ScopedKey key(reg);
  Status status = kErrorSuccess;
  const RegChange* failed = nullptr;
  for (const RegChange& change : changes) {
    switch (change.kind) {
      case RegChange::Kind::kOpenKey: {
        key.Reset();
        HKey opened = 0;
        status = reg.CreateKeyEx(kHKeyLocalMachine, change.key, 0, registry::kKeyWrite, &opened,
                                 nullptr);
        key.Reset(opened);
        break;
      }
      case RegChange::Kind::kDeleteKey:
        key.Reset();
        status = reg.DeleteTree(kHKeyLocalMachine, change.key);
        if (status == registry::kErrorFileNotFound) status = kErrorSuccess;
        break;
      case RegChange::Kind::kSetValue:
        status = reg.SetValueEx(key.get(), change.name, change.type, change.data.data(),
                                static_cast<std::uint32_t>(change.data.size()));
        break;
      case RegChange::Kind::kDeleteValue:
        status = reg.DeleteValue(key.get(), change.name);
        if (status == registry::kErrorFileNotFound) status = kErrorSuccess;
        break;
    }
    if (status != kErrorSuccess) {
      failed = &change;
      break;
    }
  }
  key.Reset();
  if (failed == nullptr && batch != nullptr) status = batch->CommitBatch();
  if (status != kErrorSuccess) {
    if (batch != nullptr && failed != nullptr) batch->AbortBatch();
    *message = failed == nullptr
                   ? "the changes could not be committed (status " + std::to_string(status) + ")"
                   : "line " + std::to_string(failed->line) + ": the change failed (status " +
                         std::to_string(status) + ")";
  }
  return status;
}

}  // namespace ketra::regtext
