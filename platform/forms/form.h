// A headless form engine: one form of controls built from a layout table, with the rules the
// program relies on.
//  - Option buttons in one container exclude each other. Setting an unselected option raises its
//    Click; setting the selected one raises nothing.
//  - Assigning a combo box the text of one of its entries selects it and raises Click; any other
//    text leaves no entry selected, stands as its text and raises nothing.
//  - Assigning a text box a text raises Change only if the text differs. The caret goes to 0
//    with nothing selected.
//  - Setting entry r of a list of r entries adds the entry.
//  - A disabled frame takes everything in it out of reach of user actions.
//  - A notification raised by an assignment runs inside the assignment, before it returns.
// User actions (Click, Choose, Type, ...) first check that a user can reach the control and
// perform nothing when not, returning why. Program assignments are never refused.
// Unload and the end of the program throw ProgramEnded.
//
// Single-threaded: the form, its handlers and its observer all run on the caller's thread.
#ifndef KETRA_PLATFORM_FORMS_FORM_H_
#define KETRA_PLATFORM_FORMS_FORM_H_

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/forms/control.h"
#include "platform/forms/services.h"

namespace ketra::forms {

using ControlId = int;
inline constexpr ControlId kNoControl = -1;

enum class Refusal { kNone, kHidden, kDisabled, kDisabledContainer, kPageNotShown };
// "", "hidden", "disabled", "disabled container", "page not shown".
std::string_view RefusalName(Refusal refusal);

// The keys a user presses on the control that has the focus, besides Tab and typing.
enum class Key { kUp, kDown, kLeft, kRight, kSpace, kHome, kEnd };

class Form {
 public:
  using Handler = std::function<void()>;
  // Called after any property of a control changed, focus and page included.
  using Observer = std::function<void(ControlId)>;

  // `layout` lists the form's own row first and every container before what it holds.
  // The services must outlive the form.
  Form(std::span<const ControlSpec> layout, MessageBoxService& boxes);

  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  // Look-up. Id throws std::out_of_range for an unknown name; Find gives kNoControl.
  ControlId Find(std::string_view name) const;
  ControlId Id(std::string_view name) const;
  const Control& at(ControlId id) const { return controls_.at(static_cast<size_t>(id)); }
  const Control& at(std::string_view name) const { return at(Id(name)); }
  int size() const { return static_cast<int>(controls_.size()); }

  void On(std::string_view name, Notification notification, Handler handler);
  void SetObserver(Observer observer) { observer_ = std::move(observer); }

  // --- The program's assignments. ---
  void SetText(ControlId id, std::string_view text);
  void SetValue(ControlId id, bool value);
  void SetEnabled(ControlId id, bool enabled);
  void SetVisible(ControlId id, bool visible);
  void SetListItem(ControlId id, int index, std::string_view text);
  void SetSelStart(ControlId id, int sel_start);
  void SetSelLength(ControlId id, int sel_length);
  void SetPicture(ControlId id, Picture picture);
  void MsgBox(std::string_view text, MsgBoxStyle style) { boxes_.Show(text, style); }

  // Raises the form's Load, then shows the form: the focus goes to the first control in tab
  // order that can take it. Throws ProgramEnded when Load unloads the form.
  void Start();
  // Unloads the form; the program ends. Throws ProgramEnded.
  [[noreturn]] void Unload();
  bool unloaded() const { return unloaded_; }

  // --- User actions. A control out of reach: nothing happens and the reason comes back.
  // An action that does not apply to the control's kind (typing into a button, choosing an entry
  // the list lacks) throws std::invalid_argument.
  Refusal Reach(ControlId id) const;
  bool CanTakeFocus(ControlId id) const;  // a kind that takes focus, and in reach
  Refusal Focus(ControlId id);
  Refusal Click(ControlId id);                           // command and option buttons
  Refusal Choose(ControlId id, std::string_view entry);  // combo box; raises Click even when
                                                         // the entry is already selected
  Refusal Type(ControlId id, std::string_view text);     // one Change per keystroke that changes
  Refusal Paste(ControlId id, std::string_view text);    // one Change
  Refusal Backspace(ControlId id);
  void Tab();      // focus to the next control in tab order, wrapping
  void BackTab();  // focus to the previous control in tab order, wrapping
  // A key pressed on a control, which takes the focus first as with typing:
  //  - option button: Up/Left and Down/Right move the focus to the previous or next option of
  //    its group that is in reach, in tab order and wrapping, and select it (raising Click when
  //    it was not selected); Space selects the option itself.
  //  - combo box: Up/Left and Down/Right choose the entry before or after the selected one,
  //    Home and End the first and the last (with none selected, any of them chooses the first,
  //    End the last); a choice raises Click, a key at the end of the list does nothing.
  //  - tab control: Left/Up and Right/Down show the page before or after the one shown, Home and
  //    End the first and the last.
  //  - text box: Left/Up and Right/Down move the caret one character (a selection collapses to
  //    its start or end), Home and End to the start or end of the text; Space types a blank.
  //  - command button: Space clicks it.
  //  - up-down control: Up and Down click its arrows.
  // Any other key on any control does nothing. Throws std::invalid_argument for a kind that
  // cannot take the focus.
  Refusal Press(ControlId id, Key key);
  void ShowPage(int page);     // the user shows a page of the tab control
  void Tick(ControlId timer);  // the timer elapses once (if enabled)
  Refusal UpClick(ControlId updown);
  Refusal DownClick(ControlId updown);
  [[noreturn]] void Close();  // the user closes the window: unloads the form

  ControlId focus() const { return focus_; }
  // The controls Tab visits, in rising TabIndex: those that can take the focus, an option group
  // standing as one stop (its selected option, or its first when none is). A native window
  // marks these as its dialog manager's tab stops.
  std::vector<ControlId> TabStops() const;
  int page() const;  // the page shown of the form's tab control, 0 if it has none

 private:
  void Raise(ControlId id, Notification notification);
  void Changed(ControlId id);
  void MoveFocus(ControlId id);

  Control& Mutable(ControlId id) { return controls_.at(static_cast<size_t>(id)); }
  // Throws std::invalid_argument unless the control is of the kind.
  void Require(ControlId id, Kind kind, std::string_view action) const;
  // Whether the control fills a page of a tab control that another page hides.
  bool OnHiddenPage(const Control& control) const;
  // The stop `step` places before (-1) or after (+1) the focus in tab order, wrapping.
  ControlId NextStop(int step) const;
  // The options of `option`'s group that are in reach, in tab order.
  std::vector<ControlId> GroupOf(ControlId option) const;
  void PressOption(ControlId id, Key key);
  void PressComboBox(ControlId id, Key key);
  void PressTab(ControlId id, Key key);
  void PressTextBox(ControlId id, Key key);
  ControlId TabControl() const;  // the first tab control, or kNoControl
  // Selects an entry of a combo box and raises its Click.
  void SelectEntry(ControlId id, int index);
  // A user's edit of a text box: the new text and caret, then Change if the text differs.
  void Edit(ControlId id, std::string text, int caret);
  // Reach and kind of a box the user edits, then the focus if it lacks it.
  Refusal PrepareEdit(ControlId id, std::string_view action);

  std::vector<Control> controls_;
  std::map<std::string, ControlId, std::less<>> by_upper_name_;
  std::map<std::pair<ControlId, Notification>, Handler> handlers_;
  MessageBoxService& boxes_;
  Observer observer_;
  ControlId focus_ = kNoControl;
  bool unloaded_ = false;
};

// The name assistive tools give control `id`: the caption of the label that names it, without
// its access-key mark; the text boxes one label names are the parts of one value, "LABEL part N"
// in the order of the layout; a picture's name says what it shows, "LABEL: green". Empty for a
// control without a label. The Qt and the Win32 window give the same names.
std::string LabelName(const Form& form, ControlId id);

}  // namespace ketra::forms

#endif  // KETRA_PLATFORM_FORMS_FORM_H_
