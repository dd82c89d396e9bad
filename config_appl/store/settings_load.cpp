#include "config_appl/store/settings_load.h"

#include "config_appl/port/stored_port.h"

namespace ketra {

void LoadPortSettings(Panel& p) {
  Declarations& d = p.decl();
  bool read_a_key = false;
  for (int r = 0; r <= d.LastPort; ++r) {
    PortRecord& row = d.PortTable[r];
    const bool has_key = PortKeyExists(p.registry(), row.PortName);
    if (!has_key && read_a_key) continue;
    read_a_key = read_a_key || has_key;
    ReadStoredSettings(p.registry(), d.RegValue, row);
  }
}

}  // namespace ketra
