#include "config_appl/port/driver_record.h"

#include <span>

#include "config_appl/port/address.h"
#include "platform/runtime/conversions.h"

namespace ketra {
namespace {

using namespace device::record;  // the field offsets

void PutU16(device::Record& r, std::size_t offset, std::int16_t value) {
  const auto bits = static_cast<std::uint16_t>(value);
  r[offset] = static_cast<std::uint8_t>(bits & 0xFF);
  r[offset + 1] = static_cast<std::uint8_t>(bits >> 8);
}

std::int16_t GetU16(const device::Record& r, std::size_t offset) {
  return static_cast<std::int16_t>(r[offset] | r[offset + 1] << 8);
}

}  // namespace

device::Record EncodeVspCommand(const VspCommand& c) {
  device::Record r{};
  StoredToRecordBytes(c.RemoteIP, std::span(r).subspan<kRemoteAddress, 4>());
  PutU16(r, kRemotePort, c.RemotePort);
  PutU16(r, kLocalPort, c.LocalPort);
  r[kFlowControl] = c.FlowControl;
  r[kXoff] = c.XOFF;
  r[kXon] = c.XON;
  r[kStatus] = c.Status;
  return r;
}

VspCommand DecodeVspCommand(const device::Record& r) {
  VspCommand c;
  c.RemoteIP = StoredFromRecordBytes(std::span(r).subspan<kRemoteAddress, 4>());
  c.RemotePort = GetU16(r, kRemotePort);
  c.LocalPort = GetU16(r, kLocalPort);
  c.FlowControl = r[kFlowControl];
  c.XOFF = r[kXoff];
  c.XON = r[kXon];
  c.Status = r[kStatus];
  return c;
}

VspCommand CommandFromRow(const PortRecord& row) {
  VspCommand c;
  c.FlowControl = runtime::RoundToByte(runtime::LeadingNumber(row.FlowControl));
  c.RemoteIP = StoredFromText(row.RemoteIP);
  c.RemotePort = runtime::RoundToInt16(runtime::LeadingNumber(row.RemotePort));
  c.XOFF = row.XOFF;
  c.XON = row.XON;
  c.Status = 0;
  c.LocalPort = runtime::RoundToInt16(runtime::LeadingNumber(row.LocalPort));
  return c;
}

}  // namespace ketra
