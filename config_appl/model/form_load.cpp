#include "config_appl/model/form_load.h"

#include <optional>

#include "config_appl/form/configure_from_the_file2.h"
#include "config_appl/model/populate_data.h"
#include "config_appl/model/read_registry.h"
#include "config_appl/port/stored_port.h"
#include "config_appl/store/registry_value.h"
#include "config_appl/store/settings_load.h"
#include "config_appl/store/settings_save.h"
#include "platform/runtime/conversion_error.h"

namespace ketra {
namespace {

// One step under the load's error mode: a failed conversion is dropped and the next step runs.
template <typename Body>
void Step(Body&& body) {
  try {
    body();
  } catch (const runtime::ConversionError&) {
  }
}

// The start-up tells a first run by row 0 alone. Ports whose keys disagree with that verdict
// are put right before the save, so that no stored settings are overwritten and no port is
// saved without settings: on a first run a port that has a key keeps its stored settings, and a
// value its key lacks keeps the row's default; on a later run a port without a key (one added
// since the last save) takes its defaults.
void ReconcileWithStore(Program& p, bool first_run) {
  Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) {
    PortRecord& row = d.PortTable[r];
    if (first_run) {
      if (r == 0) continue;
      // PopulateData has just given the row its defaults.
      if (std::optional<PortRecord> stored = ReadStoredPortOver(p.registry(), row)) {
        row = *stored;
      }
    } else if (!PortKeyExists(p.registry(), row.PortName)) {
      SetDefaultSettings(row, r);
    }
  }
}

}  // namespace

void Form_Load(Program& p) {
  Declarations& d = p.decl();
  d.PortCount = 0;
  d.AppPath = p.app().Path();
  if (p.app().PrevInstance()) p.form().Unload();

  Step([&] { d.InputInvalid = 0; });
  Step([&] { ReadRegistry(p); });
  Step([&] { d.LastPort = static_cast<std::int16_t>(d.PortCount - 1); });
  Step([&] {
    if (d.PortTable[0].PortName.empty()) {
      p.MsgBox("No virtual ports avaiable. Please install ports and start the application",
               forms::MsgBoxStyle::kInformation);
      p.form().Unload();
    }
  });
  forms::Form& form = p.form();
  const forms::ControlId port_list = form.Id("CMB_PORT");
  for (int r = 0; r <= d.LastPort; ++r) {
    Step([&] { form.SetListItem(port_list, r, d.PortTable[r].PortName); });
    Step([&] { p.SetValue("OPT_HWF", true); });
    Step([&] { SetStartupFlow(d.PortTable[r]); });
  }

  Step([&] { ReadTheRegistry(p); });
  const PortRecord& first = d.PortTable[0];
  const bool stored =
      !first.LocalPort.empty() && !first.RemotePort.empty() && !first.RemoteIP.empty();
  if (!stored) Step([&] { PopulateData(p); });
  Step([&] { ReconcileWithStore(p, !stored); });
  Step([&] { CreateConfigFile2(p); });
  Step([&] { ConfigureFromTheFile2(p); });
  Step([&] { p.SetText("CMB_PORT", d.PortTable[0].PortName); });
}

}  // namespace ketra
