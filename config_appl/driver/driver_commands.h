// The two driver commands behind the hidden buttons of the Config page: each opens the device of
// the port named in CMB_PORT, sends the port's row as one control call (CallDriver,
// config_appl/port/driver_call.h), shows the message that the answer's Status selects, and
// closes the device. No state of a connection is kept.
#ifndef KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_
#define KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_

#include "config_appl/model/panel.h"
#include "config_appl/port/driver_call.h"

namespace ketra {

// Sends the port's row as the table holds it to the port CMB_PORT names, and shows the answer.
void SendPortCommand(Panel& p, const DriverCommand& command);
// The disconnect: IOCTL_VSP_DISCONNECT to \\.\<port>\p. (The connect first reads and saves
// the form: ConnectClick, config_appl/app/commands.h.)
void DisconnectClick(Panel& p);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_DRIVER_DRIVER_COMMANDS_H_
