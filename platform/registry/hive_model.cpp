#include "platform/registry/hive_model.h"

#include <bit>
#include <cstring>

namespace ketra::registry {
namespace {

// Eight bytes at a time: a byte is a lower-case letter when its low seven bits are at least 'a'
// and at most 'z' and its top bit is clear; each such byte loses its 0x20 bit. A start of the
// panel folds 40,000 names, and a byte-wise loop was a third of its scan.
std::uint64_t FoldWord(std::uint64_t word) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHigh = 0x8080808080808080;
  const std::uint64_t low7 = word & ~kHigh;
  const std::uint64_t at_least_a = low7 + (0x80 - 'a') * kOnes;
  const std::uint64_t above_z = low7 + (0x80 - 'z' - 1) * kOnes;
  const std::uint64_t lower = at_least_a & ~above_z & ~word & kHigh;
  return word ^ (lower >> 2);
}

static_assert(std::endian::native == std::endian::little);

std::uint64_t Load8(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, 8);
  return word;
}

// The eight bytes of `text` from `at` as one word; past the end, the bytes are zero. The last
// word of a name of eight bytes or more is read as the name's last eight bytes shifted down
// (on a little-endian machine the first of them is the lowest), so that no byte-wise copy is
// needed.
std::uint64_t WordAt(std::string_view text, std::size_t at) {
  const std::size_t left = text.size() - at;
  if (left >= 8) return Load8(text.data() + at);
  if (text.size() >= 8) return Load8(text.data() + text.size() - 8) >> (8 * (8 - left));
  std::uint64_t word = 0;
  for (std::size_t i = 0; i < left; ++i) {
    word |= static_cast<std::uint64_t>(static_cast<unsigned char>(text[at + i])) << (8 * i);
  }
  return word;
}

}  // namespace

std::size_t FoldedNameHash::operator()(std::string_view name) const {
  // Every byte with its 0x20 bit set: the same for both cases of a letter (and for a few other
  // pairs, such as '@' and '`', which only share a hash), at one operation a word.
  constexpr std::uint64_t kCaseBits = 0x2020202020202020;
  std::uint64_t hash = name.size() * 0x9E3779B97F4A7C15u;
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ (word | kCaseBits)) * 0xFF51AFD7ED558CCDu;
    hash ^= hash >> 32;
  };
  if (name.size() < 8) {
    mix(WordAt(name, 0));
    return static_cast<std::size_t>(hash);
  }
  // Whole words, then the last eight bytes, which overlap the word before them unless the size
  // is a multiple of eight: the same number of steps as WordAt's, without its branches, for the
  // 40,000 look-ups of a start.
  std::size_t at = 0;
  for (; at + 8 < name.size(); at += 8) mix(Load8(name.data() + at));
  mix(Load8(name.data() + name.size() - 8));
  return static_cast<std::size_t>(hash);
}

bool FoldedNameEqual::operator()(std::string_view a, std::string_view b) const {
  if (a.size() != b.size()) return false;
  for (std::size_t at = 0; at < a.size(); at += 8) {
    if (FoldWord(WordAt(a, at)) != FoldWord(WordAt(b, at))) return false;
  }
  return true;
}

void FoldNameInto(std::string_view name, std::string* folded) {
  folded->resize(name.size());
  char* out = folded->data();
  const char* in = name.data();
  std::size_t i = 0;
  for (; i + 8 <= name.size(); i += 8) {
    std::uint64_t word;
    std::memcpy(&word, in + i, 8);
    word = FoldWord(word);
    std::memcpy(out + i, &word, 8);
  }
  if (i == name.size()) return;
  if (name.size() >= 8) {
    // The last eight bytes, some of them folded already: folding a byte again changes nothing,
    // and one word costs less than copying a few bytes in and out of one.
    const std::size_t last = name.size() - 8;
    const std::uint64_t word = FoldWord(Load8(in + last));
    std::memcpy(out + last, &word, 8);
    return;
  }
  for (; i < name.size(); ++i) {
    const char c = in[i];
    out[i] = c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
  }
}

std::string FoldName(std::string_view name) {
  std::string folded;
  FoldNameInto(name, &folded);
  return folded;
}

bool SplitKeyPath(std::string_view path, std::vector<std::string_view>* parts) {
  parts->clear();
  // A path may not begin with a backslash; behind the first part, a run of backslashes
  // separates like one and a trailing one ends nothing, as the platform's registry reads them.
  if (!path.empty() && path.front() == '\\') return false;
  std::size_t start = 0;
  while (start < path.size()) {
    std::size_t end = path.find('\\', start);
    if (end == std::string_view::npos) end = path.size();
    if (end > start) parts->push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return true;
}

void HiveModel::Clear() {
  keys_.clear();
  keys_[kRootKeyId] = HiveKey{};
}

void HiveModel::Forget() {
  Clear();
  HiveKey& root = keys_[kRootKeyId];
  root.children_known = false;
  root.values_known = false;
}

HiveKey* HiveModel::Find(KeyId id) {
  auto it = keys_.find(id);
  return it == keys_.end() ? nullptr : &it->second;
}

const HiveKey* HiveModel::Find(KeyId id) const {
  auto it = keys_.find(id);
  return it == keys_.end() ? nullptr : &it->second;
}

KeyId HiveModel::ChildOf(const HiveKey& key, const std::string& folded) {
  auto it = key.children.find(folded);
  return it == key.children.end() ? 0 : it->second;
}

void HiveModel::AddKey(KeyId id, KeyId parent, std::string name) {
  std::string folded = FoldName(name);
  keys_[id] = HiveKey{parent, std::move(name), {}, {}, {}};
  keys_[parent].children[std::move(folded)] = id;
}

HiveKey& HiveModel::AddStoredKey(KeyId id, KeyId parent, std::string name) {
  auto [it, added] = keys_.try_emplace(id);
  HiveKey& key = it->second;
  if (added) {
    key.parent = parent;
    key.name = std::move(name);
    key.children_known = false;
    key.values_known = false;
  }
  if (HiveKey* above = Find(parent); above != nullptr && id != kRootKeyId) {
    above->children[FoldName(key.name)] = id;
  }
  return key;
}

void HiveModel::SetChildren(KeyId parent, std::vector<std::pair<KeyId, std::string>> children) {
  HiveKey* key = Find(parent);
  if (key == nullptr) return;
  key->children.clear();
  for (auto& [id, name] : children) AddStoredKey(id, parent, std::move(name));
  key->children_known = true;
}

void HiveModel::SetValues(KeyId key_id, std::vector<HiveValue> values) {
  HiveKey* key = Find(key_id);
  if (key == nullptr) return;
  key->values = std::move(values);
  key->value_index.clear();
  for (std::size_t i = 0; i < key->values.size(); ++i) {
    key->value_index.emplace(FoldName(key->values[i].name), i);
  }
  key->values_known = true;
}

const HiveValue* HiveModel::FindValue(const HiveKey& key, std::string_view name) const {
  auto it = key.value_index.find(name);
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
