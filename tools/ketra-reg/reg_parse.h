// Reading the text form of registry export files (header line REGEDIT4) into a list of changes.
// Files are UTF-8; the registry's names and texts are Windows-1252. Pure functions, thread-safe.
#ifndef KETRA_TOOLS_KETRA_REG_REG_PARSE_H_
#define KETRA_TOOLS_KETRA_REG_REG_PARSE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/registry/registry.h"

namespace ketra::regtext {

// One change read from a file. `key` is the path below HKEY_LOCAL_MACHINE ("" for the root),
// names and data in the registry's own 8-bit form.
struct RegChange {
  enum class Kind { kOpenKey, kDeleteKey, kSetValue, kDeleteValue };
  Kind kind = Kind::kOpenKey;
  int line = 0;  // where the change starts in the file, from 1
  std::string key;
  std::string name;
  std::uint32_t type = registry::kRegNone;
  std::vector<std::uint8_t> data;
};

struct ParseError {
  int line = 0;
  std::string message;
};

// The path below the root of a full key path, "HKEY_LOCAL_MACHINE\..." or "HKLM\..." (any
// case); false for another root or an empty part.
bool RelativeKeyPath(std::string_view full_path, std::string* relative);

// Reads a whole file. On a malformed line, false with the line and what is wrong with it.
bool ParseText(std::string_view text, std::vector<RegChange>* changes, ParseError* error);

}  // namespace ketra::regtext

#endif  // KETRA_TOOLS_KETRA_REG_REG_PARSE_H_
