#include "config_appl/form/read_ui.h"

#include <string>

#include "platform/runtime/conversion_error.h"
#include "platform/runtime/conversions.h"
#include "platform/runtime/strings.h"

namespace ketra {
namespace {

using forms::MsgBoxStyle;

void Refuse(Program& p, std::string_view message, MsgBoxStyle style) {
  p.MsgBox(message, style);
  p.decl().InputInvalid = -1;
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

void ReadUI(Program& p) {
  Declarations& d = p.decl();
  d.InputInvalid = 0;
  const std::string port = p.Text("CMB_PORT");
  if (port.empty()) {
    Refuse(p, "Invalid serial port", MsgBoxStyle::kExclamation);
    return;
  }
  for (int r = 0; r <= d.LastPort; ++r) {
    PortRecord& row = d.PortTable[r];
    if (row.PortName != port) continue;
    const bool software = p.Value("OPT_SWF");
    row.FlowControl = software ? "1" : "0";
    row.Enabled = p.Value("OPT_ENB") ? -1 : 0;
    if (p.Text("TXT_LOCPORT").empty()) {
      Refuse(p, "Local Port Invalid", MsgBoxStyle::kPlain);
      return;
    }
    if (p.Text("TXT_IP1").empty() || p.Text("TXT_IP2").empty() || p.Text("TXT_IP3").empty() ||
        p.Text("TXT_IP4").empty()) {
      Refuse(p, "IP Address invalid", MsgBoxStyle::kPlain);
      return;
    }
    if (software) {
      if (p.Text("TXT_XON").empty() || p.Text("TXT_XOFF").empty()) {
        Refuse(p, "XON or XOFF is Invalid", MsgBoxStyle::kPlain);
        return;
      }
      // A value beyond a byte ("&HFFF") is refused like an empty field, with the same message.
      const std::optional<std::uint8_t> xoff = FlowCharValue(p.Text("TXT_XOFF"));
      if (!xoff) {
        Refuse(p, "XON or XOFF is Invalid", MsgBoxStyle::kPlain);
        return;
      }
      row.XOFF = *xoff;
      const std::optional<std::uint8_t> xon = FlowCharValue(p.Text("TXT_XON"));
      if (!xon) {
        Refuse(p, "XON or XOFF is Invalid", MsgBoxStyle::kPlain);
        return;
      }
      row.XON = *xon;
    }
    if (p.Text("TXT_UDP").empty()) {
      Refuse(p, "Invalid Remote Port Address", MsgBoxStyle::kPlain);
      return;
    }
    row.LocalPort = p.Text("TXT_LOCPORT");
    row.RemoteIP =
        runtime::TrimSpaces(p.Text("TXT_IP1")) + "." + runtime::TrimSpaces(p.Text("TXT_IP2")) +
        "." + runtime::TrimSpaces(p.Text("TXT_IP3")) + "." + runtime::TrimSpaces(p.Text("TXT_IP4"));
    row.RemotePort = p.Text("TXT_UDP");
  }
}

}  // namespace ketra
