// The Windows registry itself, through the ANSI functions of advapi32, behind the Registry
// interface. Handles of the interface are small numbers that this object maps to the system's
// key handles; kHKeyLocalMachine stands for HKEY_LOCAL_MACHINE, or for the key given to
// OpenWin32RegistryBelow. Owns every key handle it hands out until CloseKey, and closes those
// still open when it goes. Use from one thread at a time.
#ifndef KETRA_PLATFORM_REGISTRY_WIN32_REGISTRY_H_
#define KETRA_PLATFORM_REGISTRY_WIN32_REGISTRY_H_

#include <memory>
#include <string>

#include "platform/registry/registry.h"

namespace ketra::registry {

// The machine's registry, rooted at HKEY_LOCAL_MACHINE.
std::unique_ptr<Registry> OpenWin32Registry();

// The machine's registry with HKEY_LOCAL_MACHINE\root standing in for HKEY_LOCAL_MACHINE (the
// key is created when missing), so that tests run on the real functions without touching the
// rest of the machine. Null when the key cannot be created.
std::unique_ptr<Registry> OpenWin32RegistryBelow(const std::string& root);

}  // namespace ketra::registry

#endif  // KETRA_PLATFORM_REGISTRY_WIN32_REGISTRY_H_
