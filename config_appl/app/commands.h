// The commands of the Config page, each a read of the form followed by what it is for: choosing
// a port, Apply, OK, Cancel and the hidden Connect. They join the form (form/), the store
// (store/) and the driver (driver/), which know nothing of each other.
#ifndef KETRA_CONFIG_APPL_APP_COMMANDS_H_
#define KETRA_CONFIG_APPL_APP_COMMANDS_H_

#include "config_appl/model/panel.h"

namespace ketra {

// ReadForm, with its verdict recorded in InputInvalid (0 accepted, -1 refused) for the state
// ketra-session shows. True when the form was accepted.
bool ReadFormAndRecord(Panel& p);

void PortChosen(Panel& p);    // read the form into the old port's row, then show the new port
void ApplyClick(Panel& p);    // read the form; if accepted, save every port
void OkClick(Panel& p);       // as Apply, then unload whatever the read found
void CancelClick(Panel& p);   // unload
void ConnectClick(Panel& p);  // read and save the form, then send the port's connect

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_APP_COMMANDS_H_
