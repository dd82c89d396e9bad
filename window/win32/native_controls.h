// Which window of the platform stands for each kind of control, and its styles: push buttons,
// edits, a drop-down list, group boxes, auto radio buttons, static labels and pictures, and the
// tab control and the up-down control of the common controls. Tab stops, visibility and the
// enabled state are left to the window, which sets them from the engine's state.
#ifndef KETRA_WINDOW_WIN32_NATIVE_CONTROLS_H_
#define KETRA_WINDOW_WIN32_NATIVE_CONTROLS_H_

#include <windows.h>

#include "platform/forms/form.h"
#include "window/win32/layout_pixels.h"

namespace ketra::window::win32 {

// The first child window identifier; a control's identifier is this plus its ControlId, away
// from IDOK and IDCANCEL, which Enter and Escape send to every dialog.
inline constexpr int kFirstControlIdentifier = 1000;

// Creates the control's window as a child of `dialog` at `rect` (the drop-down list reaches
// below it for its list), hidden and without a tab stop, with `font`. `starts_group` gives it
// WS_GROUP. Returns nullptr for kinds without a window (the form, timers).
HWND CreateNativeControl(const forms::Form& form, forms::ControlId id, HWND dialog,
                         const PixelRect& rect, bool starts_group, HFONT font);

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_NATIVE_CONTROLS_H_
