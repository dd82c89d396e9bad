// The commands of the Config page: choosing a port, Apply, OK and Cancel.
#ifndef KETRA_CONFIG_APPL_FORM_FORM_COMMANDS_H_
#define KETRA_CONFIG_APPL_FORM_FORM_COMMANDS_H_

#include "config_appl/model/program.h"

namespace ketra {

void CMB_PORT_Click(Program& p);   // read the form into the new port's row, then show its store
void CMD_APPLY_Click(Program& p);  // read the form; if accepted, save every port
void Command1_Click(Program& p);   // OK: as Apply, then unload whatever the read found
void Command2_Click(Program& p);   // Cancel: unload

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM_FORM_COMMANDS_H_
