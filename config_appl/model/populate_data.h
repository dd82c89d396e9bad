// The default settings of every port, for a first run.
#ifndef KETRA_CONFIG_APPL_MODEL_POPULATE_DATA_H_
#define KETRA_CONFIG_APPL_MODEL_POPULATE_DATA_H_

#include "config_appl/model/program.h"

namespace ketra {

// Rows 0 to LastPort take the defaults: enabled, hardware flow, local port 3000 + row, remote
// port 3003 + row, remote address 192.168.1.35, XOFF 65, XON 66. PortName stays.
void PopulateData(Program& p);

// The same defaults for one row.
void PopulateRow(PortRecord& row, int index);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_MODEL_POPULATE_DATA_H_
