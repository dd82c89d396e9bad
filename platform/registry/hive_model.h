// The tree of keys and values that every registry in this layer works on: the whole of the
// memory registry (MakeMemoryRegistry), and for the hive that OpenSqliteHive opens the copy of
// those keys of the file that the program has used (a key's values and its list of subkeys are
// each read from the file when first needed, and marked unknown until then). Keys are found by
// id; names are folded to upper case (ASCII letters only) for comparison and kept as created for
// display. Plain data, not thread-safe.
#ifndef KETRA_PLATFORM_REGISTRY_HIVE_MODEL_H_
#define KETRA_PLATFORM_REGISTRY_HIVE_MODEL_H_

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/registry/registry.h"

namespace ketra::registry {

using KeyId = std::int64_t;
inline constexpr KeyId kRootKeyId = 1;

// The comparison form of a name: ASCII letters in upper case, every other byte as it is.
std::string FoldName(std::string_view name);
void FoldNameInto(std::string_view name, std::string* folded);

// Hash and equality of names as their folded forms compare, without making the folded form: a
// key's values are found by the name as the caller spells it.
struct FoldedNameHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view name) const;
};
struct FoldedNameEqual {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

// Splits a key path at backslashes. False when the path begins with a backslash; behind that a
// doubled backslash counts as one and a trailing one is dropped ("A\\\\B\\" is A, B). An empty
// path gives no parts. The parts are views into `path`: a lookup copies no name.
bool SplitKeyPath(std::string_view path, std::vector<std::string_view>* parts);

struct HiveValue {
  std::string name;
  std::uint32_t type = kRegNone;
  std::vector<std::uint8_t> data;
};

struct HiveKey {
  KeyId parent = 0;
  std::string name;
  std::map<std::string, KeyId> children;  // by folded name, so iteration is the enum order
  std::vector<HiveValue> values;          // creation order
  // Folded name -> index in values; found by any spelling of the name.
  std::unordered_map<std::string, std::size_t, FoldedNameHash, FoldedNameEqual> value_index;
  // False while the store has not been asked: `children` then holds only the subkeys looked up
  // so far, and `values` nothing.
  bool children_known = true;
  bool values_known = true;
};

class HiveModel {
 public:
  HiveModel() { Clear(); }

  // Back to the root key alone, known to be empty.
  void Clear();
  // Back to the root key alone, with nothing of it known: the copy of a store is dropped.
  void Forget();

  HiveKey* Find(KeyId id);
  const HiveKey* Find(KeyId id) const;
  // The child of `key` with the folded name, or 0.
  static KeyId ChildOf(const HiveKey& key, const std::string& folded);

  // Adds a new, empty key under an existing parent.
  void AddKey(KeyId id, KeyId parent, std::string name);
  // Adds a key read from a store, nothing of it known yet, below its parent when the parent is
  // in the model. A key that is there already stays as it is.
  HiveKey& AddStoredKey(KeyId id, KeyId parent, std::string name);
  // The whole list of subkeys of `parent`, as the store holds it.
  void SetChildren(KeyId parent, std::vector<std::pair<KeyId, std::string>> children);
  // All values of a key, in their order, as the store holds them.
  void SetValues(KeyId key, std::vector<HiveValue> values);

  // Creates or replaces; a replaced value keeps its place and the case of its first name.
  void SetValue(KeyId key, std::string_view name, std::uint32_t type,
                std::vector<std::uint8_t> data);
  bool DeleteValue(KeyId key, const std::string& folded);
  // Removes the key and everything below it; the root is emptied instead.
  void DeleteTree(KeyId id);

  // The value of that name in any case.
  const HiveValue* FindValue(const HiveKey& key, std::string_view name) const;

 private:
  std::unordered_map<KeyId, HiveKey> keys_;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_HIVE_MODEL_H_
