// Moving one text in or out of the store. Each call opens (or creates) the key
// <hive>\Software\<company>\<product>\<section>, moves one value and closes the key again, so no
// key handle outlives a call. Texts are stored as type 0 (REG_NONE) values: the 8-bit text and
// one NUL, the length counting the NUL.
#ifndef KETRA_CONFIG_APPL_STORE_REGISTRY_VALUE_H_
#define KETRA_CONFIG_APPL_STORE_REGISTRY_VALUE_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "config_appl/model/program.h"
#include "platform/registry/registry.h"

namespace ketra {

inline constexpr std::string_view kCompany = "Tessaron";
inline constexpr std::string_view kProduct = "VSP";
inline constexpr std::uint32_t kReadBufferSize = 255;

// Writes one value. A key that cannot be created shows "Error opening or creating registry key
// -- aborting." in a critical box and ends the program (throws forms::ProgramEnded).
// A failed write is not noticed.
void SetRegistryValue(Program& p, registry::HKey hive, std::string_view company,
                      std::string_view product, std::string_view section,
                      std::string_view value_name, std::string_view value);

// Dotted text of an address whose lowest byte is the first octet.
std::string IpFromLong(std::int32_t address);

// A copy of a zero-terminated 8-bit text, of exactly its length.
std::string StringFromPointer(const char* text);

// Reads one value into `reg_value` (a program's RegValue) and returns it. A key that does not
// open returns `default_value` and leaves `reg_value` as it was. Otherwise it is read through a
// buffer of 255 blanks: a type 0 value is cut to its length less the NUL; a missing value gives
// 254 blanks; a value of another type keeps all 255 characters.
std::string GetRegistryValue(registry::Registry& reg, std::string& reg_value, registry::HKey hive,
                             std::string_view company, std::string_view product,
                             std::string_view section, std::string_view value_name,
                             std::string_view default_value);

// The reads of the load and of the form's fill: the port's own key, its name as the default,
// the result left in `reg_value` (a program's RegValue).
const std::string& ReadPortValue(registry::Registry& reg, std::string& reg_value,
                                 std::string_view port_name, std::string_view value_name);
const std::string& ReadPortValue(Program& p, std::string_view port_name,
                                 std::string_view value_name);

// Whether the port's key exists in the store (it opens for reading).
bool PortKeyExists(registry::Registry& reg, std::string_view port_name);

// Whether the port's key exists and holds the value.
bool PortValueExists(registry::Registry& reg, std::string_view port_name,
                     std::string_view value_name);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_REGISTRY_VALUE_H_
