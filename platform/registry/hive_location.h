// Where the hive file lives when no --hive says otherwise. The places, in order:
//   1. $KETRA_HIVE, when set and not empty;
//   2. the user's own hive, $XDG_STATE_HOME/ketra/hive.db ($XDG_STATE_HOME absolute), else
//      $HOME/.local/state/ketra/hive.db, when that file exists;
//   3. the system's hive, `hive` in the machine's configuration file (/etc/ketra/ketra.conf),
//      when the file names one;
//   4. the user's own hive of step 2, made by the first write.
// So an installed service's hive serves every user who has none of their own.
#ifndef KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_
#define KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_

#include <functional>
#include <string>

namespace ketra::registry {

struct HiveSearch {
  std::string ketra_hive;      // $KETRA_HIVE
  std::string xdg_state_home;  // $XDG_STATE_HOME
  std::string home;            // $HOME
  std::string site_hive;       // `hive` of the machine's configuration file
};

// The rule above; pure. `exists` says whether a file is there.
std::string ChooseHivePath(const HiveSearch& search,
                           const std::function<bool(const std::string&)>& exists);

// The rule applied to this process's environment, the machine's file and the file system.
std::string DefaultHivePath();

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_HIVE_LOCATION_H_
