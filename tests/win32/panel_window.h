// The panel's running window as a test sees it from another process: found by its caption, each
// child control named by the form's own layout table (a control's window identifier is its
// place in the table), and its state read through the platform's messages, in the terms of
// ketra-session's `dump form`, so that the two can be compared.
#ifndef KETRA_TESTS_WIN32_PANEL_WINDOW_H_
#define KETRA_TESTS_WIN32_PANEL_WINDOW_H_

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/forms/form.h"

namespace ketra::probe {

// One message box of the panel: its text and the style told by its icon's colours.
struct BoxSeen {
  std::string text;
  std::string style;  // "plain", "information", "exclamation", "critical"
};

class PanelWindow {
 public:
  PanelWindow();  // the form of the layout table, with no handlers
  ~PanelWindow();

  // Waits up to `timeout_ms` for the window to be shown. False when it never was.
  bool Wait(int timeout_ms);
  HWND dialog() const { return dialog_; }
  const forms::Form& form() const { return *form_; }
  HWND Control(forms::ControlId id) const;
  HWND Control(std::string_view name) const { return Control(form_->Id(name)); }
  // The control's window rectangle on the dialog's client area.
  RECT ClientRectOf(HWND hwnd) const;

  // The form's state as shown: every control that has a window, with `control`, `kind`,
  // `container`, `page` (of the tab control it fills, -1 else), `shown`, `enabled`,
  // and what its kind shows: `caption`, `text`, `value`, `items` and `index`, `picture` (from
  // the screen's pixels), `tab_shown`; and `focus`, the name of the control with the focus.
  nlohmann::json State() const;

  // The panel's message box now open, if any.
  HWND OpenBox() const;
  BoxSeen ReadBox(HWND box) const;

  // Waits until the window has handled what was sent to it and its state stands still.
  void Settle() const;

 private:
  std::unique_ptr<forms::MessageBoxService> no_boxes_;
  std::unique_ptr<forms::Form> form_;
  HWND dialog_ = nullptr;
};

// The screen as it stands now, copied once: reading pixel by pixel from the display is slow.
class ScreenCapture {
 public:
  ScreenCapture();
  ~ScreenCapture();
  ScreenCapture(const ScreenCapture&) = delete;
  ScreenCapture& operator=(const ScreenCapture&) = delete;
  // The colour at a point of the screen, as 0xRRGGBB; 0xFFFFFFFF outside it.
  unsigned Pixel(int x, int y) const;

 private:
  int width_ = 0;
  int height_ = 0;
  HBITMAP bitmap_ = nullptr;
  const unsigned* bits_ = nullptr;  // top-down rows of 0x00RRGGBB
};

}  // namespace ketra::probe

#endif  // KETRA_TESTS_WIN32_PANEL_WINDOW_H_
