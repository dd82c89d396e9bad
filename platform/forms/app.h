// The program's surroundings on a POSIX system: its directory, and the single-instance test as a
// lock file beside the hive, so that programs on different hives never see each other.
//
// InstanceLock owns the descriptor of the lock file; the lock lasts as long as the object (and
// any process that inherited the descriptor). Not thread-safe; one owner at a time.
#ifndef KETRA_PLATFORM_FORMS_APP_H_
#define KETRA_PLATFORM_FORMS_APP_H_

#include <memory>
#include <string>

#include "platform/forms/services.h"
#include "platform/runtime/fd.h"

namespace ketra::forms {

// An exclusive, non-blocking advisory lock (runtime::TryLockFile) on a file, created when missing.
// The lock belongs to the open file description: a second InstanceLock on the same file, in this
// process or another, does not get it while the first holds it.
class InstanceLock {
 public:
  explicit InstanceLock(const std::string& path);
  InstanceLock(InstanceLock&& other) noexcept;
  InstanceLock& operator=(InstanceLock&& other) noexcept;
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  // Tries again to take the lock when it is not held yet. True when held.
  bool TryAcquire();
  bool held() const { return held_; }
  // False when the lock file could not be opened or created.
  bool opened() const { return fd_.valid(); }

 private:
  runtime::Fd fd_;
  bool held_ = false;
};

// The lock file of a hive: the hive's path with ".lock" appended.
std::string InstanceLockPath(const std::string& hive_path);

// An empty app_path stands for the directory of the running executable. The instance lock on
// the hive is taken at once and kept for the life of the returned object. PrevInstance() is true
// while another holder has the lock; when the lock file cannot be created it answers false, as
// nothing then shows another instance.
std::unique_ptr<AppServices> MakePosixApp(std::string app_path, std::string hive_path);

// The directory of the running executable, without a separator at the end.
std::string ExecutableDirectory();

}  // namespace ketra::forms

#endif  // KETRA_PLATFORM_FORMS_APP_H_
