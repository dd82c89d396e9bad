// Where the hive file lives when no --hive says otherwise, by the rule of
// platform/runtime/user_places.h: $KETRA_HIVE; the user's own hive, <state directory>/hive.db
// ($XDG_STATE_HOME/ketra/hive.db or ~/.local/state/ketra/hive.db), when it exists; the
// machine's `hive`; else the user's own, made by the first write.
#ifndef KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_
#define KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_

#include <string>

namespace ketra::registry {

// The rule applied to this process's environment, the machine's file and the file system.
std::string DefaultHivePath();

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_
