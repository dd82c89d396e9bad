// The two driver commands behind the hidden buttons of the Config page: each opens the device of
// the port named in CMB_PORT, sends the port's row as one control call (CallDriver,
// config_appl/port/driver_call.h), shows the message that the answer's Status selects, and
// closes the device. No state of a connection is kept.
#ifndef KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_
#define KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_

#include "config_appl/model/program.h"

namespace ketra {

// Reads and saves the form first, then sends IOCTL_VSP_CONNECT to \\.\<port>.
void CMD_CONNECT_Click(Program& p);
// Sends the row as the table holds it, IOCTL_VSP_DISCONNECT to \\.\<port>\p.
void CMD_DISCONNECT_Click(Program& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_
