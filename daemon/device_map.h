// The driver's entries in the serial device map of the hive: under
// HKEY_LOCAL_MACHINE\HARDWARE\DEVICEMAP\SERIALCOMM one REG_SZ value "\Device\TesSerial<n>" per
// port, n counted from 0 in port order, holding the port name and a NUL. These values belong to
// this driver alone: at start any left by a run that died are removed before ours are written;
// values of other names in that key are never touched. Withdraw removes ours; the destructor
// withdraws too. Owns its entries, not the registry; single-threaded.
#ifndef KETRA_DAEMON_DEVICE_MAP_H_
#define KETRA_DAEMON_DEVICE_MAP_H_

#include <string>
#include <string_view>
#include <vector>

#include "config_appl/port/device_map.h"
#include "platform/registry/registry.h"
#include "platform/runtime/status.h"

namespace ketra::vspd {

using ketra::kDeviceNamePrefix;  // the names are the port core's (config_appl/port/device_map.h)
using ketra::kSerialCommKey;

class DeviceMap {
 public:
  explicit DeviceMap(registry::Registry& registry) : registry_(registry) {}
  DeviceMap(const DeviceMap&) = delete;
  DeviceMap& operator=(const DeviceMap&) = delete;
  ~DeviceMap() { Withdraw(); }

  // Removes stale entries of this driver and writes one per port. When the key cannot be made or
  // a value not written, what was written is withdrawn and the Status says why: Corruption for a
  // hive that is damaged or another program's file, PermissionDenied for one that may not be
  // written, Busy for one another program holds locked (worth another try), IoError otherwise.
  runtime::Status Publish(const std::vector<std::string>& port_names);
  // Removes the entries this object wrote; false when one could not be removed.
  bool Withdraw();

 private:
  registry::Registry& registry_;
  std::vector<std::string> written_;
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DEVICE_MAP_H_
