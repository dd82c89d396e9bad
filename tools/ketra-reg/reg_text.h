// The text form of registry export files (header line REGEDIT4) over a Registry: writing a key
// and everything below it, reading a file into a list of changes, and applying that list.
// Files are UTF-8; the registry's names and texts are Windows-1252. Pure functions; they use
// the registry they are given from the calling thread only.
#ifndef KETRA_TOOLS_KETRA_REG_REG_TEXT_H_
#define KETRA_TOOLS_KETRA_REG_REG_TEXT_H_

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

// Writes the key at `full_path` ("" for the whole hive) and every key below it, depth-first,
// subkeys in the registry's order, values in creation order. Fails with the registry's status
// (kErrorFileNotFound for a key that does not exist, kErrorInvalidParameter for a bad path).
registry::Status ExportText(registry::Registry& reg, std::string_view full_path, std::string* text);

// Reads a whole file. On a malformed line, false with the line and what is wrong with it.
bool ParseText(std::string_view text, std::vector<RegChange>* changes, ParseError* error);

// Applies the changes in order, all or nothing where the registry supports batches. Deleting
// what does not exist is no failure. On failure, the status and a message naming the line.
registry::Status ApplyChanges(registry::Registry& reg, const std::vector<RegChange>& changes,
                              std::string* message);

}  // namespace ketra::regtext

#endif  // KETRA_TOOLS_KETRA_REG_REG_TEXT_H_
