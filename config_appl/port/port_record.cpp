#include "config_appl/port/port_record.h"

namespace ketra {

void SetStartupFlow(PortRecord& row) {
  row.FlowControl = kHardwareFlow;
  row.XOFF = kDefaultXoff;
  row.XON = kDefaultXon;
}

void SetDefaultSettings(PortRecord& row, int index) {
  row.Enabled = -1;
  row.LocalPort = std::to_string(3000 + index);
  row.RemotePort = std::to_string(3003 + index);
  row.RemoteIP = "192.168.1.35";
  SetStartupFlow(row);
}

}  // namespace ketra
