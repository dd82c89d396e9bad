#include "platform/registry/hive_model.h"

namespace ketra::registry {

void FoldNameInto(std::string_view name, std::string* folded) {
  folded->assign(name);
  for (char& c : *folded) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
}

std::string FoldName(std::string_view name) {
  std::string folded;
  FoldNameInto(name, &folded);
  return folded;
}

bool SplitKeyPath(std::string_view path, std::vector<std::string>* parts) {
  parts->clear();
  // A path may not begin with a backslash; behind the first part, a run of backslashes
  // separates like one and a trailing one ends nothing, as the platform's registry reads them.
  if (!path.empty() && path.front() == '\\') return false;
  std::size_t start = 0;
  while (start < path.size()) {
    std::size_t end = path.find('\\', start);
    if (end == std::string_view::npos) end = path.size();
    if (end > start) parts->emplace_back(path.substr(start, end - start));
    start = end + 1;
  }
  return true;
}

void HiveModel::Clear() {
  keys_.clear();
  keys_[kRootKeyId] = HiveKey{};
}

HiveKey* HiveModel::Find(KeyId id) {
  auto it = keys_.find(id);
  return it == keys_.end() ? nullptr : &it->second;
}

const HiveKey* HiveModel::Find(KeyId id) const {
  auto it = keys_.find(id);
  return it == keys_.end() ? nullptr : &it->second;
}

KeyId HiveModel::Child(KeyId parent, const std::string& folded) const {
  const HiveKey* key = Find(parent);
  if (key == nullptr) return 0;
  auto it = key->children.find(folded);
  return it == key->children.end() ? 0 : it->second;
}

void HiveModel::AddKey(KeyId id, KeyId parent, std::string name) {
  std::string folded = FoldName(name);
  keys_[id] = HiveKey{parent, std::move(name), {}, {}, {}};
  keys_[parent].children[std::move(folded)] = id;
}

void HiveModel::AddLoadedKey(KeyId id, KeyId parent, std::string name) {
  keys_[id] = HiveKey{parent, std::move(name), {}, {}, {}};
}

void HiveModel::Link() {
  std::vector<KeyId> orphans;
  for (auto& [id, key] : keys_) {
    if (id == kRootKeyId) continue;
    auto parent = keys_.find(key.parent);
    if (parent == keys_.end()) {
      orphans.push_back(id);
    } else {
      parent->second.children[FoldName(key.name)] = id;
    }
  }
  // A key whose parent is gone cannot be reached; the file's constraints prevent it, but a
  // model must never hold a dangling parent.
  for (KeyId id : orphans) keys_.erase(id);
}

const HiveValue* HiveModel::FindValue(const HiveKey& key, const std::string& folded) const {
  auto it = key.value_index.find(folded);
  return it == key.value_index.end() ? nullptr : &key.values[it->second];
}

void HiveModel::SetValue(KeyId key_id, std::string_view name, std::uint32_t type,
                         std::vector<std::uint8_t> data) {
  HiveKey& key = keys_[key_id];
  std::string folded = FoldName(name);
  auto it = key.value_index.find(folded);
  if (it != key.value_index.end()) {
    HiveValue& value = key.values[it->second];
    value.type = type;
    value.data = std::move(data);
    return;
  }
  key.value_index.emplace(std::move(folded), key.values.size());
  key.values.push_back(HiveValue{std::string(name), type, std::move(data)});
}

void HiveModel::AppendLoadedValue(KeyId key_id, std::string name, std::uint32_t type,
                                  std::vector<std::uint8_t> data) {
  HiveKey& key = keys_[key_id];
  key.value_index.emplace(FoldName(name), key.values.size());
  key.values.push_back(HiveValue{std::move(name), type, std::move(data)});
}

bool HiveModel::DeleteValue(KeyId key_id, const std::string& folded) {
  HiveKey* key = Find(key_id);
  if (key == nullptr) return false;
  auto it = key->value_index.find(folded);
  if (it == key->value_index.end()) return false;
  const std::size_t index = it->second;
  key->values.erase(key->values.begin() + static_cast<std::ptrdiff_t>(index));
  key->value_index.erase(it);
  for (auto& [name, position] : key->value_index) {
    if (position > index) --position;
  }
  return true;
}

void HiveModel::DeleteTree(KeyId id) {
  HiveKey* key = Find(id);
  if (key == nullptr) return;
  std::vector<KeyId> pending;
  for (const auto& [name, child] : key->children) pending.push_back(child);
  if (id == kRootKeyId) {
    key->children.clear();
    key->values.clear();
    key->value_index.clear();
  } else {
    HiveKey* parent = Find(key->parent);
    if (parent != nullptr) parent->children.erase(FoldName(key->name));
    keys_.erase(id);
  }
  while (!pending.empty()) {
    KeyId next = pending.back();
    pending.pop_back();
    auto it = keys_.find(next);
    if (it == keys_.end()) continue;
    for (const auto& [name, child] : it->second.children) pending.push_back(child);
    keys_.erase(it);
  }
}

}  // namespace ketra::registry
