// Reads ahead what a start of the panel reads from the registry: the serial device map and the
// stored settings of every port. A registry that keeps a copy of what it has read (the hive
// file) then answers the start's 20,000 queries from memory without going to its file. The
// window runs it on a second thread while the window system starts up.
//
// Changes nothing. The registry must not be used by anyone else until it returns.
#ifndef KETRA_CONFIG_APPL_STORE_READ_AHEAD_H_
#define KETRA_CONFIG_APPL_STORE_READ_AHEAD_H_

#include "platform/registry/registry.h"

namespace ketra {

void ReadAhead(registry::Registry& reg);

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_STORE_READ_AHEAD_H_
