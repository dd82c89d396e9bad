#include "config_appl/driver/vsp_command.h"

#include "config_appl/model/program.h"
#include "platform/net/inet.h"
#include "platform/runtime/conversions.h"

namespace ketra {

device::Record EncodeVspCommand(const VspCommand& c) {
  const auto remote_port = static_cast<std::uint16_t>(c.RemotePort);
  const auto local_port = static_cast<std::uint16_t>(c.LocalPort);
  return {static_cast<std::uint8_t>(c.RemoteIP & 0xFF),
          static_cast<std::uint8_t>((c.RemoteIP >> 8) & 0xFF),
          static_cast<std::uint8_t>((c.RemoteIP >> 16) & 0xFF),
          static_cast<std::uint8_t>((c.RemoteIP >> 24) & 0xFF),
          static_cast<std::uint8_t>(remote_port & 0xFF),
          static_cast<std::uint8_t>(remote_port >> 8),
          static_cast<std::uint8_t>(local_port & 0xFF),
          static_cast<std::uint8_t>(local_port >> 8),
          c.FlowControl,
          c.XOFF,
          c.XON,
          c.Status};
}

VspCommand CommandFromRow(const PortRecord& row) {
  VspCommand c;
  c.FlowControl = runtime::RoundToByte(runtime::LeadingNumber(row.FlowControl));
  c.RemoteIP = net::InetAddr(row.RemoteIP);
  c.RemotePort = runtime::RoundToInt16(runtime::LeadingNumber(row.RemotePort));
  c.XOFF = row.XOFF;
  c.XON = row.XON;
  c.Status = 0;
  c.LocalPort = runtime::RoundToInt16(runtime::LeadingNumber(row.LocalPort));
  return c;
}

}  // namespace ketra
