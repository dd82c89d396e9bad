#include "window/win32/native_controls.h"

#include <commctrl.h>

#include <string>

namespace ketra::window::win32 {
namespace {

using forms::Kind;

struct WindowKind {
  const char* class_name;
  DWORD style;
  DWORD ex_style;
};

WindowKind KindOf(const forms::Control& control) {
  switch (control.kind) {
    case Kind::kTab:
      // Under everything on its pages: it must not paint over them.
      return {WC_TABCONTROLA, WS_CLIPSIBLINGS, 0};
    case Kind::kFrame:
      return {"BUTTON", BS_GROUPBOX | WS_CLIPSIBLINGS, 0};
    case Kind::kLabel:
      return {"STATIC", static_cast<DWORD>(control.centred ? SS_CENTER : SS_LEFT), 0};
    case Kind::kTextBox:
      return {"EDIT", ES_LEFT | ES_AUTOHSCROLL, WS_EX_CLIENTEDGE};
    case Kind::kOption:
      return {"BUTTON", BS_AUTORADIOBUTTON, 0};
    case Kind::kComboBox:
      return {"COMBOBOX", CBS_DROPDOWNLIST | WS_VSCROLL, 0};
    case Kind::kButton:
      return {"BUTTON", BS_PUSHBUTTON, 0};
    case Kind::kImage:
      return {"STATIC", SS_BITMAP, 0};
    case Kind::kUpDown:
      return {UPDOWN_CLASSA, UDS_ARROWKEYS, 0};
    case Kind::kForm:
    case Kind::kTimer:
      break;
  }
  return {nullptr, 0, 0};
}

// Room for the drop-down list below the box: eight entries.
constexpr int kListEntries = 8;

}  // namespace

HWND CreateNativeControl(const forms::Form& form, forms::ControlId id, HWND dialog,
                         const PixelRect& rect, bool starts_group, HFONT font) {
  const forms::Control& control = form.at(id);
  const WindowKind kind = KindOf(control);
  if (kind.class_name == nullptr) return nullptr;
  // The up-down control shows no text: its window text is its label's, for assistive tools.
  std::string text = forms::HasCaption(control.kind) ? control.caption : std::string();
  if (control.kind == Kind::kUpDown && control.named_by != forms::kNoControl) {
    text = form.at(control.named_by).caption;
  }
  int height = rect.height();
  if (control.kind == Kind::kComboBox) height += kListEntries * rect.height();
  const DWORD style = WS_CHILD | kind.style | (starts_group ? WS_GROUP : 0);
  HWND hwnd = CreateWindowExA(
      kind.ex_style, kind.class_name, text.c_str(), style, rect.left, rect.top, rect.width(),
      height, dialog, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kFirstControlIdentifier + id)),
      reinterpret_cast<HINSTANCE>(GetWindowLongPtrA(dialog, GWLP_HINSTANCE)), nullptr);
  if (hwnd == nullptr) return nullptr;
  SendMessageA(hwnd, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  switch (control.kind) {
    case Kind::kTab:
      for (std::size_t page = 0; page < control.tabs.size(); ++page) {
        TCITEMA item{};
        item.mask = TCIF_TEXT;
        std::string caption = control.tabs[page];
        item.pszText = caption.data();
        SendMessageA(hwnd, TCM_INSERTITEMA, page, reinterpret_cast<LPARAM>(&item));
      }
      break;
    case Kind::kUpDown:
      // Its own value is read by no logic: it stays in the middle of a small range, so that
      // both arrows always step (the window refuses every change of the position).
      SendMessageA(hwnd, UDM_SETRANGE32, 0, 2);
      SendMessageA(hwnd, UDM_SETPOS32, 0, 1);
      break;
    default:
      break;
  }
  return hwnd;
}

}  // namespace ketra::window::win32
