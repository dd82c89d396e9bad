// Where the programs find the hive and the driver daemon's socket when no option names them, and
// where a user's own daemon keeps its files: one rule for both.
//
// A place is chosen in this order:
//   1. the variable (KETRA_HIVE, KETRA_VSPD_SOCKET), when set and not empty;
//   2. the user's own, when something is there (a file, a socket, or a link, even a dangling one:
//      what a user made is theirs to mend, never silently passed over);
//   3. the machine's, named in its configuration file (/etc/ketra/ketra.conf), when it names one;
//   4. else the user's own, made when first needed.
// So an installed service serves every user who has no hive or daemon of their own.
//
// A user's own files live in directories only that user can make names in: the state directory
// ($XDG_STATE_HOME/ketra, else ~/.local/state/ketra) for the hive, and the runtime directory
// ($XDG_RUNTIME_DIR, else the state directory's run/) for the socket and the links. Never in
// /tmp, where another user could take the name first. Pure apart from PlaceExists; thread-safe.
#ifndef KETRA_PLATFORM_RUNTIME_USER_PLACES_H_
#define KETRA_PLATFORM_RUNTIME_USER_PLACES_H_

#include <functional>
#include <string>

namespace ketra::runtime {

struct UserEnvironment {
  std::string xdg_state_home;   // $XDG_STATE_HOME; ignored unless absolute
  std::string xdg_runtime_dir;  // $XDG_RUNTIME_DIR; ignored unless absolute
  std::string home;             // $HOME
};

struct PlaceSearch {
  std::string variable;  // the variable's value
  std::string own;       // the user's own place
  std::string site;      // the machine's, from its configuration file
};

// The rule above. `exists` says whether something is at a path.
std::string ChoosePlace(const PlaceSearch& search,
                        const std::function<bool(const std::string&)>& exists);

// Whether anything is at `path`, links not followed (rule 2).
bool PlaceExists(const std::string& path);

std::string UserStateDirectory(const UserEnvironment& environment);
std::string UserRuntimeDirectory(const UserEnvironment& environment);

// This process's environment.
UserEnvironment CurrentUserEnvironment();

}  // namespace ketra::runtime

#endif  // KETRA_PLATFORM_RUNTIME_USER_PLACES_H_
