// The program's message boxes as the platform's own: MessageBoxA, modal to the window once it
// exists, with an OK button, the style's icon and no title of the program's own.
#ifndef KETRA_WINDOW_WIN32_MESSAGE_BOXES_WIN32_H_
#define KETRA_WINDOW_WIN32_MESSAGE_BOXES_WIN32_H_

#include <windows.h>

#include "platform/forms/services.h"

namespace ketra::window::win32 {

// MB_OK with MB_ICONINFORMATION, MB_ICONEXCLAMATION, MB_ICONHAND or no icon.
UINT MessageBoxFlags(forms::MsgBoxStyle style);

class Win32MessageBoxes final : public forms::MessageBoxService {
 public:
  // Boxes shown before the window exists (during the load) have no owner.
  void SetOwner(HWND owner) { owner_ = owner; }
  void Show(std::string_view text, forms::MsgBoxStyle style) override;

 private:
  HWND owner_ = nullptr;
};

}  // namespace ketra::window::win32

#endif  // KETRA_WINDOW_WIN32_MESSAGE_BOXES_WIN32_H_
