// The makers of each kind's ControlView, for MakeControlView alone. One file holds each larger
// kind (text box, drop-down list, tab control); plain_controls.cpp the kinds of a few lines.
#ifndef KETRA_WINDOW_CONTROL_KINDS_H_
#define KETRA_WINDOW_CONTROL_KINDS_H_

#include <memory>

#include "window/control_view.h"

namespace ketra::window {

using ViewPtr = std::unique_ptr<ControlView>;

ViewPtr MakeTextBox(ControlHost& host, forms::ControlId id,
                    QWidget* parent);                                       // text_box_control.cpp
ViewPtr MakeList(ControlHost& host, forms::ControlId id, QWidget* parent);  // list_control.cpp
ViewPtr MakeTabControl(ControlHost& host, forms::ControlId id, QWidget* parent);  // tab_control.cpp
ViewPtr MakeLabel(ControlHost& host, forms::ControlId id, QWidget* parent);  // plain_controls.cpp
ViewPtr MakeFrame(ControlHost& host, forms::ControlId id, QWidget* parent);
ViewPtr MakeButton(ControlHost& host, forms::ControlId id, QWidget* parent);
ViewPtr MakeOption(ControlHost& host, forms::ControlId id, QWidget* parent);
ViewPtr MakeImage(ControlHost& host, forms::ControlId id, QWidget* parent);
ViewPtr MakeTimer(ControlHost& host, forms::ControlId id);
ViewPtr MakeUpDown(ControlHost& host, forms::ControlId id, QWidget* parent);

}  // namespace ketra::window

#endif  // KETRA_WINDOW_CONTROL_KINDS_H_
