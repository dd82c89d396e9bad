// Where each control of a form stands in the window, in pixels: the layout table gives twips
// from the top left corner of each control's container; the native window puts every control
// straight on its client area, so the offsets of the containers are added up first and the sum
// is turned into pixels once, at the screen's DPI (no rounding error builds up along a chain).
// Pure functions over the engine's state; no Win32 call.
#ifndef KETRA_WINDOW_WIN32_LAYOUT_PIXELS_H_
#define KETRA_WINDOW_WIN32_LAYOUT_PIXELS_H_

#include "platform/forms/form.h"

namespace ketra::window::win32 {

struct PixelRect {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  int width() const { return right - left; }
  int height() const { return bottom - top; }
};

// Twips (1,440 to the inch) to pixels at `dpi` dots per inch, rounded to the nearest.
int TwipsToPixels(int twips, int dpi);

// The control's rectangle on the form's client area. The form's own row gives the size of the
// client area (its left and top are the design position on the screen, not an offset).
PixelRect ClientRect(const forms::Form& form, forms::ControlId id, int dpi);

// The part of the control's rectangle that its containers leave to be seen: a container clips
// what it holds, so a control laid out past its frame's edge is cut there, or not seen at all
// (then the rectangle is empty).
PixelRect VisibleRect(const forms::Form& form, forms::ControlId id, int dpi);

// Whether a control is on the screen: it and every container up to the form visible, and none
// of them on a page of a tab control that another page hides.
bool Shown(const forms::Form& form, forms::ControlId id);

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_LAYOUT_PIXELS_H_
