#include "config_appl/store/settings_save.h"

#include "config_appl/port/address.h"
#include "config_appl/port/stored_port.h"
#include "config_appl/store/registry_value.h"
#include "platform/registry/registry_batch.h"

namespace ketra {

void SaveAllPorts(Panel& p) {
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
    write(stored::kPortName, row.PortName);
    write(stored::kEnabled, StoredSwitch(row.Enabled == -1));
    write(stored::kFlowControl, StoredSwitch(row.FlowControl == kSoftwareFlow));
    write(stored::kXon, std::to_string(row.XON));
    write(stored::kXoff, std::to_string(row.XOFF));
    write(stored::kLocalPort, StoredPortNumber(row.LocalPort));
    write(stored::kRemotePort, StoredPortNumber(row.RemotePort));
    write(stored::kRemoteIp, StoredAddressText(row.RemoteIP));
  }
}

}  // namespace ketra
