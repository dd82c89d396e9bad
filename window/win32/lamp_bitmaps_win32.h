// The lamp pictures of the status page as device-dependent bitmaps for static picture controls,
// made from the panel's own bitmap files (config_appl/form/lamp_bitmaps.h). Owned here for the
// life of the window; the picture controls only show them.
#ifndef KETRA_WINDOW_WIN32_LAMP_BITMAPS_WIN32_H_
#define KETRA_WINDOW_WIN32_LAMP_BITMAPS_WIN32_H_

#include <array>

#include "platform/forms/control.h"
#include "window/win32/gdi_handles.h"

namespace ketra::window::win32 {

class LampBitmaps {
 public:
  LampBitmaps();
  // The bitmap of a picture; nullptr for forms::Picture::kNone.
  HBITMAP get(forms::Picture picture) const;

 private:
  std::array<Bitmap, 4> bitmaps_;  // by forms::Picture
};

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_LAMP_BITMAPS_WIN32_H_
