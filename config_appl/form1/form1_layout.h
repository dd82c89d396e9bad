// Form1 as data: every control of the panel's one window with its kind, container, geometry in
// twips, tab index, caption or default text, length limit, state at start and picture, in the
// order of the form's layout tables. The headless engine and the Qt window are both built from
// this one table.
#ifndef KETRA_CONFIG_APPL_FORM1_FORM1_LAYOUT_H_
#define KETRA_CONFIG_APPL_FORM1_FORM1_LAYOUT_H_

#include <span>

#include "platform/forms/control.h"

namespace ketra {

// The form's own row comes first (caption, client area size as width and height, and the
// design position of the client area as left and top), then every container before its
// contents.
std::span<const forms::ControlSpec> Form1Layout();

}  // namespace ketra

#endif  // KETRA_CONFIG_APPL_FORM1_FORM1_LAYOUT_H_
