#include "platform/runtime/site_config.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "platform/runtime/build_info.h"
#include "platform/runtime/strings.h"

namespace ketra::runtime {
namespace {

std::string_view Trim(std::string_view text) { return TrimAny(text, " \t\r"); }

bool IsName(std::string_view name) {
  if (name.empty()) return false;
  for (const char c : name) {
    const bool fine = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '-' || c == '_' || c == '.';
    if (!fine) return false;
  }
  return true;
}

}  // namespace

StatusOr<std::vector<ConfigEntry>> ParseConfigText(std::string_view text) {
  std::vector<ConfigEntry> entries;
  std::string section;
  int section_line = 0;
  int number = 0;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    ++number;
    if (line.empty() || line.front() == '#' || line.front() == ';') continue;
    const auto fail = [&](const std::string& why) {
      return Status::InvalidArgument(std::to_string(number) + ": " + why);
    };
    if (line.front() == '[') {
      if (line.back() != ']' || !IsName(Trim(line.substr(1, line.size() - 2)))) {
        return fail("malformed section header");
      }
      section = std::string(Trim(line.substr(1, line.size() - 2)));
      section_line = number;
      continue;
    }
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return fail("expected name = value");
    const std::string_view key = Trim(line.substr(0, equals));
    std::string_view value = Trim(line.substr(equals + 1));
    if (!IsName(key)) return fail("malformed name '" + std::string(key) + "'");
    if (!value.empty() && value.front() == '"') {
      if (value.size() < 2 || value.back() != '"') return fail("unterminated quoted value");
      value = value.substr(1, value.size() - 2);
    }
    entries.push_back({section, std::string(key), std::string(value), number, section_line});
  }
  return entries;
}

StatusOr<std::vector<ConfigEntry>> ReadConfigFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return Status::NotFound(path + ": cannot be read");
  const std::string text(std::istreambuf_iterator<char>(in), {});
  StatusOr<std::vector<ConfigEntry>> parsed = ParseConfigText(text);
  if (!parsed.ok()) return Status::InvalidArgument(path + ":" + parsed.status().message());
  return parsed;
}

std::string SiteConfigPath() { return KETRA_SITE_CONFIG; }

std::string SiteConfigValue(const std::string& path, std::string_view key) {
  const StatusOr<std::vector<ConfigEntry>> entries = ReadConfigFile(path);
  if (!entries.ok()) return "";
  for (const ConfigEntry& entry : *entries) {
    if (entry.section.empty() && entry.key == key) return entry.value;
  }
  return "";
}

std::string EnvironmentValue(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace ketra::runtime
