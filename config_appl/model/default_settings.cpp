#include "config_appl/model/default_settings.h"

namespace ketra {

void ApplyDefaultSettings(Panel& p) {
  Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) SetDefaultSettings(d.PortTable[r], r);
}

}  // namespace ketra
