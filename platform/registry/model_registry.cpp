#include "platform/registry/model_registry.h"

#include <cstring>

namespace ketra::registry {

ModelRegistry::ModelRegistry(std::unique_ptr<HiveStore> store) : store_(std::move(store)) {}

KeyId ModelRegistry::KeyOf(HKey handle) const {
  if (handle == kHKeyLocalMachine) return kRootKeyId;
  if (handle == 0 || handle > handles_.size()) return 0;
  return handles_[handle - 1].key;
}

Status ModelRegistry::Allowed(HKey handle, std::uint32_t rights) const {
  // A handle that is not open is Resolve's to refuse.
  if (handle == kHKeyLocalMachine || KeyOf(handle) == 0) return kErrorSuccess;
  return (handles_[handle - 1].rights & rights) == rights ? kErrorSuccess : kErrorAccessDenied;
}

HKey ModelRegistry::NewHandle(KeyId id, std::uint32_t rights) {
  for (std::size_t i = 0; i < handles_.size(); ++i) {
    if (handles_[i].key == 0) {
      handles_[i] = {id, rights};
      return static_cast<HKey>(i + 1);
    }
  }
  handles_.push_back({id, rights});
  return static_cast<HKey>(handles_.size());
}

void ModelRegistry::Stale() {
  // The store may hold more or less than the model now; read it again at the next call.
  loaded_ = false;
  if (store_) store_->Invalidate();
}

Status ModelRegistry::Resolve(HKey handle, bool refresh, bool for_write, HiveKey** key, KeyId* id) {
  *id = KeyOf(handle);
  if (*id == 0) return kErrorInvalidHandle;
  if (store_ && (refresh || !loaded_)) {
    Status status = store_->Refresh(model_, for_write);
    if (status != kErrorSuccess) return status;
    loaded_ = true;
  }
  return Ensure(*id, key);
}

Status ModelRegistry::Ensure(KeyId id, HiveKey** key) {
  // Nearly every call finds the key with its values; reading them is kept out of this path.
  *key = model_.Find(id);
  if (*key != nullptr && (*key)->values_known) return kErrorSuccess;
  return ReadKey(id, key);
}

Status ModelRegistry::ReadKey(KeyId id, HiveKey** key) {
  if (!store_) return *key == nullptr ? kErrorKeyDeleted : kErrorSuccess;
  if (*key == nullptr) {
    // A handle opened before the model was last dropped.
    KeyId parent = 0;
    std::string name;
    Status status = store_->ReadKey(id, &parent, &name);
    if (status == kErrorFileNotFound) return kErrorKeyDeleted;
    if (status != kErrorSuccess) return status;
    *key = &model_.AddStoredKey(id, parent, std::move(name));
  }
  if (!(*key)->values_known) {
    std::vector<HiveValue> values;
    Status status = store_->ReadValues(id, &values);
    if (status != kErrorSuccess) return status;
    model_.SetValues(id, std::move(values));
  }
  return kErrorSuccess;
}

Status ModelRegistry::Child(KeyId parent, const std::string& folded, KeyId* child) {
  const HiveKey* key = model_.Find(parent);
  *child = key == nullptr ? 0 : HiveModel::ChildOf(*key, folded);
  if (*child != 0 || !store_ || key == nullptr || key->children_known) return kErrorSuccess;
  std::string name;
  Status status = store_->ReadChild(parent, folded, child, &name);
  if (status == kErrorFileNotFound) {
    *child = 0;
    return kErrorSuccess;
  }
  if (status != kErrorSuccess) return status;
  model_.AddStoredKey(*child, parent, std::move(name));
  return kErrorSuccess;
}

Status ModelRegistry::Walk(KeyId* id) {
  for (std::string_view part : parts_) {
    FoldNameInto(part, &folded_);
    Status status = Child(*id, folded_, id);
    if (status != kErrorSuccess) return status;
    if (*id == 0) return kErrorFileNotFound;
  }
  return kErrorSuccess;
}

Status ModelRegistry::OpenKey(HKey parent, std::string_view sub_key, HKey* result) {
  return OpenKeyEx(parent, sub_key, 0, kKeyAllAccess, result);
}

Status ModelRegistry::OpenKeyEx(HKey parent, std::string_view sub_key, std::uint32_t,
                                std::uint32_t sam, HKey* result) {
  if (result == nullptr) return kErrorInvalidParameter;
  *result = 0;
  HiveKey* key = nullptr;
  KeyId id = 0;
  Status status = Resolve(parent, true, false, &key, &id);
  if (status != kErrorSuccess) return status;
  if (!SplitKeyPath(sub_key, &parts_)) return kErrorInvalidParameter;
  status = Walk(&id);
  if (status != kErrorSuccess) return status;
  // The handle reads the key as it is now.
  status = Ensure(id, &key);
  if (status != kErrorSuccess) return status;
  *result = NewHandle(id, sam);
  return kErrorSuccess;
}

Status ModelRegistry::CreateKeyEx(HKey parent, std::string_view sub_key, std::uint32_t,
                                  std::uint32_t sam, HKey* result, std::uint32_t* disposition) {
  if (result == nullptr) return kErrorInvalidParameter;
  *result = 0;
  HiveKey* key = nullptr;
  KeyId id = 0;
  Status status = Resolve(parent, true, true, &key, &id);
  if (status != kErrorSuccess) return status;
  // A create asks for write access, which a read-only store cannot give even for a key that
  // exists.
  if (store_ && !store_->Writable()) return kErrorAccessDenied;
  if (!SplitKeyPath(sub_key, &parts_)) return kErrorInvalidParameter;
  std::size_t level = 0;
  for (; level < parts_.size(); ++level) {
    FoldNameInto(parts_[level], &folded_);
    KeyId child = 0;
    status = Child(id, folded_, &child);
    if (status != kErrorSuccess) return status;
    if (child == 0) break;
    id = child;
  }
  const bool created = level < parts_.size();
  if (created) {
    std::vector<std::string> missing(parts_.begin() + static_cast<std::ptrdiff_t>(level),
                                     parts_.end());
    std::vector<KeyId> ids;
    if (store_) {
      status = store_->CreateKeys(id, missing, &ids);
      if (status != kErrorSuccess) {
        Stale();
        return status;
      }
    } else {
      for (std::size_t i = 0; i < missing.size(); ++i) ids.push_back(next_memory_id_++);
    }
    for (std::size_t i = 0; i < missing.size(); ++i) {
      // Another process may have made the key in the meantime: the store's keys are read back.
      if (store_) {
        model_.AddStoredKey(ids[i], id, std::move(missing[i]));
      } else {
        model_.AddKey(ids[i], id, std::move(missing[i]));
      }
      id = ids[i];
    }
  }
  status = Ensure(id, &key);
  if (status != kErrorSuccess) return status;
  if (disposition != nullptr) {
    *disposition = created ? kRegCreatedNewKey : kRegOpenedExistingKey;
  }
  *result = NewHandle(id, sam);
  return kErrorSuccess;
}

Status ModelRegistry::QueryValueEx(HKey handle, std::string_view value_name, std::uint32_t* type,
                                   std::uint8_t* data, std::uint32_t* data_length) {
  // No refresh here: a handle reads the values as they were when it was opened, together with
  // this instance's own writes. That makes a query as cheap as a lookup in memory.
  if (Status allowed = Allowed(handle, kKeyQueryValue); allowed != kErrorSuccess) return allowed;
  HiveKey* key = nullptr;
  KeyId id = 0;
  Status status = Resolve(handle, false, false, &key, &id);
  if (status != kErrorSuccess) return status;
  if (data != nullptr && data_length == nullptr) return kErrorInvalidParameter;
  const HiveValue* value = model_.FindValue(*key, value_name);
  if (value == nullptr) return kErrorFileNotFound;
  const auto size = static_cast<std::uint32_t>(value->data.size());
  if (type != nullptr) *type = value->type;
  if (data == nullptr) {
    if (data_length != nullptr) *data_length = size;
    return kErrorSuccess;
  }
  if (*data_length < size) {
    *data_length = size;
    return kErrorMoreData;
  }
  if (size > 0) std::memcpy(data, value->data.data(), size);
  // The platform ends a text read back with a NUL when the stored text lacks one and there is
  // room for it.
  if (value->type == kRegSz && size > 0 && value->data.back() != 0 && size < *data_length) {
    data[size] = 0;
  }
  *data_length = size;
  return kErrorSuccess;
}

Status ModelRegistry::SetValueEx(HKey handle, std::string_view value_name, std::uint32_t type,
                                 const std::uint8_t* data, std::uint32_t data_length) {
  if (data == nullptr && data_length > 0) return kErrorInvalidParameter;
  if (Status allowed = Allowed(handle, kKeySetValue); allowed != kErrorSuccess) return allowed;
  HiveKey* key = nullptr;
  KeyId id = 0;
  Status status = Resolve(handle, false, true, &key, &id);
  if (status != kErrorSuccess) return status;
  FoldNameInto(value_name, &folded_);
  if (store_) {
    // The panel writes every value at every save, nearly all of them unchanged. Writing the same
    // type and bytes again would leave the store exactly as it is, so when the model is known to
    // match the store that write is skipped; what is there is already lasting.
    const HiveValue* old = model_.FindValue(*key, folded_);
    if (old != nullptr && old->type == type && old->data.size() == data_length &&
        (data_length == 0 || std::memcmp(old->data.data(), data, data_length) == 0) &&
        store_->Writable() && store_->ModelIsCurrent()) {
      return kErrorSuccess;
    }
    status = store_->SetValue(id, value_name, folded_, type, data, data_length);
    if (status != kErrorSuccess) {
      Stale();
      return status;
    }
  }
  model_.SetValue(id, value_name, type,
                  data_length == 0 ? std::vector<std::uint8_t>()
                                   : std::vector<std::uint8_t>(data, data + data_length));
  return kErrorSuccess;
}

Status ModelRegistry::CloseKey(HKey handle) {
  if (handle == kHKeyLocalMachine) return kErrorSuccess;
  if (KeyOf(handle) == 0) return kErrorInvalidHandle;
  handles_[handle - 1] = {};
  while (!handles_.empty() && handles_.back().key == 0) handles_.pop_back();
  return kErrorSuccess;
}

Status ModelRegistry::EnumKey(HKey handle, std::uint32_t index, std::string* name) {
  if (name == nullptr) return kErrorInvalidParameter;
  if (Status allowed = Allowed(handle, kKeyEnumerateSubKeys); allowed != kErrorSuccess)
    return allowed;
  HiveKey* key = nullptr;
  KeyId id = 0;
  // A walk starts at index 0; that is when the model catches up with other processes.
  Status status = Resolve(handle, index == 0, false, &key, &id);
  if (status != kErrorSuccess) return status;
  if (!key->children_known) {
    std::vector<std::pair<KeyId, std::string>> children;
    status = store_->ReadChildren(id, &children);
    if (status != kErrorSuccess) return status;
    model_.SetChildren(id, std::move(children));
  }
  if (index >= key->children.size()) return kErrorNoMoreItems;
  auto it = key->children.begin();
  std::advance(it, index);
  const HiveKey* child = model_.Find(it->second);
  *name = child == nullptr ? std::string() : child->name;
  return kErrorSuccess;
}

Status ModelRegistry::EnumValue(HKey handle, std::uint32_t index, std::string* name,
                                std::uint32_t* type, std::vector<std::uint8_t>* data) {
  if (Status allowed = Allowed(handle, kKeyQueryValue); allowed != kErrorSuccess) return allowed;
  HiveKey* key = nullptr;
  KeyId id = 0;
  Status status = Resolve(handle, index == 0, false, &key, &id);
  if (status != kErrorSuccess) return status;
  if (index >= key->values.size()) return kErrorNoMoreItems;
  const HiveValue& value = key->values[index];
  if (name != nullptr) *name = value.name;
  if (type != nullptr) *type = value.type;
  if (data != nullptr) *data = value.data;
  return kErrorSuccess;
}

Status ModelRegistry::DeleteValue(HKey handle, std::string_view value_name) {
  if (Status allowed = Allowed(handle, kKeySetValue); allowed != kErrorSuccess) return allowed;
  HiveKey* key = nullptr;
  KeyId id = 0;
  Status status = Resolve(handle, true, false, &key, &id);
  if (status != kErrorSuccess) return status;
  FoldNameInto(value_name, &folded_);
  if (model_.FindValue(*key, folded_) == nullptr) return kErrorFileNotFound;
  if (store_) {
    status = store_->DeleteValue(id, folded_);
    if (status != kErrorSuccess) {
      Stale();
      return status;
    }
  }
  model_.DeleteValue(id, folded_);
  return kErrorSuccess;
}

Status ModelRegistry::DeleteTree(HKey parent, std::string_view sub_key) {
  HiveKey* key = nullptr;
  KeyId id = 0;
  Status status = Resolve(parent, true, false, &key, &id);
  if (status != kErrorSuccess) return status;
  if (!SplitKeyPath(sub_key, &parts_)) return kErrorInvalidParameter;
  status = Walk(&id);
  if (status != kErrorSuccess) return status;
  if (store_) {
    status = store_->DeleteTree(id);
    if (status != kErrorSuccess) {
      Stale();
      return status;
    }
    // Keys below it that the model holds unlinked (read through older handles) go too.
    model_.Forget();
    return kErrorSuccess;
  }
  model_.DeleteTree(id);
  return kErrorSuccess;
}

Status ModelRegistry::BeginBatch() {
  if (in_batch_) return kErrorInvalidParameter;
  if (store_) {
    // The model is read under the batch's lock, so the batch builds on what is really there.
    Status status = store_->Begin();
    if (status == kErrorSuccess) status = store_->Refresh(model_, true);
    if (status != kErrorSuccess) {
      store_->Rollback();
      Stale();
      return status;
    }
    loaded_ = true;
  } else {
    batch_undo_ = model_;
  }
  in_batch_ = true;
  return kErrorSuccess;
}

void ModelRegistry::UndoBatch() {
  in_batch_ = false;
  if (store_) {
    store_->Rollback();
    // The store is as it was at BeginBatch, the model may hold the batch's writes: drop it, to be
    // read again as it is used.
    model_.Forget();
    Stale();
    return;
  }
  model_ = std::move(*batch_undo_);
  batch_undo_.reset();
}

Status ModelRegistry::CommitBatch() {
  if (!in_batch_) return kErrorInvalidParameter;
  if (store_) {
    Status status = store_->Commit();
    if (status != kErrorSuccess) {
      UndoBatch();
      return status;
    }
  }
  in_batch_ = false;
  batch_undo_.reset();
  return kErrorSuccess;
}

void ModelRegistry::AbortBatch() {
  if (in_batch_) UndoBatch();
}

}  // namespace ketra::registry
