// Windows surroundings of the program. The mutex is owned rather than merely created: an
// instance that ends without releasing it leaves it abandoned, and the next wait takes it, so a
// crashed instance never blocks later ones.
#include <windows.h>

#include <string>
#include <utility>

#include "platform/forms/app_win32.h"

namespace ketra::forms {

std::string ModuleDirectory() {
  std::string path(MAX_PATH, '\0');
  for (;;) {
    const DWORD length = GetModuleFileNameA(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return ".";
    if (length < path.size()) {
      path.resize(length);
      break;
    }
    path.resize(path.size() * 2);
  }
  const std::size_t slash = path.find_last_of("\\/");
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

namespace {

// Owns one kernel handle.
class OwnedHandle {
 public:
  explicit OwnedHandle(HANDLE handle) : handle_(handle) {}
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;
  ~OwnedHandle() {
    if (handle_ != nullptr) CloseHandle(handle_);
  }
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

class Win32App final : public AppServices {
 public:
  explicit Win32App(std::string app_path)
      : path_(std::move(app_path)), mutex_(CreateMutexA(nullptr, FALSE, kInstanceMutexName)) {
    if (path_.empty()) path_ = ModuleDirectory();
    while (path_.size() > 1 && (path_.back() == '\\' || path_.back() == '/')) path_.pop_back();
    TryOwn();
  }
  ~Win32App() override {
    if (owned_) ReleaseMutex(mutex_.get());
  }

  std::string Path() const override { return path_; }

  bool PrevInstance() override {
    // Without the mutex nothing can show another instance.
    if (mutex_.get() == nullptr) return false;
    return !TryOwn();
  }

 private:
  bool TryOwn() {
    if (owned_ || mutex_.get() == nullptr) return owned_;
    const DWORD result = WaitForSingleObject(mutex_.get(), 0);
    owned_ = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
    return owned_;
  }

  std::string path_;
  OwnedHandle mutex_;
  bool owned_ = false;
};

}  // namespace

std::unique_ptr<AppServices> MakeWin32App(std::string app_path) {
  return std::make_unique<Win32App>(std::move(app_path));
}

}  // namespace ketra::forms
