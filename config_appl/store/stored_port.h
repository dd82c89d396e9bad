// One port's stored settings read into a row the way the start-up load reads them, for tools
// that act on a port outside the panel (the driver daemon's client). Reads only.
#ifndef KETRA_CONFIG_APPL_STORE_STORED_PORT_H_
#define KETRA_CONFIG_APPL_STORE_STORED_PORT_H_

#include <optional>
#include <string_view>

#include "config_appl/model/program.h"
#include "platform/registry/registry.h"

namespace ketra {

// The row for `port_name` from its key under Software\Tessaron\VSP; nullopt when the key does
// not exist or a value does not convert. On hardware flow control XON and XOFF are 66 and 65,
// the values start-up gives such a port.
std::optional<PortRecord> ReadStoredPort(registry::Registry& registry, std::string_view port_name);

// The row `base` (its PortName names the key) with each value its key holds read over the
// field; a value the key lacks leaves the field as `base` has it. nullopt when the key does not
// exist or a held value does not convert.
std::optional<PortRecord> ReadStoredPortOver(registry::Registry& registry, const PortRecord& base);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_STORED_PORT_H_
