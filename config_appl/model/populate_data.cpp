#include "config_appl/model/populate_data.h"

namespace ketra {

void PopulateData(Program& p) {
  Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) SetDefaultSettings(d.PortTable[r], r);
}

}  // namespace ketra
