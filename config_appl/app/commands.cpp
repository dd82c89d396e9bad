#include "config_appl/app/commands.h"

#include "config_appl/driver/driver_commands.h"
#include "config_appl/form/read_form.h"
#include "config_appl/form/show_stored_port.h"
#include "config_appl/store/settings_save.h"

namespace ketra {

bool ReadFormAndRecord(Panel& p) {
  const bool accepted = ReadForm(p);
  p.decl().InputInvalid = accepted ? 0 : -1;
  return accepted;
}

void PortChosen(Panel& p) {
  if (ReadFormAndRecord(p)) ShowStoredPort(p);
}

void ApplyClick(Panel& p) {
  if (ReadFormAndRecord(p)) SaveAllPorts(p);
}

void OkClick(Panel& p) {
  if (ReadFormAndRecord(p)) SaveAllPorts(p);
  p.form().Unload();
}

void CancelClick(Panel& p) { p.form().Unload(); }

void ConnectClick(Panel& p) {
  if (!ReadFormAndRecord(p)) return;
  SaveAllPorts(p);
  SendPortCommand(p, kConnectCommand);
}

}  // namespace ketra
