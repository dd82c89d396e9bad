// The machine's Ketra configuration file, e.g. /etc/ketra/ketra.conf:
//
//   # comment (also ';')
//   hive = /var/lib/ketra/hive.db        <- keys before any section: read by every program
//   socket = /run/ketra/vspd.sock
//   [daemon]                             <- read by the driver daemon only
//   ports = "COM3,COM4"
//
// A value may stand in double quotes (no escapes); blanks around names and values are dropped.
// The parser knows no key: each reader checks the keys of its own part (the daemon refuses
// what it does not know, naming file and line). Pure apart from reading the file; thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_SITE_CONFIG_H_
#define KETRA_PLATFORM_RUNTIME_SITE_CONFIG_H_

#include <string>
#include <string_view>
#include <vector>

#include "platform/runtime/status.h"

namespace ketra::runtime {

struct ConfigEntry {
  std::string section;  // "" before the first [section]
  std::string key;
  std::string value;
  int line = 0;
  int section_line = 0;  // the line of the [section] header, 0 before any
};

// Parses the text. InvalidArgument "LINE: why" on the first malformed line.
StatusOr<std::vector<ConfigEntry>> ParseConfigText(std::string_view text);

// Reads and parses a file. InvalidArgument "FILE:LINE: why" for a malformed line, NotFound
// "FILE: cannot be read" when the file cannot be read (a missing file too).
StatusOr<std::vector<ConfigEntry>> ReadConfigFile(const std::string& path);

// The machine's file, fixed at build time.
std::string SiteConfigPath();

// The value of a key before any section in the file at `path`; "" when the file is missing or
// unreadable, a line is malformed, or the key is not there. Programs take their defaults from it
// and never fail on it.
std::string SiteConfigValue(const std::string& path, std::string_view key);

// The value of the environment variable `name`, "" when it is not set. The user's own setup
// (KETRA_HIVE, XDG paths) comes before the machine's file.
std::string EnvironmentValue(const char* name);

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_SITE_CONFIG_H_
