// What the daemon tells the service manager and takes from it when it runs as a service: that it
// is ready and how it fares (READY=1, STATUS=), the descriptors it gives into the manager's store
// so that they outlive a restart (FDSTORE=1 with FDNAME=, FDSTOREREMOVE=1), and the descriptors
// the manager hands back at start (LISTEN_FDS with LISTEN_FDNAMES). Outside a service every call
// does nothing and nothing is handed back.
//
// The real one speaks systemd's protocol through libsystemd (service_manager_systemd.cpp); tests
// use a fake. Single-threaded.
#ifndef KETRA_DAEMON_SERVICE_MANAGER_H_
#define KETRA_DAEMON_SERVICE_MANAGER_H_

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/runtime/fd.h"

namespace ketra::vspd {

class ServiceManager {
 public:
  virtual ~ServiceManager() = default;
  // Whether a service manager listens (NOTIFY_SOCKET is set).
  virtual bool present() const = 0;
  // A state such as "READY=1\nSTATUS=serving 4 ports".
  virtual void Notify(const std::string& state) = 0;
  // Gives copies of `fds` to the store under `name`; false when the manager refused them.
  virtual bool Store(const std::string& name, std::span<const int> fds) = 0;
  virtual void Remove(const std::string& name) = 0;
  // The descriptors handed over at start, each with its name; the caller owns them. Once.
  virtual std::vector<std::pair<std::string, runtime::Fd>> TakeHanded() = 0;
};

std::unique_ptr<ServiceManager> MakeSystemdServiceManager();

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_SERVICE_MANAGER_H_
