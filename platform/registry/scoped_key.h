// A move-only owner of one open registry key, as runtime::Fd is of a descriptor: CloseKey happens
// exactly once, in Reset or the destructor, on every way out. Holds no key (0) or the
// predefined root, which is never closed, until given one. The registry must outlive it.
// Not thread-safe; a ScopedKey belongs to whoever holds it.
#ifndef KETRA_PLATFORM_REGISTRY_SCOPED_KEY_H_
#define KETRA_PLATFORM_REGISTRY_SCOPED_KEY_H_

#include <utility>

#include "platform/registry/registry.h"

namespace ketra::registry {

class ScopedKey {
 public:
  explicit ScopedKey(Registry& registry, HKey key = 0) : registry_(&registry), key_(key) {}
  ScopedKey(const ScopedKey&) = delete;
  ScopedKey& operator=(const ScopedKey&) = delete;
  ScopedKey(ScopedKey&& other) noexcept
      : registry_(other.registry_), key_(std::exchange(other.key_, 0)) {}
  ScopedKey& operator=(ScopedKey&& other) noexcept {
    if (this != &other) {
      Reset();
      registry_ = other.registry_;
      key_ = std::exchange(other.key_, 0);
    }
    return *this;
  }
  ~ScopedKey() { Reset(); }

  HKey get() const { return key_; }
  explicit operator bool() const { return key_ != 0; }

  // Closes the key held, if any, and holds `key` instead.
  void Reset(HKey key = 0) {
    const HKey old = std::exchange(key_, key);
    if (old != 0 && old != kHKeyLocalMachine) registry_->CloseKey(old);
  }

 private:
  Registry* registry_;
  HKey key_;
};

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_SCOPED_KEY_H_
