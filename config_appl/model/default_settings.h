// The default settings of every port, for a first run.
#ifndef KETRA_CONFIG_APPL_MODEL_DEFAULT_SETTINGS_H_
#define KETRA_CONFIG_APPL_MODEL_DEFAULT_SETTINGS_H_

#include "config_appl/model/panel.h"

namespace ketra {

// Rows 0 to LastPort take a first run's settings (SetDefaultSettings, config_appl/port).
void ApplyDefaultSettings(Panel& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_MODEL_DEFAULT_SETTINGS_H_
