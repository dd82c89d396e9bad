// The order of a form's native controls, top of the z-order first. The platform's dialog manager
// takes its tab order and its arrow-key groups from the z-order, and assistive tools name a box
// by the label just before it, so the order is:
//  1. the controls that take the focus, in rising TabIndex, each label that names one of them
//     just before the first it names, each image just after the label that names it;
//  2. the frames, drawn as group boxes under what they hold, inner ones first;
//  3. the tab control, at the bottom, under everything on its pages.
// Tab visits the same controls in the same cycle as the engine's Tab: the tab control, first in
// TabIndex, comes after the last control of the page, which is the same ring.
// Pure functions over the layout; no Win32 call.
#ifndef KETRA_WINDOW_WIN32_NATIVE_ORDER_H_
#define KETRA_WINDOW_WIN32_NATIVE_ORDER_H_

#include <vector>

#include "platform/forms/form.h"

namespace ketra::window::win32 {

// Every control that becomes a window (not the form, not timers), top of the z-order first.
std::vector<forms::ControlId> NativeOrder(const forms::Form& form);

// Whether the control at `index` of `order` starts a group for the arrow keys (WS_GROUP): all
// but an option button that follows an option of the same container, so that each option group
// is one run of the z-order and every other control is a group of its own.
bool StartsGroup(const forms::Form& form, const std::vector<forms::ControlId>& order,
                 std::size_t index);

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_NATIVE_ORDER_H_
