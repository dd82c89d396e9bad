#include "config_appl/form/read_form.h"

#include <string>

#include "config_appl/form1/controls.h"
#include "platform/runtime/conversion_error.h"
#include "platform/runtime/conversions.h"
#include "platform/runtime/strings.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;

bool Refuse(Panel& p, std::string_view message, MsgBoxStyle style) {
  p.MsgBox(message, style);
  return false;
}

}  // namespace

std::optional<std::uint8_t> FlowCharValue(std::string_view text) {
  if (!text.empty() && text[0] == '&') {
    try {
      return runtime::RoundToByte(runtime::LeadingNumber(text));
    } catch (const runtime::ConversionError&) {
      return std::nullopt;
    }
  }
  return runtime::CharCode(text);
}

bool ReadForm(Panel& p) {
  Declarations& d = p.decl();
  const std::string port = p.Text(ctl::kPortList);
  if (port.empty()) {
    return Refuse(p, "Invalid serial port", MsgBoxStyle::kExclamation);
  }
  for (int r = 0; r <= d.LastPort; ++r) {
    PortRecord& row = d.PortTable[r];
    if (row.PortName != port) continue;
    const bool software = p.Value(ctl::kSoftwareFlow);
    row.FlowControl = software ? "1" : "0";
    row.Enabled = p.Value(ctl::kEnabled) ? -1 : 0;
    if (p.Text(ctl::kLocalPort).empty()) {
      return Refuse(p, "Local Port Invalid", MsgBoxStyle::kPlain);
    }
    if (p.Text(ctl::kAddressParts[0]).empty() || p.Text(ctl::kAddressParts[1]).empty() ||
        p.Text(ctl::kAddressParts[2]).empty() || p.Text(ctl::kAddressParts[3]).empty()) {
      return Refuse(p, "IP Address invalid", MsgBoxStyle::kPlain);
    }
    if (software) {
      if (p.Text(ctl::kXon).empty() || p.Text(ctl::kXoff).empty()) {
        return Refuse(p, "XON or XOFF is Invalid", MsgBoxStyle::kPlain);
      }
      // A value beyond a byte ("&HFFF") is refused like an empty field, with the same message.
      const std::optional<std::uint8_t> xoff = FlowCharValue(p.Text(ctl::kXoff));
      if (!xoff) {
        return Refuse(p, "XON or XOFF is Invalid", MsgBoxStyle::kPlain);
      }
      row.XOFF = *xoff;
      const std::optional<std::uint8_t> xon = FlowCharValue(p.Text(ctl::kXon));
      if (!xon) {
        return Refuse(p, "XON or XOFF is Invalid", MsgBoxStyle::kPlain);
      }
      row.XON = *xon;
    }
    if (p.Text(ctl::kRemotePort).empty()) {
      return Refuse(p, "Invalid Remote Port Address", MsgBoxStyle::kPlain);
    }
    row.LocalPort = p.Text(ctl::kLocalPort);
    row.RemoteIP = runtime::TrimSpaces(p.Text(ctl::kAddressParts[0])) + "." +
                   runtime::TrimSpaces(p.Text(ctl::kAddressParts[1])) + "." +
                   runtime::TrimSpaces(p.Text(ctl::kAddressParts[2])) + "." +
                   runtime::TrimSpaces(p.Text(ctl::kAddressParts[3]));
    row.RemotePort = p.Text(ctl::kRemotePort);
  }
  return true;
}

}  // namespace ketra
