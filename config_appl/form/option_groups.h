// The two option groups of the Config page switch the Enabled flags of the controls that depend
// on them, so the form greys what does not apply. They read and store nothing.
#ifndef KETRA_CONFIG_APPL_FORM_OPTION_GROUPS_H_
#define KETRA_CONFIG_APPL_FORM_OPTION_GROUPS_H_

#include "config_appl/model/panel.h"

namespace ketra {

void PortEnabledClick(Panel& p);
void PortDisabledClick(Panel& p);
void SoftwareFlowClick(Panel& p);
void HardwareFlowClick(Panel& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM_OPTION_GROUPS_H_
