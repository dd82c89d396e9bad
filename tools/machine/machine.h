// Where the command-line tools meet the machine they run on: its registry, the program's
// surroundings, its files and its real device calls. On POSIX the registry is a hive file that
// the command line names; on Windows it is the system registry, and a hive file has no use.
// One implementation per platform (machine_posix.cpp, machine_win32.cpp); the build picks it.
// The returned objects are owned by the caller; each is used from one thread.
#ifndef KETRA_TOOLS_MACHINE_MACHINE_H_
#define KETRA_TOOLS_MACHINE_MACHINE_H_

#include <memory>
#include <string>

#include "platform/device/device.h"
#include "platform/forms/services.h"
#include "platform/registry/registry.h"
#include "platform/runtime/status.h"
#include "platform/runtime/text_file.h"

namespace ketra::machine {

// True where the registry is a hive file named with --hive.
bool UsesHiveFile();

// Settles the --hive option. POSIX: an empty *hive becomes the default hive's path. Windows: the
// system registry needs no file, so a hive named there is refused (InvalidArgument, saying why).
runtime::Status ResolveHive(std::string* hive);

// The registry of the machine: the hive file at `hive` (POSIX), or the system registry
// (Windows, where `hive` is empty).
std::unique_ptr<registry::Registry> OpenRegistry(const std::string& hive);

// App.Path and App.PrevInstance. An empty app_path stands for the executable's directory. The
// single-instance test is scoped to the hive on POSIX and to the user's session on Windows.
std::unique_ptr<forms::AppServices> MakeApp(std::string app_path, const std::string& hive);

std::unique_ptr<runtime::FileSystem> MakeFileSystem();

// The device calls that reach the driver: the driver daemon's socket on POSIX (`socket`, or
// the default socket when it is empty), kernel32 on Windows (`socket` unused).
std::unique_ptr<device::DeviceIo> MakeSystemDevice(const std::string& socket = "");

}  // namespace ketra::machine

#endif  // KETRA_TOOLS_MACHINE_MACHINE_H_
