// POSIX surroundings of the program: /proc/self/exe for its directory, a lock file for the
// single-instance test.
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/forms/app.h"
#include "platform/runtime/lock_file.h"

namespace ketra::forms {

InstanceLock::InstanceLock(const std::string& path) : fd_(runtime::OpenLockFile(path)) {
  TryAcquire();
}

// Closing the last descriptor of the open file description releases the lock.
InstanceLock::InstanceLock(InstanceLock&& other) noexcept
    : fd_(std::move(other.fd_)), held_(std::exchange(other.held_, false)) {}

InstanceLock& InstanceLock::operator=(InstanceLock&& other) noexcept {
  if (this != &other) {
    fd_ = std::move(other.fd_);
    held_ = std::exchange(other.held_, false);
  }
  return *this;
}

bool InstanceLock::TryAcquire() {
  if (!held_) held_ = runtime::TryLockFile(fd_);
  return held_;
}

std::string InstanceLockPath(const std::string& hive_path) { return hive_path + ".lock"; }

std::string ExecutableDirectory() {
  std::error_code error;
  const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) return std::filesystem::current_path().string();
  return exe.parent_path().string();
}

namespace {

class PosixApp final : public AppServices {
 public:
  PosixApp(std::string app_path, const std::string& hive_path)
      : path_(std::move(app_path)), lock_(InstanceLockPath(hive_path)) {
    if (path_.empty()) path_ = ExecutableDirectory();
    while (path_.size() > 1 && path_.back() == '/') path_.pop_back();
  }

  std::string Path() const override { return path_; }

  bool PrevInstance() override {
    // Without a lock file nothing can show another instance.
    if (!lock_.opened()) return false;
    // An instance that ended since this one started leaves the lock to this one.
    return !lock_.TryAcquire();
  }

 private:
  std::string path_;
  InstanceLock lock_;
};

}  // namespace

std::unique_ptr<AppServices> MakePosixApp(std::string app_path, std::string hive_path) {
  return std::make_unique<PosixApp>(std::move(app_path), hive_path);
}

}  // namespace ketra::forms
