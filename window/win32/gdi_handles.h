// Owners of the GDI objects the window keeps: one font and one bitmap per lamp picture. Each is
// deleted with its owner; move-only. Used on the window's thread only.
#ifndef KETRA_WINDOW_WIN32_GDI_HANDLES_H_
#define KETRA_WINDOW_WIN32_GDI_HANDLES_H_

#include <windows.h>

#include <utility>

namespace ketra::window::win32 {

template <typename Handle>
class GdiObject {
 public:
  GdiObject() = default;
  explicit GdiObject(Handle handle) : handle_(handle) {}
  GdiObject(GdiObject&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  GdiObject& operator=(GdiObject&& other) noexcept {
    if (this != &other) {
      Reset();
      handle_ = std::exchange(other.handle_, nullptr);
    }
    return *this;
  }
  GdiObject(const GdiObject&) = delete;
  GdiObject& operator=(const GdiObject&) = delete;
  ~GdiObject() { Reset(); }

  Handle get() const { return handle_; }

 private:
  void Reset() {
    if (handle_ != nullptr) DeleteObject(handle_);
    handle_ = nullptr;
  }
  Handle handle_ = nullptr;
};

using Font = GdiObject<HFONT>;
using Bitmap = GdiObject<HBITMAP>;

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_GDI_HANDLES_H_
