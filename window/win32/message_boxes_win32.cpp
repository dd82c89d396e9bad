#include "window/win32/message_boxes_win32.h"

#include <string>

namespace ketra::window::win32 {

UINT MessageBoxFlags(forms::MsgBoxStyle style) {
  switch (style) {
    case forms::MsgBoxStyle::kPlain:
      return MB_OK;
    case forms::MsgBoxStyle::kInformation:
      return MB_OK | MB_ICONINFORMATION;
    case forms::MsgBoxStyle::kExclamation:
      return MB_OK | MB_ICONEXCLAMATION;
    case forms::MsgBoxStyle::kCritical:
      return MB_OK | MB_ICONHAND;
  }
  return MB_OK;
}

void Win32MessageBoxes::Show(std::string_view text, forms::MsgBoxStyle style) {
  // The program's texts are in the ANSI code page already. The title stays empty: the boxes
  // carry no title of the program's own. Without an owner the box is task-modal, so that the
  // user answers it before anything else of the program.
  const std::string message(text);
  const UINT owner_flags = owner_ != nullptr ? MB_APPLMODAL : MB_TASKMODAL;
  MessageBoxA(owner_, message.c_str(), "", MessageBoxFlags(style) | owner_flags | MB_SETFOREGROUND);
}

}  // namespace ketra::window::win32
