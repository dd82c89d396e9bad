// The controls of a form: their kinds, how a layout table describes one, and the state the
// engine keeps for each. Plain data; no behaviour.
#ifndef KETRA_PLATFORM_FORMS_CONTROL_H_
#define KETRA_PLATFORM_FORMS_CONTROL_H_

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ketra::forms {

enum class Kind {
  kForm,
  kTab,
  kFrame,
  kLabel,
  kTextBox,
  kOption,
  kComboBox,
  kButton,
  kImage,
  kTimer,
  kUpDown
};
// "form", "tab", "frame", "label", "textbox", "option", "combobox", "button", "image",
// "timer", "updown".
std::string_view KindName(Kind kind);
// Kinds a user can move the focus to: tab control, text box, option button, combo box, command
// button, up-down control. Forms, frames, labels, images and timers never take it.
bool TakesFocus(Kind kind);
// Kinds whose text is a caption: the form, frames, labels, command and option buttons.
bool HasCaption(Kind kind);

enum class Picture { kNone, kGreen, kRed, kGrey };
// "", "green", "red", "grey".
std::string_view PictureName(Picture picture);

enum class Notification {
  kLoad,
  kClick,
  kChange,
  kGotFocus,
  kLostFocus,
  kTimer,
  kUpClick,
  kDownClick
};

// One control as a layout table describes it. Geometry in twips from the top left corner of the
// container. Texts are Windows-1252.
struct ControlSpec {
  std::string_view name;
  Kind kind = Kind::kLabel;
  std::string_view container;  // "" for the form's own row
  int tab_page = -1;           // a direct child of a tab control: the page it fills
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int tab_index = -1;        // -1 for none (images, timers, the form)
  std::string_view caption;  // caption, or a text box's default text
  int max_length = 0;        // text boxes; 0 for no limit
  bool visible = true;
  bool enabled = true;
  bool value = false;  // option buttons: selected at start
  Picture picture = Picture::kNone;
  int interval = 0;                             // timers, in milliseconds
  bool centred = false;                         // labels whose text is centred
  std::span<const std::string_view> tabs = {};  // tab controls: the captions of the pages
  // The label whose caption names this control to assistive tools (a text box, the combo box,
  // an image, the up-down control); "" for none.
  std::string_view named_by;
  std::string_view tip;  // a help text the window shows when the pointer rests on the control
};

// What the engine holds for one control at run time.
struct Control {
  std::string name;
  Kind kind = Kind::kLabel;
  int container = -1;  // index of the container; -1 for the form
  int tab_page = -1;
  int left = 0;
  int top = 0;
  int width = 0;
  int height = 0;
  int tab_index = -1;
  std::string caption;
  std::string text;  // text boxes and the combo box
  int max_length = 0;
  bool visible = true;
  bool enabled = true;
  bool value = false;
  std::vector<std::string> items;  // combo box entries
  int list_index = -1;             // selected entry; -1 for none
  int sel_start = 0;
  int sel_length = 0;
  Picture picture = Picture::kNone;
  int interval = 0;
  bool centred = false;
  std::vector<std::string> tabs;  // tab control: page captions
  int tab_shown = 0;              // tab control: the page shown
  int named_by = -1;              // the label that names the control; -1 for none
  std::string tip;
};

}  // namespace ketra::forms

#endif  // KETRA_PLATFORM_FORMS_CONTROL_H_
