// Saving the settings of every port: one key per port under
// HKEY_LOCAL_MACHINE\Software\Tessaron\VSP, eight type 0 texts each (their names and stored
// forms are in config_appl/port/stored_port.h), written in a fixed order, each with one complete
// SetRegistryValue.
#ifndef KETRA_CONFIG_APPL_STORE_SETTINGS_SAVE_H_
#define KETRA_CONFIG_APPL_STORE_SETTINGS_SAVE_H_

#include "config_appl/model/panel.h"

namespace ketra {

void SaveAllPorts(Panel& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_SETTINGS_SAVE_H_
