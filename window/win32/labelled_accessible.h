// What assistive tools read of a control whose name the platform cannot find by itself: the
// platform's standard accessible object for the control's client area, with the name the form
// gives it (forms::LabelName). Everything else (role, state, value, location, actions) stays the
// standard object's, as for any native control.
//
// Why the window answers WM_GETOBJECT itself: the platform names an edit box by the static text
// before it in the z-order, which works for a label that names one box, but one label naming
// the four boxes of an address names only the first, and a picture is never named by a label.
// Windows also reads names given by dynamic annotation (IAccPropServices::SetHwndPropStr), but
// Wine's oleacc refuses those (E_NOTIMPL), while both honour a window's own answer to
// WM_GETOBJECT, the way every accessible control is served. GUI thread only.
#ifndef KETRA_WINDOW_WIN32_LABELLED_ACCESSIBLE_H_
#define KETRA_WINDOW_WIN32_LABELLED_ACCESSIBLE_H_

#include <windows.h>

#include <string>

namespace ketra::window::win32 {

// The answer to WM_GETOBJECT (`wparam`, `lparam`) for `hwnd` when it asks for the client area's
// object: that object, named `name` (UTF-16). Returns 0 for any other object, which the caller
// leaves to the control's own procedure.
LRESULT AnswerLabelledObject(HWND hwnd, WPARAM wparam, LPARAM lparam, const std::wstring& name);

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_LABELLED_ACCESSIBLE_H_
