// The font of the system's dialogs and message boxes, as the user set it (the message font of
// the non-client metrics), else the stock GUI font. No control sets a font of its own.
#ifndef KETRA_WINDOW_WIN32_DIALOG_FONT_H_
#define KETRA_WINDOW_WIN32_DIALOG_FONT_H_

#include "window/win32/gdi_handles.h"

namespace ketra::window::win32 {

// An owned font; when the metrics cannot be read it holds nothing and get() gives the
// stock DEFAULT_GUI_FONT, which is never deleted.
class DialogFont {
 public:
  DialogFont();
  HFONT get() const;

 private:
  Font font_;
};

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_DIALOG_FONT_H_
