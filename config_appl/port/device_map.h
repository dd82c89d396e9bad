// The names of the driver's entries in the hive's serial device map, which the driver daemon
// writes and the panel reads to find its ports: under the key
// HKEY_LOCAL_MACHINE\HARDWARE\DEVICEMAP\SERIALCOMM one REG_SZ value "\Device\TesSerial<n>" per
// port, n from 0 to 9999, holding the port name and a NUL. Plain constants.
#ifndef KETRA_CONFIG_APPL_PORT_DEVICE_MAP_H_
#define KETRA_CONFIG_APPL_PORT_DEVICE_MAP_H_

#include <array>
#include <string_view>

namespace ketra {

// The key under HKEY_LOCAL_MACHINE, whole and level by level.
inline constexpr std::string_view kSerialCommKey = "HARDWARE\\DEVICEMAP\\SERIALCOMM";
inline constexpr std::array<std::string_view, 3> kSerialCommKeyLevels = {"HARDWARE", "DEVICEMAP",
                                                                         "SERIALCOMM"};
static_assert(kSerialCommKey.substr(0, 8) == kSerialCommKeyLevels[0] &&
              kSerialCommKey.substr(9, 9) == kSerialCommKeyLevels[1] &&
              kSerialCommKey.substr(19) == kSerialCommKeyLevels[2]);

// A device's value name is this prefix and its number in decimal.
inline constexpr std::string_view kDeviceNamePrefix = "\\Device\\TesSerial";
inline constexpr int kLastDeviceNumber = 9999;

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_PORT_DEVICE_MAP_H_
