#include "window/win32/form_window.h"

#include <commctrl.h>

#include <algorithm>
#include <optional>
#include <string>

#include "window/win32/labelled_accessible.h"
#include "window/win32/layout_pixels.h"
#include "window/win32/native_controls.h"
#include "window/win32/native_order.h"

namespace ketra::window::win32 {
namespace {

using forms::ControlId;
using forms::Kind;

// Raises `flag` for the life of the object and puts back what it held before.
class Raised {
 public:
  explicit Raised(bool& flag) : flag_(flag), before_(flag) { flag_ = true; }
  Raised(const Raised&) = delete;
  Raised& operator=(const Raised&) = delete;
  ~Raised() { flag_ = before_; }

 private:
  bool& flag_;
  bool before_;
};

std::string WindowText(HWND hwnd) {
  std::string text(static_cast<std::size_t>(GetWindowTextLengthA(hwnd)) + 1, '\0');
  text.resize(
      static_cast<std::size_t>(GetWindowTextA(hwnd, text.data(), static_cast<int>(text.size()))));
  return text;
}

// The name the form gives a control for assistive tools, from the engine's Windows-1252.
std::wstring LabelNameOf(const forms::Form& form, ControlId id) {
  const std::string name = forms::LabelName(form, id);
  std::wstring wide(name.size(), L'\0');
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(1252, 0, name.data(), static_cast<int>(name.size()), wide.data(),
                          static_cast<int>(wide.size()))));
  return wide;
}

bool Pressed(int virtual_key) { return (GetKeyState(virtual_key) & 0x8000) != 0; }

// The engine's key for a navigation key pressed without Shift, Ctrl or Alt.
std::optional<forms::Key> EngineKey(WPARAM virtual_key) {
  if (Pressed(VK_SHIFT) || Pressed(VK_CONTROL) || Pressed(VK_MENU)) return std::nullopt;
  switch (virtual_key) {
    case VK_UP:
      return forms::Key::kUp;
    case VK_DOWN:
      return forms::Key::kDown;
    case VK_LEFT:
      return forms::Key::kLeft;
    case VK_RIGHT:
      return forms::Key::kRight;
    case VK_HOME:
      return forms::Key::kHome;
    case VK_END:
      return forms::Key::kEnd;
    default:
      return std::nullopt;
  }
}

bool IsMouseButton(UINT message) {
  switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_LBUTTONDBLCLK:
    case WM_RBUTTONDOWN:
    case WM_RBUTTONUP:
    case WM_MBUTTONDOWN:
    case WM_MBUTTONUP:
    case WM_MOUSEWHEEL:
      return true;
    default:
      return false;
  }
}

// The first line of the clipboard's text, in the ANSI code page.
std::optional<std::string> ClipboardLine(HWND owner) {
  if (!OpenClipboard(owner)) return std::nullopt;
  std::optional<std::string> line;
  if (HANDLE data = GetClipboardData(CF_TEXT); data != nullptr) {
    if (const auto* text = static_cast<const char*>(GlobalLock(data)); text != nullptr) {
      std::string all(text);
      line = all.substr(0, all.find_first_of("\r\n"));
      GlobalUnlock(data);
    }
  }
  CloseClipboard();
  return line;
}

}  // namespace

FormWindow::FormWindow(forms::Form& form, HINSTANCE instance)
    : form_(form),
      actions_(form, {.report =
                          [](std::string_view reason) {
                            OutputDebugStringA(std::string(reason).c_str());
                          },
                      .show_state =
                          [this] {
                            ApplyAll();
                            ApplyFocus();
                          },
                      .end = [this] { End(); }}) {
  Build(instance);
}

FormWindow::~FormWindow() {
  form_.SetObserver(nullptr);
  if (dialog_ != nullptr) DestroyWindow(dialog_);
}

void FormWindow::Build(HINSTANCE instance) {
  // A dialog with no controls of its template: the controls come from the layout table, and the
  // dialog brings the dialog manager's keyboard and its keeping of the focus across activation.
  struct alignas(DWORD) Template {
    DLGTEMPLATE dialog;
    WORD menu;
    WORD window_class;
    WORD title;
  } empty{};
  empty.dialog.style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
  dialog_ = CreateDialogIndirectParamA(instance, &empty.dialog, nullptr, DialogProc,
                                       reinterpret_cast<LPARAM>(this));
  if (dialog_ == nullptr) return;

  HDC screen = GetDC(nullptr);
  dpi_ = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);

  const forms::Control& own = form_.at(0);
  RECT frame{0, 0, TwipsToPixels(own.width, dpi_), TwipsToPixels(own.height, dpi_)};
  const DWORD style = static_cast<DWORD>(GetWindowLongPtrA(dialog_, GWL_STYLE));
  const DWORD ex_style = static_cast<DWORD>(GetWindowLongPtrA(dialog_, GWL_EXSTYLE));
  AdjustWindowRectEx(&frame, style, FALSE, ex_style);
  // The client area's design position on the screen.
  const int left = TwipsToPixels(own.left, dpi_) + frame.left;
  const int top = TwipsToPixels(own.top, dpi_) + frame.top;
  SetWindowPos(dialog_, nullptr, std::max(left, 0), std::max(top, 0), frame.right - frame.left,
               frame.bottom - frame.top, SWP_NOZORDER | SWP_NOACTIVATE);
  SendMessageA(dialog_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);

  const auto size = static_cast<std::size_t>(form_.size());
  windows_.assign(size, nullptr);
  shown_items_.assign(size, {});
  shown_pictures_.assign(size, forms::Picture::kNone);
  timers_running_.assign(size, false);
  clipped_out_.assign(size, false);
  const std::vector<ControlId> order = NativeOrder(form_);
  HWND above = HWND_TOP;
  for (std::size_t index = 0; index < order.size(); ++index) {
    const ControlId id = order[index];
    HWND hwnd = CreateNativeControl(form_, id, dialog_, ClientRect(form_, id, dpi_),
                                    StartsGroup(form_, order, index), font_.get());
    if (hwnd == nullptr) continue;
    windows_[static_cast<std::size_t>(id)] = hwnd;
    ClipToContainers(id, hwnd);
    // Creation order is the z-order, top first; said outright rather than trusted.
    SetWindowPos(hwnd, above, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    above = hwnd;
    SetWindowSubclass(hwnd, ControlProc, static_cast<UINT_PTR>(id),
                      reinterpret_cast<DWORD_PTR>(this));
  }
  form_.SetObserver([this](ControlId id) {
    Apply(id);
    ApplyStructure();
  });
  ApplyAll();
}

void FormWindow::Run() {
  if (dialog_ == nullptr || actions_.ended()) return;
  ShowWindow(dialog_, SW_SHOW);
  SetForegroundWindow(dialog_);
  ApplyFocus();
  MSG message;
  while (!actions_.ended() && GetMessageA(&message, nullptr, 0, 0) > 0) {
    if (!IsDialogMessageA(dialog_, &message)) {
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
  }
}

void FormWindow::ClipToContainers(ControlId id, HWND hwnd) {
  const PixelRect laid = ClientRect(form_, id, dpi_);
  const PixelRect visible = VisibleRect(form_, id, dpi_);
  if (visible.width() == 0) {
    clipped_out_[static_cast<std::size_t>(id)] = true;
    return;
  }
  // Frames and the tab control hold their contents; the drop-down list's window reaches below
  // its box for the list, which is a window of its own.
  const forms::Kind kind = form_.at(id).kind;
  if (kind == Kind::kComboBox || kind == Kind::kImage) return;
  if (visible.left == laid.left && visible.top == laid.top && visible.right == laid.right &&
      visible.bottom == laid.bottom) {
    return;
  }
  SetWindowRgn(hwnd,
               CreateRectRgn(visible.left - laid.left, visible.top - laid.top,
                             visible.right - laid.left, visible.bottom - laid.top),
               FALSE);
}

// --- The dialog. ---

INT_PTR CALLBACK FormWindow::DialogProc(HWND dialog, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrA(dialog, DWLP_USER, lparam);
    return FALSE;  // the focus is the engine's to give
  }
  auto* self = reinterpret_cast<FormWindow*>(GetWindowLongPtrA(dialog, DWLP_USER));
  if (self == nullptr) return FALSE;
  LRESULT result = 0;
  if (!self->OnDialogMessage(message, wparam, lparam, &result)) return FALSE;
  SetWindowLongPtrA(dialog, DWLP_MSGRESULT, result);
  return TRUE;
}

ControlId FormWindow::ControlOf(WPARAM command) const {
  const int id = static_cast<int>(LOWORD(command)) - kFirstControlIdentifier;
  return id >= 0 && id < form_.size() ? id : forms::kNoControl;
}

bool FormWindow::OnDialogMessage(UINT message, WPARAM wparam, LPARAM lparam, LRESULT* result) {
  switch (message) {
    case WM_COMMAND: {
      // Enter and Escape send IDOK and IDCANCEL: the form has no default or cancel button.
      const ControlId id = ControlOf(wparam);
      if (id == forms::kNoControl || applying_ || actions_.ended()) return true;
      const Kind kind = form_.at(id).kind;
      const WORD code = HIWORD(wparam);
      if ((kind == Kind::kButton || kind == Kind::kOption) && code == BN_CLICKED) {
        Perform([this, id] { form_.Click(id); });
      } else if (kind == Kind::kComboBox && code == CBN_SELENDOK) {
        const LRESULT index =
            SendMessageA(windows_[static_cast<std::size_t>(id)], CB_GETCURSEL, 0, 0);
        const std::vector<std::string>& items = form_.at(id).items;
        if (index >= 0 && static_cast<std::size_t>(index) < items.size()) {
          const std::string entry = items[static_cast<std::size_t>(index)];
          Perform([this, id, entry] { form_.Choose(id, entry); });
        } else {
          ApplyAll();
        }
      } else if (kind == Kind::kComboBox && code == CBN_SELENDCANCEL) {
        ApplyAll();
      }
      return true;
    }
    case WM_NOTIFY: {
      const auto* header = reinterpret_cast<const NMHDR*>(lparam);
      const ControlId id = ControlOf(header->idFrom);
      if (id == forms::kNoControl) return false;
      if (header->code == UDN_DELTAPOS) {
        const int delta = reinterpret_cast<const NMUPDOWN*>(lparam)->iDelta;
        if (!applying_ && !actions_.ended()) {
          Perform([this, id, delta] {
            if (delta > 0) {
              form_.UpClick(id);
            } else {
              form_.DownClick(id);
            }
          });
        }
        *result = TRUE;  // the control's own position never changes
        return true;
      }
      if (header->code == TCN_SELCHANGING) {
        *result = TRUE;  // only the engine changes the page shown
        return true;
      }
      return false;
    }
    case WM_ACTIVATE:
      // The dialog would give the focus back to the control it saved, or to its first tab stop;
      // the focus is the engine's, and no user moved it.
      if (LOWORD(wparam) == WA_INACTIVE) return false;
      ApplyFocus();
      return true;
    case WM_SETFOCUS:
      ApplyFocus();
      return true;
    case WM_TIMER:
      if (const ControlId id = ControlOf(wparam); id != forms::kNoControl) OnTimer(id);
      return true;
    case WM_CLOSE:
      Perform([this] { form_.Close(); });
      return true;
    default:
      return false;
  }
}

// --- The controls. ---

LRESULT CALLBACK FormWindow::ControlProc(HWND hwnd, UINT message, WPARAM wparam, LPARAM lparam,
                                         UINT_PTR id, DWORD_PTR self) {
  if (message == WM_NCDESTROY) {
    RemoveWindowSubclass(hwnd, ControlProc, id);
    return DefSubclassProc(hwnd, message, wparam, lparam);
  }
  return reinterpret_cast<FormWindow*>(self)->OnControlMessage(static_cast<ControlId>(id), hwnd,
                                                               message, wparam, lparam);
}

LRESULT FormWindow::OnControlMessage(ControlId id, HWND hwnd, UINT message, WPARAM wparam,
                                     LPARAM lparam) {
  if (actions_.ended()) return DefSubclassProc(hwnd, message, wparam, lparam);
  const Kind kind = form_.at(id).kind;
  if (message == WM_GETOBJECT && form_.at(id).named_by != forms::kNoControl) {
    if (const LRESULT answer = AnswerLabelledObject(hwnd, wparam, lparam, LabelNameOf(form_, id))) {
      return answer;
    }
  }
  if (message == WM_SETFOCUS) {
    const LRESULT result = DefSubclassProc(hwnd, message, wparam, lparam);
    // The dialog manager (or a click) gave the control the focus: the engine takes it over. A
    // focus that comes back while an operation runs (a message box closing) is none of the
    // user's doing; the operation's end shows the engine's focus.
    if (!applying_ && !actions_.under_way() && forms::TakesFocus(kind) && form_.focus() != id) {
      Perform([this, id] { form_.Focus(id); });
    }
    return result;
  }
  // Out of the user's reach (a disabled frame around it): no click and no key reaches it.
  const bool input = IsMouseButton(message) || message == WM_KEYDOWN || message == WM_CHAR;
  if (input && !applying_ && form_.Reach(id) != forms::Refusal::kNone) return 0;

  switch (kind) {
    case Kind::kTextBox:
      return OnTextBoxMessage(id, hwnd, message, wparam, lparam);
    case Kind::kComboBox:
      return OnComboBoxMessage(id, hwnd, message, wparam, lparam);
    case Kind::kTab:
      if (message == WM_KEYDOWN) {
        if (const std::optional<forms::Key> key = EngineKey(wparam)) {
          Perform([this, id, key] { form_.Press(id, *key); });
          return 0;
        }
      } else if (message == WM_LBUTTONDOWN) {
        TCHITTESTINFO hit{};
        hit.pt = {static_cast<short>(LOWORD(lparam)), static_cast<short>(HIWORD(lparam))};
        const auto page =
            static_cast<int>(SendMessageA(hwnd, TCM_HITTEST, 0, reinterpret_cast<LPARAM>(&hit)));
        if (page >= 0) Perform([this, page] { form_.ShowPage(page); });
        return 0;
      }
      break;
    case Kind::kUpDown:
      if (message == WM_GETDLGCODE) return DLGC_WANTARROWS;
      if (message == WM_KEYDOWN && (wparam == VK_UP || wparam == VK_DOWN)) {
        const forms::Key key = wparam == VK_UP ? forms::Key::kUp : forms::Key::kDown;
        Perform([this, id, key] { form_.Press(id, key); });
        return 0;
      }
      break;
    default:
      break;
  }
  return DefSubclassProc(hwnd, message, wparam, lparam);
}

LRESULT FormWindow::OnTextBoxMessage(ControlId id, HWND hwnd, UINT message, WPARAM wparam,
                                     LPARAM lparam) {
  switch (message) {
    case EM_SETSEL:
      // Only the engine places the caret: the dialog manager's select-all on Tab is the GotFocus
      // handler's to decide.
      if (!applying_) return 0;
      break;
    case WM_CHAR: {
      const auto ch = static_cast<unsigned>(wparam);
      if (ch == 0x03 || ch == 0x16 || ch == 0x18) break;  // Ctrl+C, V, X: WM_COPY, PASTE, CUT
      if (ch == '\b') {
        Perform([this, id] { form_.Backspace(id); });
      } else if (ch == 0x01) {
        Perform([this, id] {
          form_.SetSelStart(id, 0);
          form_.SetSelLength(id, static_cast<int>(form_.at(id).text.size()));
        });
      } else if (ch >= 0x20) {
        const std::string text(1, static_cast<char>(ch));
        Perform([this, id, text] { form_.Type(id, text); });
      }
      return 0;  // Enter, Escape and other controls type nothing
    }
    case WM_KEYDOWN:
      if (wparam == VK_DELETE) {
        // Delete is Backspace over the character after the caret, or over the selection.
        Perform([this, id] {
          const forms::Control& box = form_.at(id);
          if (box.sel_length == 0) {
            if (box.sel_start >= static_cast<int>(box.text.size())) return;
            form_.SetSelLength(id, 1);
          }
          form_.Backspace(id);
        });
        return 0;
      }
      if (const std::optional<forms::Key> key = EngineKey(wparam)) {
        Perform([this, id, key] { form_.Press(id, *key); });
        return 0;
      }
      break;
    case WM_PASTE:
      if (const std::optional<std::string> line = ClipboardLine(dialog_)) {
        Perform([this, id, text = *line] { form_.Paste(id, text); });
      }
      return 0;
    case WM_CUT:
      DefSubclassProc(hwnd, WM_COPY, 0, 0);
      if (form_.at(id).sel_length > 0) Perform([this, id] { form_.Backspace(id); });
      return 0;
    case WM_CLEAR:
      if (form_.at(id).sel_length > 0) Perform([this, id] { form_.Backspace(id); });
      return 0;
    case WM_UNDO:
    case EM_UNDO:
    case WM_MBUTTONDOWN:
      return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
      // The click that brings the focus leaves the selection to the GotFocus handler, as a Tab
      // into the box does.
      if (form_.focus() != id) {
        Perform([this, id] { form_.Focus(id); });
        return 0;
      }
      break;
    default:
      break;
  }
  const LRESULT result = DefSubclassProc(hwnd, message, wparam, lparam);
  // Shift with the arrows, the mouse, the context menu's Select All: the box moved its caret or
  // selection itself, and the engine learns it. Not on other messages: the focus leaving the
  // box must not bring it back.
  switch (message) {
    case WM_KEYDOWN:
    case WM_LBUTTONDOWN:
    case WM_LBUTTONUP:
    case WM_LBUTTONDBLCLK:
    case WM_MOUSEMOVE:
    case WM_CONTEXTMENU:
      PushSelection(id, hwnd);
      break;
    default:
      break;
  }
  return result;
}

LRESULT FormWindow::OnComboBoxMessage(ControlId id, HWND hwnd, UINT message, WPARAM wparam,
                                      LPARAM lparam) {
  const bool dropped = SendMessageA(hwnd, CB_GETDROPPEDSTATE, 0, 0) != 0;
  switch (message) {
    case WM_KEYDOWN:
      if (!dropped) {
        if (const std::optional<forms::Key> key = EngineKey(wparam)) {
          Perform([this, id, key] { form_.Press(id, *key); });
          return 0;
        }
      }
      break;  // Alt+Down and F4 open the list; a choice in it comes as CBN_SELENDOK
    case WM_CHAR:
      if (!dropped) return 0;  // no choice by typing: the engine has none
      break;
    case WM_MOUSEWHEEL:
      if (!dropped) return 0;
      break;
    case WM_LBUTTONDOWN:
      if (form_.focus() != id) {
        Perform([this, id] { form_.Focus(id); });
        // The list opens only when the focus arrived (a LostFocus handler may have intervened).
        if (form_.focus() != id) return 0;
      }
      break;
    default:
      break;
  }
  return DefSubclassProc(hwnd, message, wparam, lparam);
}

void FormWindow::PushSelection(ControlId id, HWND edit) {
  if (applying_ || actions_.ended() || actions_.under_way() || form_.focus() != id) return;
  DWORD start = 0;
  DWORD end = 0;
  SendMessageA(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
  const int sel_start = static_cast<int>(start);
  const int sel_length = static_cast<int>(end - start);
  const forms::Control& box = form_.at(id);
  if (box.sel_start == sel_start && box.sel_length == sel_length) return;
  Perform([this, id, sel_start, sel_length] {
    form_.SetSelStart(id, sel_start);
    form_.SetSelLength(id, sel_length);
  });
}

// --- Operations. ---

void FormWindow::Perform(const std::function<void()>& operation) { actions_.Run(operation); }

void FormWindow::OnTimer(ControlId id) { actions_.Tick(id); }

void FormWindow::End() {
  form_.SetObserver(nullptr);
  for (ControlId id = 0; id < form_.size(); ++id) {
    if (timers_running_[static_cast<std::size_t>(id)]) {
      KillTimer(dialog_, static_cast<UINT_PTR>(kFirstControlIdentifier + id));
    }
  }
  // The window goes when the loop has ended, not under the message that ended the program.
  ShowWindow(dialog_, SW_HIDE);
  PostQuitMessage(0);
}

// --- Engine to controls. ---

void FormWindow::SetCaption(HWND hwnd, const std::string& text) {
  if (WindowText(hwnd) != text) SetWindowTextA(hwnd, text.c_str());
}

void FormWindow::ApplyAll() {
  for (ControlId id = 0; id < form_.size(); ++id) Apply(id);
  ApplyStructure();
}

void FormWindow::Apply(ControlId id) {
  if (actions_.ended() || dialog_ == nullptr) return;
  const Raised applying(applying_);
  const forms::Control& control = form_.at(id);
  const auto index = static_cast<std::size_t>(id);
  HWND hwnd = control.kind == Kind::kForm ? dialog_ : windows_[index];
  switch (control.kind) {
    case Kind::kForm:
    case Kind::kFrame:
    case Kind::kLabel:
    case Kind::kButton:
      SetCaption(hwnd, control.caption);
      break;
    case Kind::kOption: {
      SetCaption(hwnd, control.caption);
      const WPARAM check = control.value ? BST_CHECKED : BST_UNCHECKED;
      if (static_cast<WPARAM>(SendMessageA(hwnd, BM_GETCHECK, 0, 0)) != check) {
        SendMessageA(hwnd, BM_SETCHECK, check, 0);
      }
      break;
    }
    case Kind::kTab:
      if (SendMessageA(hwnd, TCM_GETCURSEL, 0, 0) != control.tab_shown) {
        SendMessageA(hwnd, TCM_SETCURSEL, static_cast<WPARAM>(control.tab_shown), 0);
      }
      break;
    case Kind::kTextBox: {
      SetCaption(hwnd, control.text);
      const int size = static_cast<int>(control.text.size());
      const int start = std::clamp(control.sel_start, 0, size);
      const int end = start + std::clamp(control.sel_length, 0, size - start);
      DWORD shown_start = 0;
      DWORD shown_end = 0;
      SendMessageA(hwnd, EM_GETSEL, reinterpret_cast<WPARAM>(&shown_start),
                   reinterpret_cast<LPARAM>(&shown_end));
      if (static_cast<int>(shown_start) != start || static_cast<int>(shown_end) != end) {
        SendMessageA(hwnd, EM_SETSEL, static_cast<WPARAM>(start), end);
      }
      break;
    }
    case Kind::kComboBox:
      if (shown_items_[index] != control.items) {
        SendMessageA(hwnd, CB_RESETCONTENT, 0, 0);
        for (const std::string& item : control.items) {
          SendMessageA(hwnd, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(item.c_str()));
        }
        shown_items_[index] = control.items;
      }
      if (SendMessageA(hwnd, CB_GETCURSEL, 0, 0) != control.list_index) {
        SendMessageA(hwnd, CB_SETCURSEL, static_cast<WPARAM>(control.list_index), 0);
      }
      break;
    case Kind::kImage:
      if (shown_pictures_[index] != control.picture) {
        SendMessageA(hwnd, STM_SETIMAGE, IMAGE_BITMAP,
                     reinterpret_cast<LPARAM>(lamps_.get(control.picture)));
        shown_pictures_[index] = control.picture;
        // Its name says what it shows (LabelNameOf): a screen reader reads it again.
        NotifyWinEvent(EVENT_OBJECT_NAMECHANGE, hwnd, OBJID_CLIENT, CHILDID_SELF);
      }
      break;
    case Kind::kTimer: {
      const bool runs = control.enabled && control.interval > 0;
      if (runs != timers_running_[index]) {
        const auto timer = static_cast<UINT_PTR>(kFirstControlIdentifier + id);
        if (runs) {
          SetTimer(dialog_, timer, static_cast<UINT>(control.interval), nullptr);
        } else {
          KillTimer(dialog_, timer);
        }
        timers_running_[index] = runs;
      }
      break;
    }
    case Kind::kUpDown:
      break;
  }
}

void FormWindow::ApplyStructure() {
  if (actions_.ended() || dialog_ == nullptr) return;
  const Raised applying(applying_);
  const std::vector<ControlId> stops = form_.TabStops();
  for (ControlId id = 0; id < form_.size(); ++id) {
    HWND hwnd = windows_[static_cast<std::size_t>(id)];
    if (hwnd == nullptr) continue;
    const forms::Control& control = form_.at(id);
    if ((IsWindowEnabled(hwnd) != FALSE) != control.enabled) EnableWindow(hwnd, control.enabled);
    const LONG_PTR style = GetWindowLongPtrA(hwnd, GWL_STYLE);
    const bool stop = std::find(stops.begin(), stops.end(), id) != stops.end();
    if (((style & WS_TABSTOP) != 0) != stop) {
      SetWindowLongPtrA(hwnd, GWL_STYLE, stop ? style | WS_TABSTOP : style & ~LONG_PTR{WS_TABSTOP});
    }
    const bool shown = Shown(form_, id) && !clipped_out_[static_cast<std::size_t>(id)];
    if (((style & WS_VISIBLE) != 0) != shown) ShowWindow(hwnd, shown ? SW_SHOWNA : SW_HIDE);
  }
}

void FormWindow::ApplyFocus() {
  if (actions_.ended() || dialog_ == nullptr) return;
  const ControlId focus = form_.focus();
  HWND target = focus == forms::kNoControl ? nullptr : windows_[static_cast<std::size_t>(focus)];
  if (target == nullptr || GetFocus() == target) return;
  // While a message box is up the dialog is disabled and takes no focus; when it is activated
  // again it gives the focus back to its control, and the operation's end shows the engine's.
  const Raised applying(applying_);
  SetFocus(target);
}

}  // namespace ketra::window::win32
