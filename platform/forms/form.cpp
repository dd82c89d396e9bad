// The headless form engine. Every rule the program relies on lives here, so that the session
// and the window, which both drive a Form, behave alike.
#include "platform/forms/form.h"
#include "platform/runtime/strings.h"

#include <algorithm>
#include <stdexcept>

namespace ketra::forms {
namespace {

// The selection of a box held in range of its text, whatever the program assigned.
struct Selection {
  size_t start;
  size_t length;
};

Selection SelectionOf(const Control& box) {
  const size_t size = box.text.size();
  const size_t start = std::min(static_cast<size_t>(std::max(box.sel_start, 0)), size);
  const size_t length = std::min(static_cast<size_t>(std::max(box.sel_length, 0)), size - start);
  return {start, length};
}

}  // namespace

Form::Form(std::span<const ControlSpec> layout, MessageBoxService& boxes) : boxes_(boxes) {
  if (layout.empty() || layout.front().kind != Kind::kForm) {
    throw std::invalid_argument("a layout begins with the form's own row");
  }
  controls_.reserve(layout.size());
  for (const ControlSpec& spec : layout) {
    Control control;
    control.name = spec.name;
    control.kind = spec.kind;
    if (!controls_.empty()) {
      if (spec.kind == Kind::kForm) throw std::invalid_argument("a layout has one form row");
      control.container = Find(spec.container);
      if (control.container == kNoControl) {
        throw std::invalid_argument("container " + std::string(spec.container) + " of " +
                                    std::string(spec.name) + " is not laid out before it");
      }
    }
    if (spec.tab_page >= 0) {
      const bool on_tab =
          control.container != kNoControl && at(control.container).kind == Kind::kTab;
      if (!on_tab || spec.tab_page >= static_cast<int>(at(control.container).tabs.size())) {
        throw std::invalid_argument(std::string(spec.name) + " fills no page of a tab control");
      }
    }
    control.tab_page = spec.tab_page;
    control.left = spec.left;
    control.top = spec.top;
    control.width = spec.width;
    control.height = spec.height;
    control.tab_index = spec.tab_index;
    control.caption = spec.caption;
    if (spec.kind == Kind::kTextBox || spec.kind == Kind::kComboBox) control.text = spec.caption;
    control.max_length = spec.max_length;
    control.visible = spec.visible;
    control.enabled = spec.enabled;
    control.value = spec.value;
    control.picture = spec.picture;
    control.interval = spec.interval;
    control.centred = spec.centred;
    control.tabs.assign(spec.tabs.begin(), spec.tabs.end());
    control.tip = spec.tip;
    if (!spec.named_by.empty()) {
      control.named_by = Find(spec.named_by);
      if (control.named_by == kNoControl) {
        throw std::invalid_argument("label " + std::string(spec.named_by) + " naming " +
                                    std::string(spec.name) + " is not laid out before it");
      }
    }
    const auto [where, fresh] = by_upper_name_.emplace(runtime::AsciiUpper(spec.name),
                                                       static_cast<ControlId>(controls_.size()));
    if (!fresh) throw std::invalid_argument("two controls are named " + std::string(spec.name));
    controls_.push_back(std::move(control));
  }
}

ControlId Form::Find(std::string_view name) const {
  const auto it = by_upper_name_.find(runtime::AsciiUpper(name));
  return it == by_upper_name_.end() ? kNoControl : it->second;
}

ControlId Form::Id(std::string_view name) const {
  const ControlId id = Find(name);
  if (id == kNoControl) throw std::out_of_range("unknown control " + std::string(name));
  return id;
}

void Form::On(std::string_view name, Notification notification, Handler handler) {
  handlers_[{Id(name), notification}] = std::move(handler);
}

void Form::Raise(ControlId id, Notification notification) {
  const auto it = handlers_.find({id, notification});
  if (it == handlers_.end()) return;
  // A copy: the handler may replace itself while it runs.
  const Handler handler = it->second;
  handler();
}

void Form::Changed(ControlId id) {
  if (observer_) observer_(id);
}

void Form::Require(ControlId id, Kind kind, std::string_view action) const {
  if (at(id).kind != kind) {
    throw std::invalid_argument(std::string(action) + " does not apply to " + at(id).name);
  }
}

// --- The program's assignments. ---

void Form::SetText(ControlId id, std::string_view text) {
  Control& control = Mutable(id);
  switch (control.kind) {
    case Kind::kTextBox: {
      const bool differs = control.text != text;
      const bool caret_moves = control.sel_start != 0 || control.sel_length != 0;
      control.text = text;
      control.sel_start = 0;
      control.sel_length = 0;
      if (differs || caret_moves) Changed(id);
      if (differs) Raise(id, Notification::kChange);
      return;
    }
    case Kind::kComboBox: {
      const auto entry = std::find(control.items.begin(), control.items.end(), text);
      if (entry != control.items.end()) {
        SelectEntry(id, static_cast<int>(entry - control.items.begin()));
        return;
      }
      if (control.list_index == -1 && control.text == text) return;
      control.list_index = -1;
      control.text = text;
      Changed(id);
      return;
    }
    default:
      if (!HasCaption(control.kind)) {
        throw std::invalid_argument(control.name + " has no text");
      }
      if (control.caption != text) {
        control.caption = text;
        Changed(id);
      }
      return;
  }
}

void Form::SelectEntry(ControlId id, int index) {
  Control& box = Mutable(id);
  box.list_index = index;
  box.text = box.items.at(static_cast<size_t>(index));
  Changed(id);
  Raise(id, Notification::kClick);
}

void Form::SetValue(ControlId id, bool value) {
  Require(id, Kind::kOption, "a value");
  Control& option = Mutable(id);
  if (!value) {
    if (option.value) {
      option.value = false;
      Changed(id);
    }
    return;
  }
  if (option.value) return;
  for (ControlId other = 0; other < size(); ++other) {
    Control& sibling = Mutable(other);
    if (other != id && sibling.kind == Kind::kOption && sibling.container == option.container &&
        sibling.value) {
      sibling.value = false;
      Changed(other);
    }
  }
  option.value = true;
  Changed(id);
  Raise(id, Notification::kClick);
}

void Form::SetEnabled(ControlId id, bool enabled) {
  Control& control = Mutable(id);
  if (control.enabled == enabled) return;
  control.enabled = enabled;
  Changed(id);
}

void Form::SetVisible(ControlId id, bool visible) {
  Control& control = Mutable(id);
  if (control.visible == visible) return;
  control.visible = visible;
  Changed(id);
}

void Form::SetListItem(ControlId id, int index, std::string_view text) {
  Require(id, Kind::kComboBox, "a list entry");
  Control& box = Mutable(id);
  if (index < 0 || index > static_cast<int>(box.items.size())) {
    throw std::out_of_range("entry " + std::to_string(index) + " of " + box.name);
  }
  if (index == static_cast<int>(box.items.size())) {
    box.items.emplace_back(text);
  } else {
    box.items[static_cast<size_t>(index)] = text;
    if (index == box.list_index) box.text = text;
  }
  Changed(id);
}

void Form::SetSelStart(ControlId id, int sel_start) {
  Require(id, Kind::kTextBox, "a caret");
  if (sel_start < 0) throw std::invalid_argument("a negative caret position");
  Control& box = Mutable(id);
  const int start = std::min(sel_start, static_cast<int>(box.text.size()));
  if (box.sel_start == start && box.sel_length == 0) return;
  box.sel_start = start;
  box.sel_length = 0;
  Changed(id);
}

void Form::SetSelLength(ControlId id, int sel_length) {
  Require(id, Kind::kTextBox, "a selection");
  if (sel_length < 0) throw std::invalid_argument("a negative selection length");
  Control& box = Mutable(id);
  const int length =
      std::max(0, std::min(sel_length, static_cast<int>(box.text.size()) - box.sel_start));
  if (box.sel_length == length) return;
  box.sel_length = length;
  Changed(id);
}

void Form::SetPicture(ControlId id, Picture picture) {
  Require(id, Kind::kImage, "a picture");
  Control& image = Mutable(id);
  if (image.picture == picture) return;
  image.picture = picture;
  Changed(id);
}

// --- Life of the form. ---

void Form::Start() {
  Raise(0, Notification::kLoad);
  if (unloaded_) throw ProgramEnded{};
  const std::vector<ControlId> stops = TabStops();
  if (!stops.empty()) MoveFocus(stops.front());
}

void Form::Unload() {
  unloaded_ = true;
  throw ProgramEnded{};
}

void Form::Close() { Unload(); }

// --- Reach and focus. ---

bool Form::OnHiddenPage(const Control& control) const {
  if (control.tab_page < 0 || control.container == kNoControl) return false;
  const Control& tab = at(control.container);
  return tab.kind == Kind::kTab && tab.tab_shown != control.tab_page;
}

Refusal Form::Reach(ControlId id) const {
  const Control& control = at(id);
  if (!control.visible) return Refusal::kHidden;
  if (!control.enabled) return Refusal::kDisabled;
  if (OnHiddenPage(control)) return Refusal::kPageNotShown;
  for (ControlId outer = control.container; outer != kNoControl; outer = at(outer).container) {
    const Control& container = at(outer);
    if (!container.enabled) return Refusal::kDisabledContainer;
    if (!container.visible) return Refusal::kHidden;
    if (OnHiddenPage(container)) return Refusal::kPageNotShown;
  }
  return Refusal::kNone;
}

bool Form::CanTakeFocus(ControlId id) const {
  return TakesFocus(at(id).kind) && Reach(id) == Refusal::kNone;
}

std::vector<ControlId> Form::TabStops() const {
  // An option group is one stop: its selected option, or its first one when none is.
  std::map<ControlId, ControlId> group_stop;  // container -> option
  for (ControlId id = 0; id < size(); ++id) {
    const Control& option = at(id);
    if (option.kind != Kind::kOption) continue;
    const auto [it, fresh] = group_stop.emplace(option.container, id);
    if (fresh) continue;
    const Control& held = at(it->second);
    if (option.value ? !held.value || option.tab_index < held.tab_index
                     : !held.value && option.tab_index < held.tab_index) {
      it->second = id;
    }
  }
  std::vector<ControlId> stops;
  for (ControlId id = 0; id < size(); ++id) {
    const Control& control = at(id);
    if (control.tab_index < 0 || !CanTakeFocus(id)) continue;
    if (control.kind == Kind::kOption && group_stop.at(control.container) != id) continue;
    stops.push_back(id);
  }
  std::stable_sort(stops.begin(), stops.end(),
                   [this](ControlId a, ControlId b) { return at(a).tab_index < at(b).tab_index; });
  return stops;
}

ControlId Form::TabControl() const {
  for (ControlId id = 0; id < size(); ++id) {
    if (at(id).kind == Kind::kTab) return id;
  }
  return kNoControl;
}

int Form::page() const {
  const ControlId tab = TabControl();
  return tab == kNoControl ? 0 : at(tab).tab_shown;
}

void Form::MoveFocus(ControlId id) {
  if (focus_ == id) return;
  const ControlId old = focus_;
  // The focus has moved by the time LostFocus runs, as on the platform.
  focus_ = id;
  if (old != kNoControl) Changed(old);
  Changed(id);
  if (old != kNoControl) Raise(old, Notification::kLostFocus);
  // A LostFocus handler that sent the focus elsewhere has the last word.
  if (focus_ == id) Raise(id, Notification::kGotFocus);
}

// --- User actions. ---

Refusal Form::Focus(ControlId id) {
  if (!TakesFocus(at(id).kind)) {
    throw std::invalid_argument(at(id).name + " cannot take the focus");
  }
  if (const Refusal refusal = Reach(id); refusal != Refusal::kNone) return refusal;
  MoveFocus(id);
  return Refusal::kNone;
}

Refusal Form::Click(ControlId id) {
  const Kind kind = at(id).kind;
  if (kind != Kind::kButton && kind != Kind::kOption) {
    throw std::invalid_argument("a click does not apply to " + at(id).name);
  }
  if (const Refusal refusal = Reach(id); refusal != Refusal::kNone) return refusal;
  MoveFocus(id);
  if (kind == Kind::kButton) {
    Raise(id, Notification::kClick);
  } else if (!at(id).value) {
    SetValue(id, true);
  }
  return Refusal::kNone;
}

Refusal Form::Choose(ControlId id, std::string_view entry) {
  Require(id, Kind::kComboBox, "choosing an entry");
  const auto entry_index = [&] {
    const std::vector<std::string>& items = at(id).items;
    const auto it = std::find(items.begin(), items.end(), entry);
    return it == items.end() ? -1 : static_cast<int>(it - items.begin());
  };
  if (entry_index() < 0) {
    throw std::invalid_argument(at(id).name + " has no entry " + std::string(entry));
  }
  if (const Refusal refusal = Reach(id); refusal != Refusal::kNone) return refusal;
  MoveFocus(id);
  const int index = entry_index();
  if (index >= 0) SelectEntry(id, index);
  return Refusal::kNone;
}

Refusal Form::PrepareEdit(ControlId id, std::string_view action) {
  Require(id, Kind::kTextBox, action);
  if (const Refusal refusal = Reach(id); refusal != Refusal::kNone) return refusal;
  MoveFocus(id);
  return Refusal::kNone;
}

void Form::Edit(ControlId id, std::string text, int caret) {
  Control& box = Mutable(id);
  const bool differs = box.text != text;
  box.text = std::move(text);
  box.sel_start = caret;
  box.sel_length = 0;
  Changed(id);
  if (differs) Raise(id, Notification::kChange);
}

Refusal Form::Type(ControlId id, std::string_view text) {
  if (const Refusal refusal = PrepareEdit(id, "typing"); refusal != Refusal::kNone) {
    return refusal;
  }
  for (const char ch : text) {
    // A handler that took the box out of the user's hands stops the rest of the keystrokes.
    if (focus_ != id || Reach(id) != Refusal::kNone) break;
    const Control& box = at(id);
    const Selection selection = SelectionOf(box);
    std::string next = box.text;
    next.replace(selection.start, selection.length, 1, ch);
    if (box.max_length > 0 && next.size() > static_cast<size_t>(box.max_length)) continue;
    Edit(id, std::move(next), static_cast<int>(selection.start) + 1);
  }
  return Refusal::kNone;
}

Refusal Form::Paste(ControlId id, std::string_view text) {
  if (const Refusal refusal = PrepareEdit(id, "pasting"); refusal != Refusal::kNone) {
    return refusal;
  }
  const Control& box = at(id);
  const Selection selection = SelectionOf(box);
  std::string_view piece = text;
  if (box.max_length > 0) {
    const size_t kept = box.text.size() - selection.length;
    const size_t limit = static_cast<size_t>(box.max_length);
    piece = piece.substr(0, limit > kept ? limit - kept : 0);
  }
  std::string next = box.text;
  next.replace(selection.start, selection.length, piece);
  Edit(id, std::move(next), static_cast<int>(selection.start + piece.size()));
  return Refusal::kNone;
}

Refusal Form::Backspace(ControlId id) {
  if (const Refusal refusal = PrepareEdit(id, "backspace"); refusal != Refusal::kNone) {
    return refusal;
  }
  const Control& box = at(id);
  Selection selection = SelectionOf(box);
  if (selection.length == 0) {
    if (selection.start == 0) return Refusal::kNone;
    selection = {selection.start - 1, 1};
  }
  std::string next = box.text;
  next.erase(selection.start, selection.length);
  Edit(id, std::move(next), static_cast<int>(selection.start));
  return Refusal::kNone;
}

ControlId Form::NextStop(int step) const {
  const std::vector<ControlId> stops = TabStops();
  if (stops.empty()) return kNoControl;
  if (focus_ == kNoControl) return step > 0 ? stops.front() : stops.back();
  // The focus may stand on a control that is no stop (a hidden box, an option that is not its
  // group's stop): the step goes from its place in the order.
  const int current = at(focus_).tab_index;
  if (step > 0) {
    const auto later = std::find_if(stops.begin(), stops.end(),
                                    [&](ControlId id) { return at(id).tab_index > current; });
    return later != stops.end() ? *later : stops.front();
  }
  const auto earlier = std::find_if(stops.rbegin(), stops.rend(),
                                    [&](ControlId id) { return at(id).tab_index < current; });
  return earlier != stops.rend() ? *earlier : stops.back();
}

void Form::Tab() {
  const ControlId next = NextStop(+1);
  if (next != kNoControl) MoveFocus(next);
}

void Form::BackTab() {
  const ControlId previous = NextStop(-1);
  if (previous != kNoControl) MoveFocus(previous);
}

namespace {

// -1 for the keys that go back, +1 for those that go on, 0 for the others.
int StepOf(Key key) {
  switch (key) {
    case Key::kUp:
    case Key::kLeft:
      return -1;
    case Key::kDown:
    case Key::kRight:
      return 1;
    default:
      return 0;
  }
}

}  // namespace

Refusal Form::Press(ControlId id, Key key) {
  const Kind kind = at(id).kind;
  if (!TakesFocus(kind)) throw std::invalid_argument(at(id).name + " cannot take the focus");
  if (const Refusal refusal = Reach(id); refusal != Refusal::kNone) return refusal;
  MoveFocus(id);
  // A LostFocus or GotFocus handler may have sent the focus elsewhere: the key is then gone.
  if (focus_ != id || Reach(id) != Refusal::kNone) return Refusal::kNone;
  switch (kind) {
    case Kind::kOption:
      PressOption(id, key);
      break;
    case Kind::kComboBox:
      PressComboBox(id, key);
      break;
    case Kind::kTab:
      PressTab(id, key);
      break;
    case Kind::kTextBox:
      PressTextBox(id, key);
      break;
    case Kind::kButton:
      if (key == Key::kSpace) Raise(id, Notification::kClick);
      break;
    case Kind::kUpDown:
      if (key == Key::kUp) Raise(id, Notification::kUpClick);
      if (key == Key::kDown) Raise(id, Notification::kDownClick);
      break;
    default:
      break;
  }
  return Refusal::kNone;
}

std::vector<ControlId> Form::GroupOf(ControlId option) const {
  std::vector<ControlId> group;
  for (ControlId id = 0; id < size(); ++id) {
    const Control& other = at(id);
    if (other.kind == Kind::kOption && other.container == at(option).container &&
        Reach(id) == Refusal::kNone) {
      group.push_back(id);
    }
  }
  std::stable_sort(group.begin(), group.end(),
                   [this](ControlId a, ControlId b) { return at(a).tab_index < at(b).tab_index; });
  return group;
}

void Form::PressOption(ControlId id, Key key) {
  ControlId target = id;
  if (const int step = StepOf(key); step != 0) {
    const std::vector<ControlId> group = GroupOf(id);
    const auto at_id = std::find(group.begin(), group.end(), id);
    const auto count = static_cast<std::ptrdiff_t>(group.size());
    const std::ptrdiff_t next = ((at_id - group.begin()) + step + count) % count;
    target = group[static_cast<size_t>(next)];
    MoveFocus(target);
    if (focus_ != target) return;
  } else if (key != Key::kSpace) {
    return;
  }
  if (!at(target).value) SetValue(target, true);
}

void Form::PressComboBox(ControlId id, Key key) {
  const Control& box = at(id);
  const int last = static_cast<int>(box.items.size()) - 1;
  if (last < 0) return;
  int index = box.list_index;
  switch (key) {
    case Key::kHome:
      index = 0;
      break;
    case Key::kEnd:
      index = last;
      break;
    case Key::kSpace:
      return;
    default:
      index = box.list_index < 0 ? 0 : std::clamp(box.list_index + StepOf(key), 0, last);
      if (index == box.list_index) return;
      break;
  }
  SelectEntry(id, index);
}

void Form::PressTab(ControlId id, Key key) {
  const int last = static_cast<int>(at(id).tabs.size()) - 1;
  int page = at(id).tab_shown;
  if (key == Key::kHome) {
    page = 0;
  } else if (key == Key::kEnd) {
    page = last;
  } else {
    page = std::clamp(page + StepOf(key), 0, last);
  }
  if (page == at(id).tab_shown) return;
  Mutable(id).tab_shown = page;
  Changed(id);
}

void Form::PressTextBox(ControlId id, Key key) {
  if (key == Key::kSpace) {
    Type(id, " ");
    return;
  }
  const Control& box = at(id);
  const Selection selection = SelectionOf(box);
  const int size = static_cast<int>(box.text.size());
  const int start = static_cast<int>(selection.start);
  const int end = static_cast<int>(selection.start + selection.length);
  int caret = start;
  switch (key) {
    case Key::kHome:
      caret = 0;
      break;
    case Key::kEnd:
      caret = size;
      break;
    default: {
      const int step = StepOf(key);
      if (selection.length > 0) {
        caret = step < 0 ? start : end;
      } else {
        caret = std::clamp(start + step, 0, size);
      }
      break;
    }
  }
  SetSelStart(id, caret);
}

void Form::ShowPage(int page_number) {
  const ControlId tab = TabControl();
  if (tab == kNoControl) throw std::invalid_argument("the form has no tab control");
  if (page_number < 0 || page_number >= static_cast<int>(at(tab).tabs.size())) {
    throw std::invalid_argument("the tab control has no page " + std::to_string(page_number));
  }
  if (Reach(tab) != Refusal::kNone) return;
  MoveFocus(tab);
  Control& tabs = Mutable(tab);
  if (tabs.tab_shown != page_number) {
    tabs.tab_shown = page_number;
    Changed(tab);
  }
}

void Form::Tick(ControlId timer) {
  Require(timer, Kind::kTimer, "a tick");
  const Control& control = at(timer);
  if (control.enabled && control.interval > 0) Raise(timer, Notification::kTimer);
}

Refusal Form::UpClick(ControlId updown) {
  Require(updown, Kind::kUpDown, "an arrow click");
  if (const Refusal refusal = Reach(updown); refusal != Refusal::kNone) return refusal;
  Raise(updown, Notification::kUpClick);
  return Refusal::kNone;
}

Refusal Form::DownClick(ControlId updown) {
  Require(updown, Kind::kUpDown, "an arrow click");
  if (const Refusal refusal = Reach(updown); refusal != Refusal::kNone) return refusal;
  Raise(updown, Notification::kDownClick);
  return Refusal::kNone;
}

std::string LabelName(const Form& form, ControlId id) {
  const Control& control = form.at(id);
  if (control.named_by == kNoControl) return {};
  std::string name = form.at(control.named_by).caption;
  std::erase(name, '&');
  if (control.kind == Kind::kImage) return name + ": " + std::string(PictureName(control.picture));
  if (control.kind != Kind::kTextBox) return name;
  int part = 0;
  int parts = 0;
  for (ControlId other = 0; other < form.size(); ++other) {
    const Control& box = form.at(other);
    if (box.kind != Kind::kTextBox || box.named_by != control.named_by) continue;
    ++parts;
    if (other == id) part = parts;
  }
  return parts > 1 ? name + " part " + std::to_string(part) : name;
}

}  // namespace ketra::forms
