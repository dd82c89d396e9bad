// Writing a key and everything below it in the REGEDIT4 form.
#include "tools/ketra-reg/reg_export.h"
#include "platform/runtime/strings.h"

#include <cstdio>
#include <vector>

#include "platform/registry/scoped_key.h"
#include "platform/runtime/codepage.h"
#include "tools/ketra-reg/reg_parse.h"

namespace ketra::regtext {
namespace {

using registry::HKey;
using registry::kErrorSuccess;
using registry::kHKeyLocalMachine;
using registry::Registry;
using registry::Status;

constexpr std::string_view kRootName = "HKEY_LOCAL_MACHINE";

std::string Quote(std::string_view ansi) {
  std::string escaped;
  for (char c : ansi) {
    if (c == '\\' || c == '"') escaped += '\\';
    escaped += c;
  }
  return '"' + runtime::AnsiToUtf8(escaped) + '"';
}

std::string ValueLine(const std::string& name, std::uint32_t type,
                      const std::vector<std::uint8_t>& data) {
  std::string line = name.empty() ? "@" : Quote(name);
  line += '=';
  bool text = type == registry::kRegSz && !data.empty() && data.back() == 0;
  for (std::size_t i = 0; text && i + 1 < data.size(); ++i) text = data[i] != 0;
  if (text) {
    line += Quote(std::string_view(reinterpret_cast<const char*>(data.data()), data.size() - 1));
    return line;
  }
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "hex(%x):", type);
  line += buffer;
  for (std::size_t i = 0; i < data.size(); ++i) {
    std::snprintf(buffer, sizeof buffer, i == 0 ? "%02x" : ",%02x", data[i]);
    line += buffer;
  }
  return line;
}

Status ExportKey(Registry& reg, HKey key, const std::string& path, std::string* text) {
  *text += "\n[" + runtime::AnsiToUtf8(path) + "]\n";
  std::string name;
  std::uint32_t type = 0;
  std::vector<std::uint8_t> data;
  Status status = kErrorSuccess;
  std::uint32_t index = 0;
  while ((status = reg.EnumValue(key, index++, &name, &type, &data)) == kErrorSuccess) {
    *text += ValueLine(name, type, data) + '\n';
  }
  if (status != registry::kErrorNoMoreItems) return status;
  std::vector<std::string> subkeys;
  index = 0;
  while ((status = reg.EnumKey(key, index++, &name)) == kErrorSuccess) subkeys.push_back(name);
  if (status != registry::kErrorNoMoreItems) return status;
  for (const std::string& subkey : subkeys) {
    HKey opened = 0;
    status = reg.OpenKeyEx(key, subkey, 0, registry::kKeyRead, &opened);
    const registry::ScopedKey child(reg, opened);
    if (status != kErrorSuccess) return status;
    status = ExportKey(reg, child.get(), path + '\\' + subkey, text);
    if (status != kErrorSuccess) return status;
  }
  return kErrorSuccess;
}

}  // namespace

Status ExportText(Registry& reg, std::string_view full_path, std::string* text) {
  std::string relative;
  if (!full_path.empty() && !RelativeKeyPath(full_path, &relative)) {
    return registry::kErrorInvalidParameter;
  }
  // The header shows each key in the case it was made in, whatever case the caller typed.
  std::string shown(kRootName);
  registry::ScopedKey key(reg, kHKeyLocalMachine);
  std::size_t start = 0;
  while (start < relative.size()) {
    std::size_t end = relative.find('\\', start);
    if (end == std::string::npos) end = relative.size();
    const std::string part = relative.substr(start, end - start);
    std::string name;
    std::string found;
    for (std::uint32_t i = 0; reg.EnumKey(key.get(), i, &name) == kErrorSuccess; ++i) {
      if (runtime::EqualsNoCase(name, part)) found = name;
    }
    HKey child = 0;
    Status status = reg.OpenKeyEx(key.get(), part, 0, registry::kKeyRead, &child);
    key.Reset(child);
    if (status != kErrorSuccess) return status;
    shown += '\\' + (found.empty() ? part : found);
    start = end + 1;
  }
  std::string out = "REGEDIT4\n";
  Status status = ExportKey(reg, key.get(), shown, &out);
  key.Reset();
  if (status != kErrorSuccess) return status;
  *text = std::move(out);
  return kErrorSuccess;
}

}  // namespace ketra::regtext
