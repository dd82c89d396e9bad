#include "config_appl/store/discover_ports.h"

#include <charconv>
#include <cstdint>
#include <string>

#include "config_appl/port/device_map.h"
#include "platform/registry/registry.h"
#include "platform/runtime/strings.h"

namespace ketra {

std::string PortNameFromValueText(std::string_view value_text) {
  std::string_view name = value_text.substr(0, 5);
  const bool ends_in_digit = !name.empty() && name.back() >= '0' && name.back() <= '9';
  if (!ends_in_digit) name = value_text.substr(0, 4);
  return runtime::TrimSpaces(name);
}

void DiscoverPorts(Panel& p) {
  registry::Registry& reg = p.registry();
  Declarations& d = p.decl();

  // No status is looked at: a level that does not open leaves its handle 0, and every later
  // open and query on it finds nothing.
  registry::HKey hardware = 0;
  registry::HKey devicemap = 0;
  registry::HKey serialcomm = 0;
  reg.OpenKey(registry::kHKeyLocalMachine, kSerialCommKeyLevels[0], &hardware);
  reg.OpenKey(hardware, kSerialCommKeyLevels[1], &devicemap);
  reg.OpenKey(devicemap, kSerialCommKeyLevels[2], &serialcomm);

  // The length is deliberately kept across passes: a device number without a value leaves the
  // previous value's length, and the buffer of that many NULs then fails the test below.
  std::uint32_t value_length = 0;
  int next_row = 0;
  // The scan asks for 20,000 values; the name is rewritten in place behind its fixed prefix.
  constexpr std::string_view kValuePrefix = kDeviceNamePrefix;
  constexpr std::size_t kMaxDigits = 4;  // of the device numbers 0 to kLastDeviceNumber
  std::string value_name(kValuePrefix);
  std::string value_text;
  for (int device = 0; device <= kLastDeviceNumber; ++device) {
    value_name.resize(kValuePrefix.size() + kMaxDigits);
    char* digits = value_name.data() + kValuePrefix.size();
    char* end = std::to_chars(digits, digits + kMaxDigits, device).ptr;
    value_name.resize(static_cast<std::size_t>(end - value_name.data()));
    std::uint32_t type = registry::kRegSz;
    reg.QueryValueEx(serialcomm, value_name, &type, nullptr, &value_length);
    value_text.assign(value_length, '\0');
    type = registry::kRegSz;
    reg.QueryValueEx(serialcomm, value_name, &type,
                     reinterpret_cast<std::uint8_t*>(value_text.data()), &value_length);

    if (value_text.empty() || value_text[0] != 'C') continue;
    std::string name = PortNameFromValueText(value_text);
    if (next_row == kPortTableRows) break;
    d.PortCount = static_cast<std::int16_t>(d.PortCount + 1);
    d.PortTable[next_row].PortName = std::move(name);
    ++next_row;
  }

  reg.CloseKey(serialcomm);
  reg.CloseKey(devicemap);
  reg.CloseKey(hardware);
}

}  // namespace ketra
