#include "tools/machine/machine.h"

#include "platform/device/win32_device.h"
#include "platform/forms/app_win32.h"
#include "platform/registry/win32_registry.h"

#include <utility>

namespace ketra::machine {

bool UsesHiveFile() { return false; }

runtime::Status ResolveHive(std::string* hive) {
  if (hive->empty()) return runtime::Status::Ok();
  return runtime::Status::InvalidArgument(
      "--hive names a hive file, which Windows has no use for: on Windows the settings live in "
      "the system registry under HKEY_LOCAL_MACHINE");
}

std::unique_ptr<registry::Registry> OpenRegistry(const std::string&) {
  return registry::OpenWin32Registry();
}

std::unique_ptr<forms::AppServices> MakeApp(std::string app_path, const std::string&) {
  return forms::MakeWin32App(std::move(app_path));
}

std::unique_ptr<runtime::FileSystem> MakeFileSystem() { return runtime::MakeWin32FileSystem(); }

std::unique_ptr<device::DeviceIo> MakeSystemDevice(const std::string&) {
  return device::MakeWin32Device();
}

}  // namespace ketra::machine
