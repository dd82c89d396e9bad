// The registry on Windows: every call goes to the ANSI function of advapi32 that the interface
// names, with the arguments the panel passes, so that the panel's own calls reach the system as
// it makes them (RegOpenKeyA for the device map; RegCreateKeyExA with the 12-byte security
// attributes, RegSetValueExA, RegOpenKeyExA, RegQueryValueExA and RegCloseKey for the settings).
// The interface's statuses are the system's error numbers, so they pass through unchanged.
#include <windows.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "platform/registry/win32_registry.h"

namespace ketra::registry {
namespace {

// The security attributes the panel passes to a create: length 12 (the record as the panel lays
// it out: length, descriptor, inherit flag), no descriptor, handle inheritable.
SECURITY_ATTRIBUTES PanelSecurityAttributes() {
  SECURITY_ATTRIBUTES sa{};
  sa.nLength = 12;
  sa.lpSecurityDescriptor = nullptr;
  sa.bInheritHandle = TRUE;
  return sa;
}

// Owns one key handle of the system; closing a predefined key is harmless.
class KeyHandle {
 public:
  KeyHandle() = default;
  explicit KeyHandle(HKEY key) : key_(key) {}
  KeyHandle(KeyHandle&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
  KeyHandle& operator=(KeyHandle&& other) noexcept {
    if (this != &other) {
      Reset();
      key_ = std::exchange(other.key_, nullptr);
    }
    return *this;
  }
  KeyHandle(const KeyHandle&) = delete;
  KeyHandle& operator=(const KeyHandle&) = delete;
  ~KeyHandle() { Reset(); }
  HKEY get() const { return key_; }
  // Closes the key; the status of RegCloseKey.
  LSTATUS Reset() {
    LSTATUS status = ERROR_SUCCESS;
    if (key_ != nullptr) status = RegCloseKey(key_);
    key_ = nullptr;
    return status;
  }

 private:
  HKEY key_ = nullptr;
};

// NUL-terminated copies of names; an empty view gives "".
std::string Z(std::string_view text) { return std::string(text); }

class Win32Registry final : public Registry {
 public:
  // root is HKEY_LOCAL_MACHINE (not owned) or a key this object owns.
  Win32Registry(HKEY root, bool owns_root) : root_(root), owns_root_(owns_root) {}
  ~Win32Registry() override {
    if (owns_root_) RegCloseKey(root_);
  }

  Status OpenKey(HKey parent, std::string_view sub_key, HKey* result) override {
    if (result == nullptr) return kErrorInvalidParameter;
    *result = 0;
    HKEY parent_key = Find(parent);
    if (parent_key == nullptr) return kErrorInvalidHandle;
    HKEY key = nullptr;
    // RegOpenKeyA gives the parent's own handle back for an empty sub key; reopen it instead so
    // that every handle of ours owns a handle of its own, with the rights RegOpenKeyA asks for.
    const std::string name = Z(sub_key);
    LSTATUS status = name.empty() ? RegOpenKeyExA(parent_key, nullptr, 0, MAXIMUM_ALLOWED, &key)
                                  : RegOpenKeyA(parent_key, name.c_str(), &key);
    if (status != ERROR_SUCCESS) return status;
    *result = Add(key);
    return kErrorSuccess;
  }

  Status OpenKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options, std::uint32_t sam,
                   HKey* result) override {
    if (result == nullptr) return kErrorInvalidParameter;
    *result = 0;
    HKEY parent_key = Find(parent);
    if (parent_key == nullptr) return kErrorInvalidHandle;
    HKEY key = nullptr;
    const std::string name = Z(sub_key);
    LSTATUS status = RegOpenKeyExA(parent_key, name.c_str(), options, sam, &key);
    if (status != ERROR_SUCCESS) return status;
    *result = Add(key);
    return kErrorSuccess;
  }

  Status CreateKeyEx(HKey parent, std::string_view sub_key, std::uint32_t options,
                     std::uint32_t sam, HKey* result, std::uint32_t* disposition) override {
    if (result == nullptr) return kErrorInvalidParameter;
    *result = 0;
    HKEY parent_key = Find(parent);
    if (parent_key == nullptr) return kErrorInvalidHandle;
    HKEY key = nullptr;
    DWORD how = 0;
    SECURITY_ATTRIBUTES sa = PanelSecurityAttributes();
    char no_class[1] = "";
    const std::string name = Z(sub_key);
    LSTATUS status =
        RegCreateKeyExA(parent_key, name.c_str(), 0, no_class, options, sam, &sa, &key, &how);
    if (status != ERROR_SUCCESS) return status;
    if (disposition != nullptr) *disposition = how;
    *result = Add(key);
    return kErrorSuccess;
  }

  Status QueryValueEx(HKey key, std::string_view value_name, std::uint32_t* type,
                      std::uint8_t* data, std::uint32_t* data_length) override {
    HKEY system_key = Find(key);
    if (system_key == nullptr) return kErrorInvalidHandle;
    // DWORD is the interface's 32-bit number; the system writes straight into the caller's
    // cells, so that what it leaves unwritten stays as the caller set it.
    static_assert(sizeof(DWORD) == sizeof(std::uint32_t));
    const std::string name = Z(value_name);
    return RegQueryValueExA(system_key, name.c_str(), nullptr, reinterpret_cast<LPDWORD>(type),
                            data, reinterpret_cast<LPDWORD>(data_length));
  }

  Status SetValueEx(HKey key, std::string_view value_name, std::uint32_t type,
                    const std::uint8_t* data, std::uint32_t data_length) override {
    HKEY system_key = Find(key);
    if (system_key == nullptr) return kErrorInvalidHandle;
    const std::string name = Z(value_name);
    return RegSetValueExA(system_key, name.c_str(), 0, type, data, data_length);
  }

  Status CloseKey(HKey key) override {
    if (key == kHKeyLocalMachine) return kErrorSuccess;
    if (key == 0 || key > handles_.size() || handles_[key - 1].get() == nullptr) {
      return kErrorInvalidHandle;
    }
    return handles_[key - 1].Reset();
  }

  Status EnumKey(HKey key, std::uint32_t index, std::string* name) override {
    HKEY system_key = Find(key);
    if (system_key == nullptr) return kErrorInvalidHandle;
    // The interface promises case-insensitive alphabetical order, which the system's own order
    // need not be: take all names and sort them.
    std::vector<std::string> names;
    char buffer[256];
    for (DWORD i = 0;; ++i) {
      DWORD length = sizeof buffer;
      LSTATUS status =
          RegEnumKeyExA(system_key, i, buffer, &length, nullptr, nullptr, nullptr, nullptr);
      if (status == ERROR_NO_MORE_ITEMS) break;
      if (status != ERROR_SUCCESS) return status;
      names.emplace_back(buffer, length);
    }
    if (index >= names.size()) return kErrorNoMoreItems;
    std::stable_sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
      return lstrcmpiA(a.c_str(), b.c_str()) < 0;
    });
    if (name != nullptr) *name = names[index];
    return kErrorSuccess;
  }

  Status EnumValue(HKey key, std::uint32_t index, std::string* name, std::uint32_t* type,
                   std::vector<std::uint8_t>* data) override {
    HKEY system_key = Find(key);
    if (system_key == nullptr) return kErrorInvalidHandle;
    DWORD max_name = 0, max_data = 0;
    LSTATUS status = RegQueryInfoKeyA(system_key, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, &max_name, &max_data, nullptr, nullptr);
    if (status != ERROR_SUCCESS) return status;
    std::string name_buffer(max_name + 1, '\0');
    std::vector<std::uint8_t> data_buffer(max_data);
    DWORD name_length = static_cast<DWORD>(name_buffer.size());
    DWORD data_length = max_data;
    DWORD value_type = 0;
    status = RegEnumValueA(system_key, index, name_buffer.data(), &name_length, nullptr,
                           &value_type, data_buffer.data(), &data_length);
    if (status != ERROR_SUCCESS) return status;
    if (name != nullptr) name->assign(name_buffer.data(), name_length);
    if (type != nullptr) *type = value_type;
    if (data != nullptr) data->assign(data_buffer.begin(), data_buffer.begin() + data_length);
    return kErrorSuccess;
  }

  Status DeleteValue(HKey key, std::string_view value_name) override {
    HKEY system_key = Find(key);
    if (system_key == nullptr) return kErrorInvalidHandle;
    const std::string name = Z(value_name);
    return RegDeleteValueA(system_key, name.c_str());
  }

  Status DeleteTree(HKey parent, std::string_view sub_key) override {
    HKEY parent_key = Find(parent);
    if (parent_key == nullptr) return kErrorInvalidHandle;
    const std::string name = Z(sub_key);
    // RegDeleteTreeA empties a key named "" but leaves it; with a name it removes the key too.
    return RegDeleteTreeA(parent_key, name.empty() ? nullptr : name.c_str());
  }

 private:
  HKEY Find(HKey handle) const {
    if (handle == kHKeyLocalMachine) return root_;
    if (handle == 0 || handle > handles_.size()) return nullptr;
    return handles_[handle - 1].get();
  }

  // A freed number is handed out again, so handles stay small.
  HKey Add(HKEY key) {
    for (std::size_t i = 0; i < handles_.size(); ++i) {
      if (handles_[i].get() == nullptr) {
        handles_[i] = KeyHandle(key);
        return static_cast<HKey>(i + 1);
      }
    }
    handles_.emplace_back(key);
    return static_cast<HKey>(handles_.size());
  }

  HKEY root_;
  bool owns_root_;
  std::vector<KeyHandle> handles_;
};

}  // namespace

std::unique_ptr<Registry> OpenWin32Registry() {
  return std::make_unique<Win32Registry>(HKEY_LOCAL_MACHINE, false);
}

std::unique_ptr<Registry> OpenWin32RegistryBelow(const std::string& root) {
  HKEY key = nullptr;
  if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, root.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                      &key, nullptr) != ERROR_SUCCESS) {
    return nullptr;
  }
  return std::make_unique<Win32Registry>(key, true);
}

}  // namespace ketra::registry
