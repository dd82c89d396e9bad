// The daemon's side of the service manager's descriptor store: at start it takes what the store
// kept across a restart (each port's pty master and, for a connected port, its socket, see
// store_names.h) and hands it out port by port; while it runs it gives the store each new pty
// master and keeps each port's socket in step with its connection, so that a restart keeps
// every pty, every program that holds one, and every connection. Outside a service it keeps
// nothing and hands out nothing. Logs what the store refused.
// Borrows the ServiceManager. Single-threaded (the daemon's loop).
#ifndef KETRA_DAEMON_DESCRIPTOR_STORE_H_
#define KETRA_DAEMON_DESCRIPTOR_STORE_H_

#include <map>
#include <optional>
#include <string>

#include "daemon/port.h"
#include "daemon/port_settings.h"
#include "daemon/service_manager.h"
#include "platform/runtime/fd.h"

namespace ketra::vspd {

class DescriptorStore {
 public:
  // Takes what the service manager handed over at start.
  explicit DescriptorStore(ServiceManager& service);
  DescriptorStore(const DescriptorStore&) = delete;
  DescriptorStore& operator=(const DescriptorStore&) = delete;

  struct Kept {
    runtime::Fd pty;                       // invalid when the store kept no pty for the port
    runtime::Fd socket;                    // invalid when the port was not connected
    std::optional<PortSettings> settings;  // the socket's
  };
  // What the store kept of `port`, each part on its own: a connection outlives a pty that the
  // store did not keep (its UDP port must not stay bound in the store while the daemon binds it
  // anew). Once per port.
  Kept Take(const std::string& port);
  // Gives the store a new pty master of `port` (first made, or replaced), in place of any
  // earlier one.
  void KeepPty(const std::string& port, int master, bool replaced);
  // Keeps the store's copy of the port's socket in step: withdrawn on disconnect, given anew on
  // connect.
  void KeepSocket(VirtualPort& port);
  // Gives back, and lets go, what was kept for ports this configuration no longer has.
  void DropLeftovers();

 private:
  ServiceManager& service_;
  std::map<std::string, runtime::Fd> handed_;          // by name, until taken
  std::map<std::string, std::string> stored_sockets_;  // port name -> its socket's name
};

}  // namespace ketra::vspd

#endif  // KETRA_DAEMON_DESCRIPTOR_STORE_H_
