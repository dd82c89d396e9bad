#include "tools/machine/machine.h"

#include "platform/device/vspd_device.h"
#include "platform/device/vspd_socket_path.h"
#include "platform/forms/app.h"
#include "platform/registry/hive_location.h"
#include "platform/registry/sqlite_hive.h"

#include <utility>

namespace ketra::machine {

bool UsesHiveFile() { return true; }

runtime::Status ResolveHive(std::string* hive) {
  if (hive->empty()) *hive = registry::DefaultHivePath();
  return runtime::Status::Ok();
}

std::unique_ptr<registry::Registry> OpenRegistry(const std::string& hive) {
  return registry::OpenSqliteHive(hive);
}

std::unique_ptr<forms::AppServices> MakeApp(std::string app_path, const std::string& hive) {
  return forms::MakePosixApp(std::move(app_path), hive);
}

std::unique_ptr<runtime::FileSystem> MakeFileSystem() { return runtime::MakePosixFileSystem(); }

std::unique_ptr<device::DeviceIo> MakeSystemDevice(const std::string& socket) {
  return device::MakeVspdDevice(socket.empty() ? device::DefaultVspdSocketPath() : socket);
}

}  // namespace ketra::machine
