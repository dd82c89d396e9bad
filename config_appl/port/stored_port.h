// Where and how a port's settings are stored, and reading them back. Each port has the key
// HKEY_LOCAL_MACHINE\Software\Tessaron\VSP\<port> with eight type 0 (REG_NONE) texts, each the
// 8-bit text and one NUL, the length counting the NUL. Every read opens the key, reads one value
// and closes it again, so no key handle outlives a call. Reads only; the save is the panel's
// (config_appl/store/settings_save.h). Single-threaded, as the registry handle it is given.
#ifndef KETRA_CONFIG_APPL_PORT_STORED_PORT_H_
#define KETRA_CONFIG_APPL_PORT_STORED_PORT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "config_appl/port/port_record.h"
#include "platform/registry/registry.h"

namespace ketra {

inline constexpr std::string_view kCompany = "Tessaron";
inline constexpr std::string_view kProduct = "VSP";
inline constexpr std::uint32_t kReadBufferSize = 255;

// The names of a port key's values.
namespace stored {
inline constexpr std::string_view kPortName = "PORTNAME";
inline constexpr std::string_view kEnabled = "ENABLED";
inline constexpr std::string_view kFlowControl = "FLOWCONTROL";
inline constexpr std::string_view kXon = "XON";
inline constexpr std::string_view kXoff = "XOFF";
inline constexpr std::string_view kLocalPort = "LOCALPORT";
inline constexpr std::string_view kRemotePort = "REMOTEPORT";
inline constexpr std::string_view kRemoteIp = "REMOTEIP";
}  // namespace stored

// A switch (ENABLED, FLOWCONTROL) is stored as the character code of its digit, '1' or '0'.
// The load takes FLOWCONTROL as software unless it is kStoredOff, the form only when it is
// kStoredOn: on purpose, so any other number shows hardware on the form yet loads as software.
inline constexpr int kStoredOn = 49;
inline constexpr int kStoredOff = 48;

// The stored forms: kStoredOn/kStoredOff for the two switches, the leading number of a port text
// as plain number text (the address's is StoredAddressText, config_appl/port/address.h).
std::string StoredSwitch(bool on);
std::string StoredPortNumber(const std::string& port_text);

// Software\<company>\<product>\<section>.
std::string SettingsKeyPath(std::string_view company, std::string_view product,
                            std::string_view section);

// Reads one value into `last_read` (the text the previous read left) and returns it. A key that
// does not open returns `default_value` and leaves `last_read` as it was. Otherwise it is read
// through a buffer of 255 blanks: a type 0 value is cut to its length less the NUL; a missing
// value gives 254 blanks; a value of another type keeps all 255 characters.
std::string GetRegistryValue(registry::Registry& reg, std::string& last_read, registry::HKey hive,
                             std::string_view company, std::string_view product,
                             std::string_view section, std::string_view value_name,
                             std::string_view default_value);

// A value of the port's own key, its name as the default; returns `last_read` after the read,
// so a port without a key reads the text the previous read left.
const std::string& ReadPortValue(registry::Registry& reg, std::string& last_read,
                                 std::string_view port_name, std::string_view value_name);

// Whether the port's key exists in the store (it opens for reading).
bool PortKeyExists(registry::Registry& reg, std::string_view port_name);
// Whether the port's key exists and holds the value.
bool PortValueExists(registry::Registry& reg, std::string_view port_name,
                     std::string_view value_name);

// What a read does with a value the port's key lacks.
enum class MissingValue {
  kReadBlanks,  // as the start-up's load does: the read gives the buffer's 254 blanks
  kKeepRow,     // the row's field keeps what it holds (a default, say)
};

// Reads ENABLED, LOCALPORT, FLOWCONTROL, then XOFF and XON on software flow only, REMOTEIP and
// REMOTEPORT of the row's port through `last_read`. Throws runtime::ConversionError when a value
// does not convert, leaving the fields read by then.
void ReadStoredSettings(registry::Registry& reg, std::string& last_read, PortRecord& row,
                        MissingValue missing = MissingValue::kReadBlanks);

// The row for `port_name` the way the start-up's load reads it, for tools that act on a port
// outside the panel (the driver daemon and its client); nullopt when the key does not exist or
// a value does not convert. On hardware flow XON and XOFF are the start-up's 66 and 65.
std::optional<PortRecord> ReadStoredPort(registry::Registry& registry, std::string_view port_name);

// The row `base` (its PortName names the key) with each value its key holds read over the
// field; a value the key lacks leaves the field as `base` has it. nullopt when the key does not
// exist or a held value does not convert.
std::optional<PortRecord> ReadStoredPortOver(registry::Registry& registry, const PortRecord& base);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_PORT_STORED_PORT_H_
