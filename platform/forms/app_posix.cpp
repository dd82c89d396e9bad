// POSIX surroundings of the program: /proc/self/exe for its directory, flock for the
// single-instance test.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/forms/app.h"

namespace ketra::forms {

namespace {

// The lock beside a hive shared by a group is the group's too: made 0660 whatever the umask,
// and opened for reading only where the user may not write it (flock needs no more).
int OpenLockFile(const std::string& path) {
  int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0660);
  if (fd >= 0) {
    ::fchmod(fd, 0660);
    return fd;
  }
  fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0660);
  if (fd < 0 && errno == EACCES) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  return fd;
}

}  // namespace

InstanceLock::InstanceLock(const std::string& path) : fd_(OpenLockFile(path)) { TryAcquire(); }

InstanceLock::~InstanceLock() {
  // Closing the last descriptor of the open file description releases the lock.
  if (fd_ >= 0) ::close(fd_);
}

InstanceLock::InstanceLock(InstanceLock&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), held_(std::exchange(other.held_, false)) {}

InstanceLock& InstanceLock::operator=(InstanceLock&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = std::exchange(other.fd_, -1);
    held_ = std::exchange(other.held_, false);
  }
  return *this;
}

bool InstanceLock::TryAcquire() {
  if (held_ || fd_ < 0) return held_;
  int result;
  do {
    result = ::flock(fd_, LOCK_EX | LOCK_NB);
  } while (result != 0 && errno == EINTR);
  held_ = result == 0;
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
