#include "config_appl/model/program.h"

#include <array>
#include <functional>
#include <string>

#include "config_appl/driver/driver_commands.h"
#include "config_appl/form/configure_from_the_file2.h"
#include "config_appl/form/field_guards.h"
#include "config_appl/form/form1_layout.h"
#include "config_appl/form/form_commands.h"
#include "config_appl/form/option_groups.h"
#include "config_appl/form/read_ui.h"
#include "config_appl/model/form_load.h"
#include "config_appl/model/populate_data.h"
#include "config_appl/model/read_registry.h"
#include "config_appl/status/status_monitor.h"
#include "config_appl/store/settings_file.h"
#include "config_appl/store/settings_load.h"
#include "config_appl/store/settings_save.h"

namespace ketra {
namespace {

using forms::Notification;
using Routine = std::function<void(Program&)>;

// A routine of the program, and for an event handler the control and notification that raise it.
struct Entry {
  std::string name;
  Routine routine;
  std::string control;  // empty for a routine that no notification raises
  Notification notification = Notification::kClick;
};

Entry Plain(std::string name, Routine r) { return {std::move(name), std::move(r), "", {}}; }

Entry Handler(std::string control, Notification n, std::string_view suffix, Routine r) {
  std::string name = control + "_" + std::string(suffix);
  return {std::move(name), std::move(r), std::move(control), n};
}

std::vector<Entry> MakeEntries() {
  std::vector<Entry> e = {
      Plain("ReadRegistry", ReadRegistry),
      Plain("PopulateData", PopulateData),
      Plain("ReadTheRegistry", ReadTheRegistry),
      Plain("CreateConfigFile2", CreateConfigFile2),
      Plain("ReadFile", ReadFile),
      Plain("ReadUI", ReadUI),
      Plain("ConfigureFromTheFile2", ConfigureFromTheFile2),
      {"Form_Load", Form_Load, "Form1", Notification::kLoad},
      Handler("CMB_PORT", Notification::kClick, "Click", CMB_PORT_Click),
      Handler("CMD_APPLY", Notification::kClick, "Click", CMD_APPLY_Click),
      Handler("Command1", Notification::kClick, "Click", Command1_Click),
      Handler("Command2", Notification::kClick, "Click", Command2_Click),
      Handler("CMD_CONNECT", Notification::kClick, "Click", CMD_CONNECT_Click),
      Handler("CMD_DISCONNECT", Notification::kClick, "Click", CMD_DISCONNECT_Click),
      Handler("OPT_ENB", Notification::kClick, "Click", OPT_ENB_Click),
      Handler("OPT_DSB", Notification::kClick, "Click", OPT_DSB_Click),
      Handler("OPT_SWF", Notification::kClick, "Click", OPT_SWF_Click),
      Handler("OPT_HWF", Notification::kClick, "Click", OPT_HWF_Click),
      Handler("Timer1", Notification::kTimer, "Timer", Timer1_Timer),
      Handler("Command3", Notification::kClick, "Click", Command3_Click),
      Handler("UpDown1", Notification::kUpClick, "UpClick", UpDown1_UpClick),
      Handler("UpDown1", Notification::kDownClick, "DownClick", UpDown1_DownClick),
  };
  for (std::string field : {"TXT_IP1", "TXT_IP2", "TXT_IP3", "TXT_IP4", "TXT_LOCPORT", "TXT_UDP"}) {
    e.push_back(Handler(field, Notification::kChange, "Change",
                        [field](Program& p) { NumericGuard(p, field); }));
  }
  for (std::string field : {"TXT_IP1", "TXT_IP2", "TXT_IP3", "TXT_IP4", "TXT_LOCPORT", "TXT_UDP",
                            "TXT_XON", "TXT_XOFF"}) {
    e.push_back(Handler(field, Notification::kGotFocus, "GotFocus",
                        [field](Program& p) { SelectAll(p, field); }));
  }
  for (std::string field : {"TXT_IP1", "TXT_IP2", "TXT_IP3", "TXT_IP4"}) {
    e.push_back(Handler(field, Notification::kLostFocus, "LostFocus",
                        [field](Program& p) { BoundGuard(p, field); }));
  }
  for (std::string field : {"TXT_XON", "TXT_XOFF"}) {
    e.push_back(Handler(field, Notification::kLostFocus, "LostFocus",
                        [field](Program& p) { DistinctnessGuard(p, field); }));
  }
  return e;
}

const std::vector<Entry>& Entries() {
  static const std::vector<Entry> entries = MakeEntries();
  return entries;
}

}  // namespace

Program::Program(const Platform& platform)
    : platform_(platform), form_(Form1Layout(), platform.boxes) {
  for (const Entry& entry : Entries()) {
    if (entry.control.empty()) continue;
    const Routine& routine = entry.routine;
    form_.On(entry.control, entry.notification, [this, &routine] { routine(*this); });
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
