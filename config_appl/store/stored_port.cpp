#include "config_appl/store/stored_port.h"

#include <string>

#include "config_appl/store/registry_value.h"
#include "config_appl/store/settings_load.h"
#include "platform/runtime/conversion_error.h"

namespace ketra {

std::optional<PortRecord> ReadStoredPort(registry::Registry& registry, std::string_view port_name) {
  if (!PortKeyExists(registry, port_name)) return std::nullopt;
  PortRecord row;
  row.PortName = std::string(port_name);
  row.FlowControl = "0";
  row.XOFF = 65;
  row.XON = 66;
  std::string reg_value;
  try {
    ReadPortSettings(registry, reg_value, row);
  } catch (const runtime::ConversionError&) {
    return std::nullopt;
  }
  return row;
}

std::optional<PortRecord> ReadStoredPortOver(registry::Registry& registry, const PortRecord& base) {
  if (!PortKeyExists(registry, base.PortName)) return std::nullopt;
  PortRecord row = base;
  std::string reg_value;
  try {
    ReadPortSettings(registry, reg_value, row, MissingValue::kKeepRow);
  } catch (const runtime::ConversionError&) {
    return std::nullopt;
  }
  return row;
}

}  // namespace ketra
