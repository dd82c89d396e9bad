// The 12-byte record exchanged with the virtual serial port driver (device::Record, laid out in
// platform/device/driver_contract.h), as typed fields, and how a port's row becomes one.
// Plain data and pure functions; thread-safe.
#ifndef KETRA_CONFIG_APPL_PORT_DRIVER_RECORD_H_
#define KETRA_CONFIG_APPL_PORT_DRIVER_RECORD_H_

#include <cstdint>

#include "config_appl/port/port_record.h"
#include "platform/device/driver_contract.h"

namespace ketra {

struct VspCommand {
  std::uint32_t RemoteIP = 0;  // stored form (config_appl/port/address.h)
  std::int16_t RemotePort = 0;
  std::int16_t LocalPort = 0;
  std::uint8_t FlowControl = 0;  // 0 hardware, 1 software
  std::uint8_t XOFF = 0;
  std::uint8_t XON = 0;
  std::uint8_t Status = 0;
};

device::Record EncodeVspCommand(const VspCommand& command);
VspCommand DecodeVspCommand(const device::Record& record);

// The command a connect or disconnect sends for `row`: the leading numbers of its texts rounded
// into their fields (halves to even), the address as inet_addr reads it, Status 0.
// Throws runtime::ConversionError when a number does not fit its field.
VspCommand CommandFromRow(const PortRecord& row);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_PORT_DRIVER_RECORD_H_
