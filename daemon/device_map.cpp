#include "daemon/device_map.h"

#include <algorithm>

#include "platform/registry/scoped_key.h"
#include "platform/runtime/strings.h"

namespace ketra::vspd {
namespace {

using registry::HKey;

// The hive's status as the start-up decides on it, with the sentence for the log.
runtime::Status Failed(registry::Status status, std::string what) {
  what += " (status " + std::to_string(status) + ")";
  if (status == registry::kErrorBadDb) return runtime::Status::Corruption(std::move(what));
  if (status == registry::kErrorAccessDenied) {
    return runtime::Status::PermissionDenied(std::move(what));
  }
  if (status == registry::kErrorLockViolation) return runtime::Status::Busy(std::move(what));
  return runtime::Status::IoError(std::move(what));
}

}  // namespace

runtime::Status DeviceMap::Publish(const std::vector<std::string>& port_names) {
  HKey raw = 0;
  std::uint32_t disposition = 0;
  const registry::Status created =
      registry_.CreateKeyEx(registry::kHKeyLocalMachine, kSerialCommKey, 0,
                            registry::kKeyRead | registry::kKeyWrite, &raw, &disposition);
  const registry::ScopedKey key(registry_, raw);
  if (created != registry::kErrorSuccess || raw == 0) {
    return Failed(created != registry::kErrorSuccess ? created : registry::kErrorRegistryIoFailed,
                  "cannot create HKEY_LOCAL_MACHINE\\" + std::string(kSerialCommKey));
  }
  // Names first, deletions after: deleting while walking would shift the indexes.
  std::vector<std::string> stale;
  for (std::uint32_t index = 0;; ++index) {
    std::string name;
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;
    if (registry_.EnumValue(key.get(), index, &name, &type, &data) != registry::kErrorSuccess)
      break;
    if (runtime::StartsWithNoCase(name, kDeviceNamePrefix)) stale.push_back(name);
  }
  for (const std::string& name : stale) registry_.DeleteValue(key.get(), name);

  for (std::size_t n = 0; n < port_names.size(); ++n) {
    const std::string name = std::string(kDeviceNamePrefix) + std::to_string(n);
    std::vector<std::uint8_t> data(port_names[n].begin(), port_names[n].end());
    data.push_back(0);
    const registry::Status set = registry_.SetValueEx(
        key.get(), name, registry::kRegSz, data.data(), static_cast<std::uint32_t>(data.size()));
    if (set != registry::kErrorSuccess) {
      Withdraw();
      return Failed(set, "cannot write " + name);
    }
    written_.push_back(name);
  }
  return runtime::Status::Ok();
}

bool DeviceMap::Withdraw() {
  if (written_.empty()) return true;
  HKey raw = 0;
  const registry::Status opened = registry_.OpenKeyEx(registry::kHKeyLocalMachine, kSerialCommKey,
                                                      0, registry::kKeyWrite, &raw);
  const registry::ScopedKey key(registry_, raw);
  bool all = opened == registry::kErrorSuccess;
  if (all) {
    for (const std::string& name : written_) {
      const registry::Status deleted = registry_.DeleteValue(key.get(), name);
      all = all && (deleted == registry::kErrorSuccess || deleted == registry::kErrorFileNotFound);
    }
  }
  written_.clear();
  return all;
}

}  // namespace ketra::vspd
