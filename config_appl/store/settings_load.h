// Loading the stored settings of every port into the table, once, at start-up. What it leaves
// in row 0 tells the start-up whether any settings are stored.
#ifndef KETRA_CONFIG_APPL_STORE_SETTINGS_LOAD_H_
#define KETRA_CONFIG_APPL_STORE_SETTINGS_LOAD_H_

#include <string>

#include "config_appl/model/program.h"
#include "platform/registry/registry.h"

namespace ketra {

// Reads ENABLED, LOCALPORT, FLOWCONTROL, then XOFF and XON on software flow only, REMOTEIP and
// REMOTEPORT of each port. A failed conversion stops the whole load where it stands.
// A port without a key, once some port's key has been read, is passed over: it would otherwise
// take the previous port's last text for its own.
void ReadTheRegistry(Program& p);

// What a read does with a value the port's key lacks.
enum class MissingValue {
  kReadBlanks,  // as the load does: the read gives the buffer's 254 blanks
  kKeepRow,     // the row's field keeps what it holds (a default, say)
};

// The reads of ReadTheRegistry for one row, through `reg_value` (a program's RegValue).
void ReadPortSettings(registry::Registry& reg, std::string& reg_value, PortRecord& row,
                      MissingValue missing = MissingValue::kReadBlanks);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_SETTINGS_LOAD_H_
