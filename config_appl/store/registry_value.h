// Moving one text in or out of the store for the panel: the write, with the panel's answer to a
// key that cannot be made, and the read through the program's last-read text (RegValue). Where
// and how settings are stored is the port core's (config_appl/port/stored_port.h).
#ifndef KETRA_CONFIG_APPL_STORE_REGISTRY_VALUE_H_
#define KETRA_CONFIG_APPL_STORE_REGISTRY_VALUE_H_

#include <string>
#include <string_view>

#include "config_appl/model/panel.h"
#include "config_appl/port/stored_port.h"
#include "platform/registry/registry.h"

namespace ketra {

// Writes one value, opening (or creating) the key <hive>\Software\<company>\<product>\<section>
// and closing it again. A key that cannot be created shows "Error opening or creating registry
// key -- aborting." in a critical box and ends the program (throws forms::ProgramEnded).
// A failed write is not noticed.
void SetRegistryValue(Panel& p, registry::HKey hive, std::string_view company,
                      std::string_view product, std::string_view section,
                      std::string_view value_name, std::string_view value);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_REGISTRY_VALUE_H_
