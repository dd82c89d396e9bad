// Port discovery: walks the driver's device names \Device\TesSerial0 to 9999 in the serial
// device map (HKEY_LOCAL_MACHINE\HARDWARE\DEVICEMAP\SERIALCOMM) and gives each port whose data
// begins with "C" the next row of the table, up to 101 rows.
#ifndef KETRA_CONFIG_APPL_STORE_DISCOVER_PORTS_H_
#define KETRA_CONFIG_APPL_STORE_DISCOVER_PORTS_H_

#include <string>
#include <string_view>

#include "config_appl/model/panel.h"

namespace ketra {

void DiscoverPorts(Panel& p);

// The port name cut out of a device map value text (NULs included as characters): its first
// five characters if the fifth is a digit, else its first four, without spaces at either end.
std::string PortNameFromValueText(std::string_view value_text);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_DISCOVER_PORTS_H_
