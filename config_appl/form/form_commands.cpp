#include "config_appl/form/form_commands.h"

#include "config_appl/form/configure_from_the_file2.h"
#include "config_appl/form/read_ui.h"
#include "config_appl/store/settings_save.h"

namespace ketra {

void CMB_PORT_Click(Program& p) {
  ReadUI(p);
  if (p.decl().InputInvalid != -1) ConfigureFromTheFile2(p);
}

void CMD_APPLY_Click(Program& p) {
  ReadUI(p);
  if (p.decl().InputInvalid == 0) CreateConfigFile2(p);
}

void Command1_Click(Program& p) {
  ReadUI(p);
  if (p.decl().InputInvalid == 0) CreateConfigFile2(p);
  p.form().Unload();
}

void Command2_Click(Program& p) { p.form().Unload(); }

}  // namespace ketra
