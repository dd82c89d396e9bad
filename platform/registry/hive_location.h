// Where the hive file lives when nobody says otherwise: $KETRA_HIVE if set, else
// $XDG_STATE_HOME/ketra/hive.db, else ~/.local/state/ketra/hive.db.
#ifndef KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_
#define KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_

#include <string>

namespace ketra::registry {

std::string DefaultHivePath();

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_
