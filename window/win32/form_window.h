// FormWindow: the native Win32 window of a headless form. The form becomes a dialog whose
// controls are the platform's own (see native_controls.h), laid out from the form's layout table
// (layout_pixels.h) in an order the dialog manager tabs through like the engine (native_order.h).
//
// The window is thin over the engine, as the Qt window is: every user input becomes the engine's
// user operation (Focus, Click, Choose, Type, Paste, Backspace, Press, ShowPage, UpClick,
// DownClick, Tick, Close), the same operations a scripted session performs, and the controls only
// ever show what the engine holds: after each operation the window shows the engine's state again
// over anything a control changed on its own. The dialog manager (IsDialogMessage) moves the
// focus for Tab, Shift+Tab, the arrows of an option group and the Alt mnemonics; the window
// passes each focus it gives to the engine, which runs LostFocus and GotFocus, and marks as tab
// stops exactly the engine's tab stops. A control out of the user's reach in the engine (inside
// a disabled frame) keeps its own look but takes no click and is no tab stop.
//
// Does not own the form; the form must outlive the window. Runs on the thread that made it,
// which is the engine's one thread.
#ifndef KETRA_WINDOW_WIN32_FORM_WINDOW_H_
#define KETRA_WINDOW_WIN32_FORM_WINDOW_H_

#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/forms/form.h"
#include "platform/forms/user_actions.h"
#include "window/win32/dialog_font.h"
#include "window/win32/lamp_bitmaps_win32.h"

namespace ketra::window::win32 {

class FormWindow {
 public:
  // Creates the dialog and its controls and shows the form's state; the window stays hidden
  // until Run.
  FormWindow(forms::Form& form, HINSTANCE instance);
  ~FormWindow();
  FormWindow(const FormWindow&) = delete;
  FormWindow& operator=(const FormWindow&) = delete;

  HWND hwnd() const { return dialog_; }
  // Shows the window and runs the message loop until the program ends.
  void Run();

 private:
  static INT_PTR CALLBACK DialogProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam);
  static LRESULT CALLBACK ControlProc(HWND hwnd, UINT message, WPARAM wparam, LPARAM lparam,
                                      UINT_PTR id, DWORD_PTR self);
  // True when the message was handled; *result is then the dialog's answer.
  bool OnDialogMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT* result);
  LRESULT OnControlMessage(forms::ControlId id, HWND hwnd, UINT message, WPARAM wparam,
                           LPARAM lparam);
  LRESULT OnTextBoxMessage(forms::ControlId id, HWND hwnd, UINT message, WPARAM wparam,
                           LPARAM lparam);
  LRESULT OnComboBoxMessage(forms::ControlId id, HWND hwnd, UINT message, WPARAM wparam,
                            LPARAM lparam);

  void Build(HINSTANCE instance);
  forms::ControlId ControlOf(WPARAM command) const;
  // A control laid out past the edge of a frame around it is cut there, or never shown.
  void ClipToContainers(forms::ControlId id, HWND hwnd);

  // Runs one user operation through actions_ (forms::UserActions).
  void Perform(const std::function<void()>& operation);
  void End();
  void OnTimer(forms::ControlId id);
  // The box's caret and selection, when the user moved them inside the box, go to the engine.
  void PushSelection(forms::ControlId id, HWND edit);

  // Engine to controls.
  void Apply(forms::ControlId id);
  void ApplyAll();
  // Visibility, enabled state and tab stops of every control, which follow containers, pages
  // and option groups.
  void ApplyStructure();
  void ApplyFocus();
  void SetCaption(HWND hwnd, const std::string& text);

  forms::Form& form_;
  DialogFont font_;
  LampBitmaps lamps_;
  HWND dialog_ = nullptr;
  int dpi_ = 96;
  std::vector<HWND> windows_;                          // by ControlId; nullptr for none
  std::vector<std::vector<std::string>> shown_items_;  // combo boxes: the entries shown
  std::vector<forms::Picture> shown_pictures_;         // images: the picture shown
  std::vector<bool> timers_running_;                   // timers: whether SetTimer runs
  std::vector<bool> clipped_out_;                      // controls that their containers hide whole
  bool applying_ = false;       // the engine's state is being put on a control
  forms::UserActions actions_;  // one at a time, ticks held while a box is open
};

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_FORM_WINDOW_H_
