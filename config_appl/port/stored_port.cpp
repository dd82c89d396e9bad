#include "config_appl/port/stored_port.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "config_appl/port/address.h"
#include "platform/runtime/conversion_error.h"
#include "platform/runtime/conversions.h"

namespace ketra {

std::string StoredSwitch(bool on) { return std::to_string(on ? kStoredOn : kStoredOff); }

std::string StoredPortNumber(const std::string& port_text) {
  return runtime::NumberText(runtime::LeadingNumber(port_text));
}

std::string SettingsKeyPath(std::string_view company, std::string_view product,
                            std::string_view section) {
  std::string path = "Software\\";
  path += company;
  path += '\\';
  path += product;
  path += '\\';
  path += section;
  return path;
}

std::string GetRegistryValue(registry::Registry& reg, std::string& last_read, registry::HKey hive,
                             std::string_view company, std::string_view product,
                             std::string_view section, std::string_view value_name,
                             std::string_view default_value) {
  registry::HKey key = 0;
  if (reg.OpenKeyEx(hive, SettingsKeyPath(company, product, section), 0, registry::kKeyRead,
                    &key) != registry::kErrorSuccess) {
    return std::string(default_value);
  }
  last_read.assign(kReadBufferSize, ' ');
  std::uint32_t length = kReadBufferSize;
  std::uint32_t type = registry::kRegNone;
  std::array<std::uint8_t, kReadBufferSize> buffer;
  std::memcpy(buffer.data(), last_read.data(), buffer.size());
  reg.QueryValueEx(key, value_name, &type, buffer.data(), &length);
  last_read.assign(reinterpret_cast<const char*>(buffer.data()), buffer.size());
  if (type == registry::kRegNone) {
    // An empty type 0 value (length 0) cannot come from our own writes; it reads as empty text.
    // A value longer than the buffer leaves the buffer as it was.
    const std::uint32_t keep = length == 0 ? 0 : std::min(length - 1, kReadBufferSize);
    last_read.resize(keep);
  }
  std::string result = last_read;
  reg.CloseKey(key);
  return result;
}

const std::string& ReadPortValue(registry::Registry& reg, std::string& last_read,
                                 std::string_view port_name, std::string_view value_name) {
  GetRegistryValue(reg, last_read, registry::kHKeyLocalMachine, kCompany, kProduct, port_name,
                   value_name, port_name);
  return last_read;
}

bool PortKeyExists(registry::Registry& reg, std::string_view port_name) {
  registry::HKey key = 0;
  if (reg.OpenKeyEx(registry::kHKeyLocalMachine, SettingsKeyPath(kCompany, kProduct, port_name), 0,
                    registry::kKeyRead, &key) != registry::kErrorSuccess) {
    return false;
  }
  reg.CloseKey(key);
  return true;
}

bool PortValueExists(registry::Registry& reg, std::string_view port_name,
                     std::string_view value_name) {
  registry::HKey key = 0;
  if (reg.OpenKeyEx(registry::kHKeyLocalMachine, SettingsKeyPath(kCompany, kProduct, port_name), 0,
                    registry::kKeyRead, &key) != registry::kErrorSuccess) {
    return false;
  }
  const bool exists =
      reg.QueryValueEx(key, value_name, nullptr, nullptr, nullptr) == registry::kErrorSuccess;
  reg.CloseKey(key);
  return exists;
}

void ReadStoredSettings(registry::Registry& reg, std::string& last_read, PortRecord& row,
                        MissingValue missing) {
  using runtime::LeadingNumber;
  const std::string name = row.PortName;
  auto read = [&](std::string_view value_name) -> const std::string& {
    return ReadPortValue(reg, last_read, name, value_name);
  };
  // Whether the value is to be read at all: with kKeepRow, a value the key lacks leaves its field.
  auto held = [&](std::string_view value_name) {
    return missing == MissingValue::kReadBlanks || PortValueExists(reg, name, value_name);
  };
  if (held(stored::kEnabled)) {
    row.Enabled = LeadingNumber(read(stored::kEnabled)) == kStoredOn ? -1 : 0;
  }
  if (held(stored::kLocalPort)) row.LocalPort = read(stored::kLocalPort);
  if (held(stored::kFlowControl)) {
    row.FlowControl =
        LeadingNumber(read(stored::kFlowControl)) == kStoredOff ? kHardwareFlow : kSoftwareFlow;
  }
  if (row.FlowControl == kSoftwareFlow) {
    if (held(stored::kXoff)) row.XOFF = runtime::ByteFromText(read(stored::kXoff));
    if (held(stored::kXon)) row.XON = runtime::ByteFromText(read(stored::kXon));
  }
  if (held(stored::kRemoteIp)) {
    const double address = LeadingNumber(read(stored::kRemoteIp));
    row.RemoteIP = TextFromStored(runtime::RoundToInt32(address));
  }
  if (held(stored::kRemotePort)) row.RemotePort = read(stored::kRemotePort);
}

std::optional<PortRecord> ReadStoredPort(registry::Registry& registry, std::string_view port_name) {
  if (!PortKeyExists(registry, port_name)) return std::nullopt;
  PortRecord row;
  row.PortName = std::string(port_name);
  SetStartupFlow(row);
  std::string last_read;
  try {
    ReadStoredSettings(registry, last_read, row);
  } catch (const runtime::ConversionError&) {
    return std::nullopt;
  }
  return row;
}

std::optional<PortRecord> ReadStoredPortOver(registry::Registry& registry, const PortRecord& base) {
  if (!PortKeyExists(registry, base.PortName)) return std::nullopt;
  PortRecord row = base;
  std::string last_read;
  try {
    ReadStoredSettings(registry, last_read, row, MissingValue::kKeepRow);
  } catch (const runtime::ConversionError&) {
    return std::nullopt;
  }
  return row;
}

}  // namespace ketra
