#include "config_appl/model/populate_data.h"

#include <string>

namespace ketra {

void PopulateRow(PortRecord& row, int index) {
  row.Enabled = -1;
  row.FlowControl = "0";
  row.LocalPort = std::to_string(3000 + index);
  row.RemotePort = std::to_string(3003 + index);
  row.RemoteIP = "192.168.1.35";
  row.XOFF = 65;
  row.XON = 66;
}

void PopulateData(Program& p) {
  Declarations& d = p.decl();
  for (int r = 0; r <= d.LastPort; ++r) PopulateRow(d.PortTable[r], r);
}

}  // namespace ketra
