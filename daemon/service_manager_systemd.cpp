#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <cstdlib>

#include "daemon/service_manager.h"

namespace ketra::vspd {
namespace {

class SystemdServiceManager final : public ServiceManager {
 public:
  bool present() const override { return std::getenv("NOTIFY_SOCKET") != nullptr; }
  void Notify(const std::string& state) override { ::sd_notify(0, state.c_str()); }
  bool Store(const std::string& name, std::span<const int> fds) override {
    const std::string state = "FDSTORE=1\nFDNAME=" + name;
    return ::sd_pid_notify_with_fds(0, 0, state.c_str(), fds.data(),
                                    static_cast<unsigned>(fds.size())) > 0;
  }
  void Remove(const std::string& name) override {
    ::sd_notify(0, ("FDSTOREREMOVE=1\nFDNAME=" + name).c_str());
  }
  std::vector<std::pair<std::string, runtime::Fd>> TakeHanded() override {
    char** names = nullptr;
    // Unsets LISTEN_* so that nothing the daemon starts mistakes them for its own.
    const int count = ::sd_listen_fds_with_names(1, &names);
    std::vector<std::pair<std::string, runtime::Fd>> handed;
    for (int i = 0; i < count; ++i) {
      handed.emplace_back(names != nullptr && names[i] != nullptr ? names[i] : "",
                          runtime::Fd(SD_LISTEN_FDS_START + i));
    }
    if (names != nullptr) {
      for (int i = 0; i < count; ++i) std::free(names[i]);
      std::free(names);
    }
    return handed;
  }
};

}  // namespace

std::unique_ptr<ServiceManager> MakeSystemdServiceManager() {
  return std::make_unique<SystemdServiceManager>();
}

}  // namespace ketra::vspd
