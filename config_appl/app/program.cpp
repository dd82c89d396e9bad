#include "config_appl/app/program.h"

#include <functional>
#include <string>

#include "config_appl/app/commands.h"
#include "config_appl/app/start_up.h"
#include "config_appl/driver/driver_commands.h"
#include "config_appl/form/field_guards.h"
#include "config_appl/form/option_groups.h"
#include "config_appl/form/read_form.h"
#include "config_appl/form/show_stored_port.h"
#include "config_appl/form1/controls.h"
#include "config_appl/form1/form1_layout.h"
#include "config_appl/model/default_settings.h"
#include "config_appl/status/status_monitor.h"
#include "config_appl/store/discover_ports.h"
#include "config_appl/store/settings_file.h"
#include "config_appl/store/settings_load.h"
#include "config_appl/store/settings_save.h"

namespace ketra {
namespace {

using forms::Notification;
using Routine = std::function<void(Panel&)>;

// A routine of the program under the name scripts and messages know it by, and for an event
// handler the control and notification that raise it.
struct Entry {
  std::string name;
  Routine routine;
  std::string control;  // empty for a routine that no notification raises
  Notification notification = Notification::kClick;
};

Entry Plain(std::string name, Routine r) { return {std::move(name), std::move(r), "", {}}; }

Entry Handler(std::string_view control, Notification n, std::string_view suffix, Routine r) {
  std::string name = std::string(control) + "_" + std::string(suffix);
  return {std::move(name), std::move(r), std::string(control), n};
}

std::vector<Entry> MakeEntries() {
  std::vector<Entry> e = {
      Plain("ReadRegistry", DiscoverPorts),
      Plain("PopulateData", ApplyDefaultSettings),
      Plain("ReadTheRegistry", LoadPortSettings),
      Plain("CreateConfigFile2", SaveAllPorts),
      Plain("ReadFile", ReadSettingsFile),
      Plain("ReadUI", [](Panel& p) { ReadFormAndRecord(p); }),
      Plain("ConfigureFromTheFile2", ShowStoredPort),
      {"Form_Load", StartUp, std::string(ctl::kForm), Notification::kLoad},
      Handler(ctl::kPortList, Notification::kClick, "Click", PortChosen),
      Handler(ctl::kApply, Notification::kClick, "Click", ApplyClick),
      Handler(ctl::kOk, Notification::kClick, "Click", OkClick),
      Handler(ctl::kCancel, Notification::kClick, "Click", CancelClick),
      Handler(ctl::kConnect, Notification::kClick, "Click", ConnectClick),
      Handler(ctl::kDisconnect, Notification::kClick, "Click", DisconnectClick),
      Handler(ctl::kEnabled, Notification::kClick, "Click", PortEnabledClick),
      Handler(ctl::kDisabled, Notification::kClick, "Click", PortDisabledClick),
      Handler(ctl::kSoftwareFlow, Notification::kClick, "Click", SoftwareFlowClick),
      Handler(ctl::kHardwareFlow, Notification::kClick, "Click", HardwareFlowClick),
      Handler(ctl::kMonitorTimer, Notification::kTimer, "Timer", MonitorTick),
      Handler(ctl::kRefresh, Notification::kClick, "Click", RefreshClick),
      Handler(ctl::kIntervalUpDown, Notification::kUpClick, "UpClick", IntervalUpClick),
      Handler(ctl::kIntervalUpDown, Notification::kDownClick, "DownClick", IntervalDownClick),
  };
  const auto [ip1, ip2, ip3, ip4] = ctl::kAddressParts;
  for (std::string_view field : {ip1, ip2, ip3, ip4, ctl::kLocalPort, ctl::kRemotePort}) {
    e.push_back(Handler(field, Notification::kChange, "Change",
                        [field](Panel& p) { NumericGuard(p, field); }));
  }
  for (std::string_view field :
       {ip1, ip2, ip3, ip4, ctl::kLocalPort, ctl::kRemotePort, ctl::kXon, ctl::kXoff}) {
    e.push_back(Handler(field, Notification::kGotFocus, "GotFocus",
                        [field](Panel& p) { SelectAll(p, field); }));
  }
  for (std::string_view field : {ip1, ip2, ip3, ip4}) {
    e.push_back(Handler(field, Notification::kLostFocus, "LostFocus",
                        [field](Panel& p) { BoundGuard(p, field); }));
  }
  for (std::string_view field : {ctl::kXon, ctl::kXoff}) {
    e.push_back(Handler(field, Notification::kLostFocus, "LostFocus",
                        [field](Panel& p) { DistinctnessGuard(p, field); }));
  }
  return e;
}

const std::vector<Entry>& Entries() {
  static const std::vector<Entry> entries = MakeEntries();
  return entries;
}

}  // namespace

namespace internal {
FormOwner::FormOwner(forms::MessageBoxService& boxes) : owned_form(Form1Layout(), boxes) {}
}  // namespace internal

Program::Program(const Platform& platform)
    : internal::FormOwner(platform.boxes), Panel(platform, owned_form) {
  for (const Entry& entry : Entries()) {
    if (entry.control.empty()) continue;
    const Routine& routine = entry.routine;
    form().On(entry.control, entry.notification, [this, &routine] { routine(*this); });
  }
}

bool Program::Call(std::string_view routine) {
  for (const Entry& entry : Entries()) {
    if (entry.name == routine) {
      entry.routine(*this);
      return true;
    }
  }
  return false;
}

std::vector<std::string_view> Program::RoutineNames() {
  std::vector<std::string_view> names;
  for (const Entry& entry : Entries()) names.push_back(entry.name);
  return names;
}

}  // namespace ketra
