#include "config_appl/store/settings_save.h"

#include <cstdint>

#include "config_appl/store/registry_value.h"
#include "platform/net/inet.h"
#include "platform/registry/registry_batch.h"
#include "platform/runtime/conversions.h"

namespace ketra {

std::string StoredSwitch(bool on) { return std::to_string(on ? kStoredOn : kStoredOff); }

std::string StoredPortNumber(const std::string& port_text) {
  return runtime::NumberText(runtime::LeadingNumber(port_text));
}

std::string StoredAddress(const std::string& dotted) {
  return std::to_string(static_cast<std::int32_t>(net::InetAddr(dotted)));
}

void CreateConfigFile2(Program& p) {
  // One transaction: another process, or a kill in the middle, sees the store as it was before
  // the save or as it is after it. A key that cannot be created commits what was written before
  // it (SetRegistryValue) and ends the program.
  registry::ScopedBatch batch(p.registry());
  Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) {
    const PortRecord& row = d.PortTable[r];
    auto write = [&](std::string_view name, const std::string& text) {
      SetRegistryValue(p, registry::kHKeyLocalMachine, kCompany, kProduct, row.PortName, name,
                       text);
    };
    write("PORTNAME", row.PortName);
    write("ENABLED", StoredSwitch(row.Enabled == -1));
    write("FLOWCONTROL", StoredSwitch(row.FlowControl == "1"));
    write("XON", std::to_string(row.XON));
    write("XOFF", std::to_string(row.XOFF));
    write("LOCALPORT", StoredPortNumber(row.LocalPort));
    write("REMOTEPORT", StoredPortNumber(row.RemotePort));
    write("REMOTEIP", StoredAddress(row.RemoteIP));
  }
}

}  // namespace ketra
