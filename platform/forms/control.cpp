// Names of the control kinds and pictures as the session's dumps print them, and what each kind
// of control can do.
#include "platform/forms/control.h"

namespace ketra::forms {

std::string_view KindName(Kind kind) {
  switch (kind) {
    case Kind::kForm:
      return "form";
    case Kind::kTab:
      return "tab";
    case Kind::kFrame:
      return "frame";
    case Kind::kLabel:
      return "label";
    case Kind::kTextBox:
      return "textbox";
    case Kind::kOption:
      return "option";
    case Kind::kComboBox:
      return "combobox";
    case Kind::kButton:
      return "button";
    case Kind::kImage:
      return "image";
    case Kind::kTimer:
      return "timer";
    case Kind::kUpDown:
      return "updown";
  }
  return "";
}

bool TakesFocus(Kind kind) {
  switch (kind) {
    case Kind::kTab:
    case Kind::kTextBox:
    case Kind::kOption:
    case Kind::kComboBox:
    case Kind::kButton:
    case Kind::kUpDown:
      return true;
    default:
      return false;
  }
}

bool HasCaption(Kind kind) {
  switch (kind) {
    case Kind::kForm:
    case Kind::kFrame:
    case Kind::kLabel:
    case Kind::kButton:
    case Kind::kOption:
      return true;
    default:
      return false;
  }
}

std::string_view PictureName(Picture picture) {
  switch (picture) {
    case Picture::kNone:
      return "";
    case Picture::kGreen:
      return "green";
    case Picture::kRed:
      return "red";
    case Picture::kGrey:
      return "grey";
  }
  return "";
}

}  // namespace ketra::forms
