#include "config_appl/app/start_up.h"

#include <optional>

#include "config_appl/form/show_stored_port.h"
#include "config_appl/form1/controls.h"
#include "config_appl/model/default_settings.h"
#include "config_appl/model/resume_next.h"
#include "config_appl/port/stored_port.h"
#include "config_appl/store/discover_ports.h"
#include "config_appl/store/settings_load.h"
#include "config_appl/store/settings_save.h"

namespace ketra {
namespace {

// The start-up tells a first run by row 0 alone. Ports whose keys disagree with that verdict
// are put right before the save, so that no stored settings are overwritten and no port is
// saved without settings: on a first run a port that has a key keeps its stored settings, and a
// value its key lacks keeps the row's default; on a later run a port without a key (one added
// since the last save) takes its defaults.
void ReconcileWithStore(Panel& p, bool first_run) {
  Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) {
    PortRecord& row = d.PortTable[r];
    if (first_run) {
      if (r == 0) continue;
      // ApplyDefaultSettings has just given the row its defaults.
      if (std::optional<PortRecord> stored = ReadStoredPortOver(p.registry(), row)) {
        row = *stored;
      }
    } else if (!PortKeyExists(p.registry(), row.PortName)) {
      SetDefaultSettings(row, r);
    }
  }
}

}  // namespace

void StartUp(Panel& p) {
  Declarations& d = p.decl();
  d.PortCount = 0;
  d.AppPath = p.app().Path();
  if (p.app().PrevInstance()) p.form().Unload();

  ResumeNext([&] { d.InputInvalid = 0; });
  ResumeNext([&] { DiscoverPorts(p); });
  ResumeNext([&] { d.LastPort = static_cast<std::int16_t>(d.PortCount - 1); });
  ResumeNext([&] {
    if (d.PortTable[0].PortName.empty()) {
      p.MsgBox("No virtual ports avaiable. Please install ports and start the application",
               forms::MsgBoxStyle::kInformation);
      p.form().Unload();
    }
  });
  forms::Form& form = p.form();
  const forms::ControlId port_list = form.Id(ctl::kPortList);
  for (int r = 0; r <= d.LastPort; ++r) {
    ResumeNext([&] { form.SetListItem(port_list, r, d.PortTable[r].PortName); });
    ResumeNext([&] { p.SetValue(ctl::kHardwareFlow, true); });
    ResumeNext([&] { SetStartupFlow(d.PortTable[r]); });
  }

  ResumeNext([&] { LoadPortSettings(p); });
  const PortRecord& first = d.PortTable[0];
  const bool stored =
      !first.LocalPort.empty() && !first.RemotePort.empty() && !first.RemoteIP.empty();
  if (!stored) ResumeNext([&] { ApplyDefaultSettings(p); });
  ResumeNext([&] { ReconcileWithStore(p, !stored); });
  ResumeNext([&] { SaveAllPorts(p); });
  ResumeNext([&] { ShowStoredPort(p); });
  ResumeNext([&] { p.SetText(ctl::kPortList, d.PortTable[0].PortName); });
}

}  // namespace ketra
