#include "config_appl/store/read_ahead.h"

#include <string>

#include "config_appl/store/registry_value.h"

namespace ketra {

void ReadAhead(registry::Registry& reg) {
  registry::HKey key = 0;
  if (reg.OpenKey(registry::kHKeyLocalMachine, "HARDWARE\\DEVICEMAP\\SERIALCOMM", &key) ==
      registry::kErrorSuccess) {
    reg.CloseKey(key);
  }
  const std::string ports = "Software\\" + std::string(kCompany) + "\\" + std::string(kProduct);
  registry::HKey parent = 0;
  if (reg.OpenKey(registry::kHKeyLocalMachine, ports, &parent) != registry::kErrorSuccess) return;
  std::string name;
  for (std::uint32_t index = 0; reg.EnumKey(parent, index, &name) == registry::kErrorSuccess;
       ++index) {
    if (reg.OpenKey(parent, name, &key) == registry::kErrorSuccess) reg.CloseKey(key);
  }
  reg.CloseKey(parent);
}

}  // namespace ketra
