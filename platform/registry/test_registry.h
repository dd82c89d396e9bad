// Small steps that tests take on any Registry: make a key, write a value, list names, read a
// value back as text. A failing step is reported to GoogleTest at the step, with its path; the
// text forms (SetText, GetText) report through their result instead, so that a forked child may
// use them too. Header-only, for tests and benchmarks.
#ifndef KETRA_PLATFORM_REGISTRY_TEST_REGISTRY_H_
#define KETRA_PLATFORM_REGISTRY_TEST_REGISTRY_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry/registry.h"

namespace ketra::registry {

// Creates path below the root; 0 when that fails. The system registry checks access, so a
// caller that reads with the handle passes kKeyRead | kKeyWrite.
inline HKey CreateKey(Registry& reg, std::string_view path, std::uint32_t sam = kKeyWrite,
                      std::uint32_t* disposition = nullptr) {
  HKey key = 0;
  EXPECT_EQ(reg.CreateKeyEx(kHKeyLocalMachine, path, 0, sam, &key, disposition), kErrorSuccess)
      << path;
  return key;
}

inline void SetValue(Registry& reg, HKey key, std::string_view name, std::uint32_t type,
                     std::string_view data) {
  EXPECT_EQ(reg.SetValueEx(key, name, type, reinterpret_cast<const std::uint8_t*>(data.data()),
                           static_cast<std::uint32_t>(data.size())),
            kErrorSuccess)
      << name;
}

// Creates path and writes one value there.
inline void PutValue(Registry& reg, std::string_view path, std::string_view name,
                     std::uint32_t type, std::string_view data) {
  const HKey key = CreateKey(reg, path);
  SetValue(reg, key, name, type, data);
  reg.CloseKey(key);
}

inline std::vector<std::string> ValueNames(Registry& reg, HKey key) {
  std::vector<std::string> names;
  std::string name;
  for (std::uint32_t i = 0; reg.EnumValue(key, i, &name, nullptr, nullptr) == kErrorSuccess; ++i) {
    names.push_back(name);
  }
  return names;
}

inline std::vector<std::string> SubkeyNames(Registry& reg, HKey key) {
  std::vector<std::string> names;
  std::string name;
  for (std::uint32_t i = 0; reg.EnumKey(key, i, &name) == kErrorSuccess; ++i) {
    names.push_back(name);
  }
  return names;
}

// Writes text and its closing NUL as a REG_NONE value, as the panel stores its settings.
inline Status SetText(Registry& reg, std::string_view path, std::string_view name,
                      std::string text) {
  HKey key = 0;
  Status status = reg.CreateKeyEx(kHKeyLocalMachine, path, 0, kKeyWrite, &key, nullptr);
  if (status != kErrorSuccess) return status;
  text.push_back('\0');
  status = reg.SetValueEx(key, name, kRegNone, reinterpret_cast<const std::uint8_t*>(text.data()),
                          static_cast<std::uint32_t>(text.size()));
  reg.CloseKey(key);
  return status;
}

// The text of a value without its last byte (the closing NUL), or the failing status as "#N".
inline std::string GetText(Registry& reg, std::string_view path, std::string_view name) {
  HKey key = 0;
  Status status = reg.OpenKeyEx(kHKeyLocalMachine, path, 0, kKeyRead, &key);
  if (status != kErrorSuccess) return "#" + std::to_string(status);
  std::uint8_t buffer[255];
  std::uint32_t length = sizeof buffer;
  status = reg.QueryValueEx(key, name, nullptr, buffer, &length);
  reg.CloseKey(key);
  if (status != kErrorSuccess) return "#" + std::to_string(status);
  return std::string(reinterpret_cast<char*>(buffer), length > 0 ? length - 1 : 0);
}

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_TEST_REGISTRY_H_
