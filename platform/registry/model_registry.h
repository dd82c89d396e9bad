// The Registry calls, handles and name rules over a HiveModel, shared by the memory registry and
// the hive file. Where the keys last is the business of a HiveStore: none for the memory
// registry (memory_registry.h), the SQLite file for the hive (SqliteStore in sqlite_hive.cpp).
// The model is the store's cache of what this program used: a key is read when first opened, its
// subkeys one by one as they are looked up (all of them for a listing), so a start costs what it
// reads whatever else the store holds. Every write goes to the store first and reaches the model
// only when the store took it. Owns its store; one thread at a time.
#ifndef KETRA_PLATFORM_REGISTRY_MODEL_REGISTRY_H_
#define KETRA_PLATFORM_REGISTRY_MODEL_REGISTRY_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/registry/hive_model.h"
#include "platform/registry/registry.h"
#include "platform/registry/registry_batch.h"

namespace ketra::registry {

class HiveStore {
 public:
  virtual ~HiveStore() = default;
  // Drops what `model` holds (HiveModel::Forget) when the store changed behind it (another
  // process wrote), so that it is read again as it is used. `for_write`: the call is about to
  // write, so a store that does not exist yet is made. A missing store read without `for_write`
  // is an empty hive (HiveModel::Clear).
  virtual Status Refresh(HiveModel& model, bool for_write) = 0;
  // Reads of single keys for the model. A key or child that is not there answers
  // kErrorFileNotFound.
  virtual Status ReadKey(KeyId id, KeyId* parent, std::string* name) = 0;
  virtual Status ReadChild(KeyId parent, const std::string& folded, KeyId* id,
                           std::string* name) = 0;
  virtual Status ReadChildren(KeyId parent,
                              std::vector<std::pair<KeyId, std::string>>* children) = 0;
  virtual Status ReadValues(KeyId key, std::vector<HiveValue>* values) = 0;
  // Forgets that the model is current, after a failed write left it in doubt.
  virtual void Invalidate() = 0;
  // False when writes are refused (a read-only file).
  virtual bool Writable() = 0;
  // True when the model is known, without asking the file, to hold exactly what the store
  // holds now; a write of what is there already can then be left out.
  virtual bool ModelIsCurrent() = 0;
  // Creates `names` as a chain of new keys below `parent`, all or none; their ids go to `ids`.
  virtual Status CreateKeys(KeyId parent, const std::vector<std::string>& names,
                            std::vector<KeyId>* ids) = 0;
  virtual Status SetValue(KeyId key, std::string_view name, const std::string& folded,
                          std::uint32_t type, const std::uint8_t* data, std::uint32_t length) = 0;
  virtual Status DeleteValue(KeyId key, const std::string& folded) = 0;
  // Deletes the key with everything below it; for the root, everything in it.
  virtual Status DeleteTree(KeyId key) = 0;
  virtual Status Begin() = 0;
  virtual Status Commit() = 0;
  virtual void Rollback() = 0;
};

class ModelRegistry : public Registry, public BatchWriter {
 public:
  // `store` may be null: the model is then all there is.
  explicit ModelRegistry(std::unique_ptr<HiveStore> store);

  Status OpenKey(HKey parent, std::string_view sub_key, HKey* result) override;
  Status OpenKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options, std::uint32_t sam,
                   HKey* result) override;
  Status CreateKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options,
                     std::uint32_t sam, HKey* result, std::uint32_t* disposition) override;
  Status QueryValueEx(HKey key, std::string_view value_name, std::uint32_t* type,
                      std::uint8_t* data, std::uint32_t* data_length) override;
  Status SetValueEx(HKey key, std::string_view value_name, std::uint32_t type,
                    const std::uint8_t* data, std::uint32_t data_length) override;
  Status CloseKey(HKey key) override;
  Status EnumKey(HKey key, std::uint32_t index, std::string* name) override;
  Status EnumValue(HKey key, std::uint32_t index, std::string* name, std::uint32_t* type,
                   std::vector<std::uint8_t>* data) override;
  Status DeleteValue(HKey key, std::string_view value_name) override;
  Status DeleteTree(HKey parent, std::string_view sub_key) override;

  Status BeginBatch() override;
  Status CommitBatch() override;
  void AbortBatch() override;
  bool InBatch() const override { return in_batch_; }

 private:
  // The key id behind a handle, or 0 for a handle that is not open.
  KeyId KeyOf(HKey handle) const;
  // kErrorAccessDenied when an open handle lacks one of `rights`.
  Status Allowed(HKey handle, std::uint32_t rights) const;
  // The key of an open handle, after a refresh of the model when `refresh`, with its values.
  Status Resolve(HKey handle, bool refresh, bool for_write, HiveKey** key, KeyId* id);
  // The key `id` with its values, read from the store where the model lacks them.
  Status Ensure(KeyId id, HiveKey** key);
  // Ensure's reads from the store, for `*key` as the model has it (nullptr when it has not).
  Status ReadKey(KeyId id, HiveKey** key);
  // The child of `parent` with the folded name: 0 with kErrorSuccess when there is none.
  Status Child(KeyId parent, const std::string& folded, KeyId* child);
  // Walks `parts_` down from `id`.
  Status Walk(KeyId* id);
  HKey NewHandle(KeyId id, std::uint32_t rights);
  // After a failed write: the next call reads the store again.
  void Stale();
  // Ends the batch with none of its writes, in the store or in the model.
  void UndoBatch();

  std::unique_ptr<HiveStore> store_;
  HiveModel model_;
  bool loaded_ = false;
  // Slot i holds handle i + 1: its key id (0 marks a free slot) and the rights it was opened with.
  struct OpenHandle {
    KeyId key = 0;
    std::uint32_t rights = 0;
  };
  std::vector<OpenHandle> handles_;
  KeyId next_memory_id_ = kRootKeyId + 1;  // ids of keys when there is no store
  bool in_batch_ = false;
  // Without a store, the model as it was at BeginBatch. A store's batch needs no copy: the store
  // rolls back, and the model is then read from it again.
  std::optional<HiveModel> batch_undo_;
  // Scratch space, so that a lookup allocates nothing: the folded form of the name at hand, and
  // the parts of the key path at hand (views into the caller's path, valid during one call).
  std::string folded_;
  std::vector<std::string_view> parts_;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_MODEL_REGISTRY_H_
