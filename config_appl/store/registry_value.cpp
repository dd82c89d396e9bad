#include "config_appl/store/registry_value.h"

#include "platform/forms/services.h"
#include "platform/registry/registry_batch.h"

namespace ketra {

void SetRegistryValue(Panel& p, registry::HKey hive, std::string_view company,
                      std::string_view product, std::string_view section,
                      std::string_view value_name, std::string_view value) {
  registry::Registry& reg = p.registry();
  registry::HKey key = 0;
  std::uint32_t disposition = 0;
  const registry::Status status = reg.CreateKeyEx(hive, SettingsKeyPath(company, product, section),
                                                  0, registry::kKeyWrite, &key, &disposition);
  if (status != registry::kErrorSuccess) {
    // The writes before this one stay stored, and the store is not held locked while the box
    // waits for the user.
    registry::CommitOpenBatch(reg);
    p.MsgBox("Error opening or creating registry key -- aborting.", forms::MsgBoxStyle::kCritical);
    throw forms::ProgramEnded{};
  }
  std::string data(value);
  data.push_back('\0');
  reg.SetValueEx(key, value_name, registry::kRegNone,
                 reinterpret_cast<const std::uint8_t*>(data.data()),
                 static_cast<std::uint32_t>(data.size()));
  reg.CloseKey(key);
}

}  // namespace ketra
