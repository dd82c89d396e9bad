// Saving the settings of every port: one key per port under
// HKEY_LOCAL_MACHINE\Software\Tessaron\VSP, eight type 0 texts each, written in a fixed order,
// each with one complete SetRegistryValue.
#ifndef KETRA_CONFIG_APPL_STORE_SETTINGS_SAVE_H_
#define KETRA_CONFIG_APPL_STORE_SETTINGS_SAVE_H_

#include <string>

#include "config_appl/model/program.h"

namespace ketra {

void CreateConfigFile2(Program& p);

// A switch (ENABLED, FLOWCONTROL) is stored as the character code of its digit, '1' or '0'.
// The load takes FLOWCONTROL as software unless it is kStoredOff, the form only when it is
// kStoredOn: on purpose, so any other number shows hardware on the form yet loads as software.
inline constexpr int kStoredOn = 49;
inline constexpr int kStoredOff = 48;

// The stored forms: kStoredOn/kStoredOff for the two switches, the leading number of a port text as
// plain number text, the address as the decimal signed 32-bit inet_addr result.
std::string StoredSwitch(bool on);
std::string StoredPortNumber(const std::string& port_text);
std::string StoredAddress(const std::string& dotted);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_SETTINGS_SAVE_H_
