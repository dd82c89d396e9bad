// Loading the stored settings of every port into the table, once, at start-up. What it leaves
// in row 0 tells the start-up whether any settings are stored.
#ifndef KETRA_CONFIG_APPL_STORE_SETTINGS_LOAD_H_
#define KETRA_CONFIG_APPL_STORE_SETTINGS_LOAD_H_

#include "config_appl/model/panel.h"

namespace ketra {

// ReadStoredSettings (config_appl/port/stored_port.h) for every row, through the program's
// RegValue. A failed conversion stops the whole load where it stands. A port without a key,
// once some port's key has been read, is passed over: it would otherwise take the previous
// port's last text for its own.
void LoadPortSettings(Panel& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_SETTINGS_LOAD_H_
