#include "config_appl/store/settings_load.h"

#include "config_appl/store/registry_value.h"
#include "config_appl/store/settings_save.h"
#include "platform/runtime/conversions.h"

namespace ketra {

void ReadPortSettings(registry::Registry& reg, std::string& reg_value, PortRecord& row,
                      MissingValue missing) {
  using runtime::LeadingNumber;
  const std::string name = row.PortName;
  auto read = [&](std::string_view value_name) -> const std::string& {
    return ReadPortValue(reg, reg_value, name, value_name);
  };
  // Whether the value is to be read at all: with kKeepRow, a value the key lacks leaves its field.
  auto held = [&](std::string_view value_name) {
    return missing == MissingValue::kReadBlanks || PortValueExists(reg, name, value_name);
  };
  if (held("ENABLED")) row.Enabled = LeadingNumber(read("ENABLED")) == kStoredOn ? -1 : 0;
  if (held("LOCALPORT")) row.LocalPort = read("LOCALPORT");
  if (held("FLOWCONTROL"))
    row.FlowControl = LeadingNumber(read("FLOWCONTROL")) == kStoredOff ? "0" : "1";
  if (row.FlowControl == "1") {
    if (held("XOFF")) row.XOFF = runtime::ByteFromText(read("XOFF"));
    if (held("XON")) row.XON = runtime::ByteFromText(read("XON"));
  }
  if (held("REMOTEIP")) {
    const double address = LeadingNumber(read("REMOTEIP"));
    row.RemoteIP = IpFromLong(runtime::RoundToInt32(address));
  }
  if (held("REMOTEPORT")) row.RemotePort = read("REMOTEPORT");
}

void ReadTheRegistry(Program& p) {
  Declarations& d = p.decl();
  bool read_a_key = false;
  for (int r = 0; r <= d.LastPort; ++r) {
    PortRecord& row = d.PortTable[r];
    const bool has_key = PortKeyExists(p.registry(), row.PortName);
    if (!has_key && read_a_key) continue;
    read_a_key = read_a_key || has_key;
    ReadPortSettings(p.registry(), d.RegValue, row);
  }
}

}  // namespace ketra
