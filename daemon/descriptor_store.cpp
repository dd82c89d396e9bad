#include "daemon/descriptor_store.h"

#include <span>

#include "daemon/fd_stash.h"
#include "daemon/log.h"
#include "daemon/store_names.h"

namespace ketra::vspd {

DescriptorStore::DescriptorStore(ServiceManager& service) : service_(service) {
  for (auto& [name, fd] : service_.TakeHanded()) handed_[name] = std::move(fd);
}

DescriptorStore::Kept DescriptorStore::Take(const std::string& port) {
  Kept kept;
  if (auto stored = handed_.extract(StoredPtyName(port))) {
    // The master comes inside a stash; one stored as it is, by a daemon before stashes, is
    // taken as it is.
    kept.pty = TakeFromStash(stored.mapped().get());
    if (!kept.pty) kept.pty = std::move(stored.mapped());
  }
  for (auto it = handed_.begin(); it != handed_.end(); ++it) {
    const auto parsed = ParseStoredSocketName(it->first);
    if (parsed && parsed->first == port) {
      kept.settings = parsed->second;
      stored_sockets_[port] = it->first;
      kept.socket = std::move(it->second);
      handed_.erase(it);
      break;
    }
  }
  return kept;
}

void DescriptorStore::KeepPty(const std::string& port, int master, bool replaced) {
  if (!service_.present()) return;
  // A replaced pty's stored master is the old one's: a restart must take back the new one.
  if (replaced) service_.Remove(StoredPtyName(port));
  // Inside a stash (fd_stash.h): stored as it is, the manager would drop the master at its first
  // hang-up, whenever no program holds the port.
  auto stash = StashDescriptor(master);
  if (!stash.ok()) LogWarning(port + ": " + stash.status().message());
  const int fd = stash.ok() ? stash->get() : -1;
  if (stash.ok() && service_.Store(StoredPtyName(port), std::span(&fd, 1))) return;
  if (replaced) {
    LogWarning(port + ": the service manager did not keep the new pty");
  } else {
    LogWarning(port +
               ": the service manager did not keep the pty; a restart will lose it "
               "(FileDescriptorStoreMax= too small?)");
  }
}

void DescriptorStore::KeepSocket(VirtualPort& port) {
  if (!service_.present()) return;
  if (const auto found = stored_sockets_.find(port.name()); found != stored_sockets_.end()) {
    service_.Remove(found->second);
    stored_sockets_.erase(found);
  }
  if (!port.connected()) return;
  const std::string name = StoredSocketName(port.name(), *port.settings());
  const runtime::Fd socket = port.io().DuplicateSocket();
  const int fd = socket.get();
  if (socket && service_.Store(name, std::span(&fd, 1))) {
    stored_sockets_[port.name()] = name;
  } else {
    LogWarning(port.name() +
               ": the service manager did not keep the socket; a restart will "
               "disconnect the port");
  }
}

void DescriptorStore::DropLeftovers() {
  for (auto& [name, fd] : handed_) {
    std::string cause;
    if (const auto socket = ParseStoredSocketName(name)) {
      cause = "the port " + socket->first + " is not in this configuration";
    } else if (name.rfind("pty.", 0) == 0) {
      cause = "the port " + name.substr(4) + " is not in this configuration";
    } else {
      cause = "not a name this daemon gives";
    }
    LogInfo("dropped " + name + " from the service manager's store: " + cause);
    service_.Remove(name);
  }
  handed_.clear();
}

}  // namespace ketra::vspd
