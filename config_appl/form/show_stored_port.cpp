#include "config_appl/form/show_stored_port.h"

#include <cstdio>
#include <string_view>
#include <vector>

#include "config_appl/form1/controls.h"
#include "config_appl/port/address.h"
#include "config_appl/port/stored_port.h"
#include "platform/runtime/conversions.h"

namespace ketra {
namespace {

std::vector<std::string> SplitAtDots(const std::string& text) {
  std::vector<std::string> parts;
  std::string::size_type start = 0;
  for (;;) {
    const auto dot = text.find('.', start);
    parts.push_back(text.substr(start, dot == std::string::npos ? std::string::npos : dot - start));
    if (dot == std::string::npos) return parts;
    start = dot + 1;
  }
}

}  // namespace

std::string FlowCharDisplay(double code) {
  const std::int32_t whole = runtime::RoundToInt32(code);
  if (code >= 33 && code <= 126) return std::string(1, static_cast<char>(whole));
  char hex[16];
  std::snprintf(hex, sizeof hex, "&H%X", static_cast<unsigned>(whole));
  return hex;
}

void ShowStoredPort(Panel& p) {
  using runtime::LeadingNumber;
  const std::string port = p.Text(ctl::kPortList);
  if (port.empty()) return;
  Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) {
    PortRecord& row = d.PortTable[r];
    if (row.PortName != port) continue;
    const std::string name = row.PortName;
    auto read = [&](std::string_view value_name) -> const std::string& {
      return ReadPortValue(p.registry(), d.RegValue, name, value_name);
    };

    if (LeadingNumber(read(stored::kEnabled)) == kStoredOn) {
      row.Enabled = -1;
      p.SetValue(ctl::kEnabled, true);
      p.SetValue(ctl::kDisabled, false);
    } else {
      row.Enabled = 0;
      p.SetValue(ctl::kEnabled, false);
      p.SetValue(ctl::kDisabled, true);
    }

    row.LocalPort = read(stored::kLocalPort);
    p.SetText(ctl::kLocalPort, row.LocalPort);

    if (LeadingNumber(read(stored::kFlowControl)) == kStoredOn) {
      row.FlowControl = kSoftwareFlow;
      p.SetValue(ctl::kSoftwareFlow, true);
      const std::string& xoff = read(stored::kXoff);
      row.XOFF = runtime::ByteFromText(xoff);
      p.SetText(ctl::kXoff, FlowCharDisplay(LeadingNumber(xoff)));
      const std::string& xon = read(stored::kXon);
      row.XON = runtime::ByteFromText(xon);
      p.SetText(ctl::kXon, FlowCharDisplay(LeadingNumber(xon)));
    } else {
      row.FlowControl = kHardwareFlow;
      p.SetValue(ctl::kHardwareFlow, true);
    }

    const std::string dotted =
        TextFromStored(runtime::RoundToInt32(LeadingNumber(read(stored::kRemoteIp))));
    row.RemoteIP = dotted;
    const std::vector<std::string> parts = SplitAtDots(dotted);
    p.SetText(ctl::kAddressParts[0], parts.at(0));
    p.SetText(ctl::kAddressParts[1], parts.at(1));
    p.SetText(ctl::kAddressParts[2], parts.at(2));
    p.SetText(ctl::kAddressParts[3], parts.at(3));

    row.RemotePort = read(stored::kRemotePort);
    p.SetText(ctl::kRemotePort, row.RemotePort);
  }
}

}  // namespace ketra
