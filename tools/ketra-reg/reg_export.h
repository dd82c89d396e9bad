// Writing a registry key and everything below it in the text form of registry export files
// (header line REGEDIT4, UTF-8). Uses the registry it is given from the calling thread only.
#ifndef KETRA_TOOLS_KETRA_REG_REG_EXPORT_H_
#define KETRA_TOOLS_KETRA_REG_REG_EXPORT_H_

#include <string>
#include <string_view>

#include "platform/registry/registry.h"

namespace ketra::regtext {

// Writes the key at `full_path` ("" for the whole hive) and every key below it, depth-first,
// subkeys in the registry's order, values in creation order. Fails with the registry's status
// (kErrorFileNotFound for a key that does not exist, kErrorInvalidParameter for a bad path).
registry::Status ExportText(registry::Registry& reg, std::string_view full_path, std::string* text);

}  // namespace ketra::regtext

#endif  // KETRA_TOOLS_KETRA_REG_REG_EXPORT_H_
