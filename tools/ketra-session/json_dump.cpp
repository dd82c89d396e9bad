#include "tools/ketra-session/json_dump.h"
#include "platform/runtime/strings.h"

#include <cstdio>
#include <string>

#include "platform/runtime/codepage.h"

namespace ketra::session {
namespace {

std::string CodeText(std::uint32_t code) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "0x%08x", static_cast<unsigned>(code));
  return buffer;
}

}  // namespace

Json Text(std::string_view ansi) { return Json(runtime::AnsiToUtf8(ansi)); }

Json StateJson(const Program& program) {
  const Declarations& decl = program.decl();
  const forms::Form& form = program.form();
  Json state;
  state["PortCount"] = decl.PortCount;
  state["LastPort"] = decl.LastPort;
  state["InputInvalid"] = decl.InputInvalid;
  state["RegValue"] = Text(decl.RegValue);
  state["AppPath"] = Text(decl.AppPath);
  state["MonitorCountdown"] = program.MonitorCountdown;
  state["Focus"] = form.focus() == forms::kNoControl ? Json("") : Text(form.at(form.focus()).name);
  state["Page"] = form.page();
  Json line;
  line["state"] = std::move(state);
  return line;
}

Json RowJson(const Program& program, int row) {
  const PortRecord& record = program.decl().PortTable.at(static_cast<size_t>(row));
  Json line;
  line["row"] = row;
  line["Enabled"] = record.Enabled;
  line["PortName"] = Text(record.PortName);
  line["RemoteIP"] = Text(record.RemoteIP);
  line["RemotePort"] = Text(record.RemotePort);
  line["LocalPort"] = Text(record.LocalPort);
  line["FlowControl"] = Text(record.FlowControl);
  line["XON"] = record.XON;
  line["XOFF"] = record.XOFF;
  return line;
}

Json ControlJson(const forms::Control& control) {
  using forms::Kind;
  Json line;
  line["control"] = Text(control.name);
  line["kind"] = std::string(forms::KindName(control.kind));
  const auto enabled_visible = [&] {
    line["enabled"] = control.enabled;
    line["visible"] = control.visible;
  };
  switch (control.kind) {
    case Kind::kForm:
      line["caption"] = Text(control.caption);
      break;
    case Kind::kTab: {
      // As the tab control's own Caption property: the caption of the page shown.
      const bool has_page =
          control.tab_shown >= 0 && control.tab_shown < static_cast<int>(control.tabs.size());
      line["caption"] =
          has_page ? Text(control.tabs[static_cast<size_t>(control.tab_shown)]) : Json("");
      enabled_visible();
      break;
    }
    case Kind::kFrame:
    case Kind::kLabel:
    case Kind::kButton:
      line["caption"] = Text(control.caption);
      enabled_visible();
      break;
    case Kind::kTextBox:
      line["text"] = Text(control.text);
      enabled_visible();
      line["maxlength"] = control.max_length;
      line["selstart"] = control.sel_start;
      line["sellength"] = control.sel_length;
      break;
    case Kind::kOption:
      line["caption"] = Text(control.caption);
      line["value"] = control.value;
      enabled_visible();
      break;
    case Kind::kComboBox: {
      line["text"] = Text(control.text);
      Json items = Json::array();
      for (const std::string& item : control.items) items.push_back(Text(item));
      line["items"] = std::move(items);
      line["index"] = control.list_index;
      enabled_visible();
      break;
    }
    case Kind::kImage:
      line["picture"] = std::string(forms::PictureName(control.picture));
      break;
    case Kind::kTimer:
      line["enabled"] = control.enabled;
      line["interval"] = control.interval;
      break;
    case Kind::kUpDown:
      enabled_visible();
      break;
  }
  return line;
}

Json MsgBoxEvent(std::string_view text, forms::MsgBoxStyle style) {
  Json line;
  line["event"] = "msgbox";
  line["style"] = std::string(forms::MsgBoxStyleName(style));
  line["text"] = Text(text);
  return line;
}

Json DeviceEvent(const device::DeviceCall& call) {
  Json line;
  switch (call.kind) {
    case device::DeviceCall::Kind::kOpen:
      line["event"] = "open";
      line["path"] = Text(call.path);
      line["access"] = call.access;
      line["share"] = call.share;
      line["disposition"] = call.disposition;
      line["ok"] = call.ok;
      break;
    case device::DeviceCall::Kind::kControl:
      line["event"] = "ioctl";
      line["code"] = CodeText(call.code);
      line["in"] = runtime::HexUpper(call.in);
      line["status"] = call.status;
      break;
    case device::DeviceCall::Kind::kClose:
      line["event"] = "close";
      break;
  }
  return line;
}

Json FailureEvent(std::string_view routine, std::string_view error) {
  Json line;
  line["event"] = "failure";
  line["routine"] = Text(routine);
  line["error"] = Text(error);
  return line;
}

Json RefusedEvent(std::string_view control, forms::Refusal refusal) {
  Json line;
  line["event"] = "refused";
  line["control"] = Text(control);
  line["reason"] = std::string(forms::RefusalName(refusal));
  return line;
}

Json EndedEvent() {
  Json line;
  line["event"] = "ended";
  return line;
}

Json ErrorEvent(int line_number, std::string_view message) {
  Json line;
  line["event"] = "error";
  line["line"] = line_number;
  line["message"] = Text(message);
  return line;
}

}  // namespace ketra::session
