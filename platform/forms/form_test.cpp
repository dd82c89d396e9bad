#include "platform/forms/form.h"

#include "platform/forms/layout_row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace ketra::forms {
namespace {

constexpr std::string_view kPages[] = {"One", "Two"};

// Two pages; page One holds two option groups, a limited box, a free box, a combo box, a button,
// a hidden button, a disabled box and a label; page Two a box, an up-down, an image, timers.
constexpr ControlSpec kLayout[] = {
    LayoutRow("TestForm", Kind::kForm).Caption("Test"),
    LayoutRow("Tabs", Kind::kTab, "TestForm").Tab(0).Pages(kPages),
    LayoutRow("PageA", Kind::kFrame, "Tabs").Page(0).Tab(1),
    LayoutRow("PageB", Kind::kFrame, "Tabs").Page(1).Tab(2),
    LayoutRow("GroupA", Kind::kFrame, "PageA").Tab(3),
    LayoutRow("TxtA", Kind::kTextBox, "GroupA").Tab(4).Caption("12").Limit(4),
    LayoutRow("OptA1", Kind::kOption, "GroupA").Tab(5).Selected(),
    LayoutRow("OptA2", Kind::kOption, "GroupA").Tab(6),
    LayoutRow("GroupB", Kind::kFrame, "PageA").Tab(7),
    LayoutRow("OptB1", Kind::kOption, "GroupB").Tab(9),
    LayoutRow("OptB2", Kind::kOption, "GroupB").Tab(8),
    LayoutRow("OptB3", Kind::kOption, "GroupB").Tab(18),  // tab order B2, B1, B3
    LayoutRow("Combo", Kind::kComboBox, "PageA").Tab(10),
    LayoutRow("Btn", Kind::kButton, "PageA").Tab(11),
    LayoutRow("HiddenBtn", Kind::kButton, "PageA").Tab(12).Hidden(),
    LayoutRow("OffTxt", Kind::kTextBox, "PageA").Tab(13).Disabled(),
    LayoutRow("Lbl", Kind::kLabel, "PageA").Tab(14),
    LayoutRow("TxtFree", Kind::kTextBox, "PageA").Tab(15),
    LayoutRow("TxtB", Kind::kTextBox, "PageB").Tab(16),
    LayoutRow("Up", Kind::kUpDown, "PageB").Tab(17),
    LayoutRow("Img", Kind::kImage, "PageB").Shows(Picture::kGreen),
    LayoutRow("Clock", Kind::kTimer, "PageB").Every(1000),
    LayoutRow("Still", Kind::kTimer, "PageB"),
};

// Leaves "box(TEXT)" in the trace.
class NoBoxes : public MessageBoxService {
 public:
  explicit NoBoxes(std::vector<std::string>& trace) : trace_(trace) {}
  void Show(std::string_view text, MsgBoxStyle) override {
    trace_.push_back("box(" + std::string(text) + ")");
  }

 private:
  std::vector<std::string>& trace_;
};

constexpr std::string_view kEvents[] = {"Load",      "Click", "Change",  "GotFocus",
                                        "LostFocus", "Timer", "UpClick", "DownClick"};

Key KeyNamed(std::string_view name) {
  constexpr std::pair<std::string_view, Key> kKeys[] = {
      {"Up", Key::kUp},       {"Down", Key::kDown}, {"Left", Key::kLeft}, {"Right", Key::kRight},
      {"Space", Key::kSpace}, {"Home", Key::kHome}, {"End", Key::kEnd}};
  for (const auto& [text, key] : kKeys) {
    if (text == name) return key;
  }
  throw std::logic_error("no key " + std::string(name));
}

// A form of kLayout driven by steps, "verb NAME ARG" with "; " between them:
//  user actions: click, focus, choose, type, paste, backspace, key, up, down (the up-down
//    arrows), tick, tab, backtab, page N;
//  the program's assignments: set (the text), select and clear (an option), enable, disable,
//    show, hide, item (adds a list entry), selstart, sellength, picture (red), box (a text box's
//    text and selection, "1[23]4" or "12|").
// Run gives the trace the steps left: every notification as "Name.Event" (a Change with the text
// the box held), a refused action as "!reason", an action that does not apply to the control as
// "!invalid"; "?NAME" adds the state of NAME, "?" the focus. The start and the end of the program
// are the sessions' to check.
class FormTest : public ::testing::Test {
 protected:
  FormTest() { Reset(); }

  void Reset() {
    form.emplace(kLayout, boxes);
    trace.clear();
    for (ControlId id = 0; id < form->size(); ++id) {
      for (int n = 0; n < static_cast<int>(std::size(kEvents)); ++n) {
        Record(form->at(id).name, static_cast<Notification>(n));
      }
    }
  }

  // Every notification leaves "Name.Event" in the trace, then runs `then` if given.
  void Record(const std::string& name, Notification notification, std::function<void()> then = {}) {
    form->On(name, notification, [this, name, notification, then] {
      std::string entry = name + "." + std::string(kEvents[static_cast<size_t>(notification)]);
      if (notification == Notification::kChange) entry += "(" + form->at(name).text + ")";
      trace.push_back(entry);
      if (then) then();
    });
  }

  std::string Run(std::string_view steps) {
    trace.clear();
    std::istringstream lines{std::string(steps)};
    for (std::string step; std::getline(lines, step, ';');) {
      std::istringstream words(step);
      std::string verb, name, arg;
      words >> verb >> name >> arg;
      if (verb.empty()) continue;
      try {
        if (const Refusal refusal = Do(verb, name, arg); refusal != Refusal::kNone) {
          trace.push_back("!" + std::string(RefusalName(refusal)));
        }
      } catch (const std::invalid_argument&) {
        trace.push_back("!invalid");
      }
    }
    std::string joined;
    for (const std::string& entry : trace) joined += (joined.empty() ? "" : " ") + entry;
    return joined;
  }

  std::string State(std::string_view name) const {
    if (name.empty())
      return "@" + (form->focus() == kNoControl ? "" : form->at(form->focus()).name);
    const Control& control = form->at(name);
    std::string state = std::string(name) + "=";
    switch (control.kind) {
      case Kind::kTextBox: {
        std::string text = control.text;
        const size_t start = std::min(static_cast<size_t>(control.sel_start), text.size());
        if (control.sel_length == 0) return state + text.insert(start, "|");
        text.insert(start + static_cast<size_t>(control.sel_length), "]");
        return state + text.insert(start, "[");
      }
      case Kind::kComboBox:
        return state + control.text + "#" + std::to_string(control.list_index);
      case Kind::kOption:
        return state + (control.value ? "on" : "off");
      case Kind::kTab:
        return state + std::to_string(control.tab_shown);
      default:
        return state + control.caption;
    }
  }

  std::vector<std::string> trace;
  NoBoxes boxes{trace};
  std::optional<Form> form;

 private:
  Refusal Do(const std::string& verb, const std::string& name, const std::string& arg) {
    if (verb.starts_with('?')) {
      trace.push_back(State(verb.substr(1)));
    } else if (verb == "tab") {
      form->Tab();
    } else if (verb == "backtab") {
      form->BackTab();
    } else if (verb == "page") {
      form->ShowPage(std::stoi(name));
    } else {
      return DoOn(verb, form->Id(name), arg);
    }
    return Refusal::kNone;
  }

  Refusal DoOn(const std::string& verb, ControlId id, const std::string& arg) {
    if (verb == "click") return form->Click(id);
    if (verb == "focus") return form->Focus(id);
    if (verb == "choose") return form->Choose(id, arg);
    if (verb == "type") return form->Type(id, arg);
    if (verb == "paste") return form->Paste(id, arg);
    if (verb == "backspace") return form->Backspace(id);
    if (verb == "key") return form->Press(id, KeyNamed(arg));
    if (verb == "up") return form->UpClick(id);
    if (verb == "down") return form->DownClick(id);
    if (verb == "tick") {
      form->Tick(id);
    } else if (verb == "set") {
      form->SetText(id, arg);
    } else if (verb == "select" || verb == "clear") {
      form->SetValue(id, verb == "select");
    } else if (verb == "enable" || verb == "disable") {
      form->SetEnabled(id, verb == "enable");
    } else if (verb == "show" || verb == "hide") {
      form->SetVisible(id, verb == "show");
    } else if (verb == "item") {
      form->SetListItem(id, static_cast<int>(form->at(id).items.size()), arg);
    } else if (verb == "selstart") {
      form->SetSelStart(id, std::stoi(arg));
    } else if (verb == "sellength") {
      form->SetSelLength(id, std::stoi(arg));
    } else if (verb == "picture") {
      form->SetPicture(id, Picture::kRed);
    } else if (verb == "box") {
      std::string text = arg;
      const size_t open = text.find_first_of("[|");
      const size_t close = text.find(']');
      text.erase(std::remove_if(text.begin(), text.end(),
                                [](char c) { return c == '[' || c == ']' || c == '|'; }),
                 text.end());
      form->SetText(id, text);
      form->SetSelStart(id, static_cast<int>(open));
      form->SetSelLength(id, close == std::string::npos ? 0 : static_cast<int>(close - open - 1));
    } else {
      throw std::logic_error("no step " + verb);
    }
    return Refusal::kNone;
  }
};

TEST(FormLayout, RefusesContainersLaidOutAfterTheirContents) {
  std::vector<std::string> trace;
  NoBoxes boxes(trace);
  const ControlSpec late[] = {LayoutRow("F", Kind::kForm),
                              LayoutRow("Box", Kind::kTextBox, "Frame"),
                              LayoutRow("Frame", Kind::kFrame, "F")};
  EXPECT_THROW(Form(late, boxes), std::invalid_argument);
  const ControlSpec twice[] = {LayoutRow("F", Kind::kForm), LayoutRow("A", Kind::kLabel, "F"),
                               LayoutRow("a", Kind::kLabel, "F")};
  EXPECT_THROW(Form(twice, boxes), std::invalid_argument);
  const ControlSpec no_form[] = {LayoutRow("A", Kind::kLabel)};
  EXPECT_THROW(Form(no_form, boxes), std::invalid_argument);
  const ControlSpec no_tab[] = {LayoutRow("F", Kind::kForm),
                                LayoutRow("P", Kind::kFrame, "F").Page(0)};
  EXPECT_THROW(Form(no_tab, boxes), std::invalid_argument);
}

// Each row on a fresh form: the steps and the trace they leave.
TEST_F(FormTest, StepsRaiseTheirNotificationsInOrder) {
  struct Case {
    std::string_view what;
    std::string_view steps;
    std::string_view trace;
  };
  const Case cases[] = {
      {"options of one container exclude each other; the selected one raises nothing",
       "select OptA2; ?OptA1; select OptA2; select OptB1; ?OptA2; clear OptA2; ?OptA1; ?OptA2; "
       "select TxtA",
       "OptA2.Click OptA1=off OptB1.Click OptA2=on OptA1=off OptA2=off !invalid"},
      {"a text assigned: Change only when it differs, the caret to 0, no limit",
       "box TxtA 1[2]; set TxtA 12; ?TxtA; set TxtA 123456; ?TxtA; set TxtA; set TxtA",
       "TxtA=|12 TxtA.Change(123456) TxtA=|123456 TxtA.Change()"},
      {"assigned selections stay inside the text; a new caret drops the selection",
       "selstart TxtA 9; ?TxtA; selstart TxtA 1; sellength TxtA 9; ?TxtA; selstart TxtA 0; ?TxtA; "
       "selstart TxtA -1; sellength Combo 1",
       "TxtA=12| TxtA=1[2] TxtA=|12 !invalid !invalid"},
      {"refused user actions perform nothing; the program's assignments go through",
       "disable GroupA; click OptA2; type TxtA 9; paste TxtA 9; backspace TxtA; focus TxtA; "
       "click HiddenBtn; up Up; down Up; item Combo COM3; disable Combo; choose Combo COM3; ?; "
       "?OptA2; ?TxtA; ?Combo; set TxtA 7; select OptA2",
       "!disabled container !disabled container !disabled container !disabled container "
       "!disabled container !hidden !page not shown !page not shown !disabled @ OptA2=off "
       "TxtA=|12 Combo=#-1 TxtA.Change(7) OptA2.Click"},
      {"actions that do not fit the kind",
       "item Combo COM3; click TxtA; click Combo; type Btn 1; paste Combo 1; backspace Lbl; "
       "choose TxtA COM3; choose Combo COM4; focus Lbl; key Lbl Space; tick Btn; up Btn; "
       "picture Lbl; set Img x; page 2",
       "!invalid !invalid !invalid !invalid !invalid !invalid !invalid !invalid !invalid !invalid "
       "!invalid !invalid !invalid !invalid"},
      {"a click moves the focus first; the selected option takes the focus only",
       "focus TxtA; click Btn; click Btn; click OptA2; ?OptA1; click OptA1; click OptA1",
       "TxtA.GotFocus TxtA.LostFocus Btn.GotFocus Btn.Click Btn.Click Btn.LostFocus OptA2.GotFocus "
       "OptA2.Click OptA1=off OptA2.LostFocus OptA1.GotFocus OptA1.Click"},
      {"choose focuses the box, then selects and clicks even the selected entry",
       "item Combo COM3; item Combo COM4; focus TxtA; choose Combo COM4; ?Combo; choose Combo COM4",
       "TxtA.GotFocus TxtA.LostFocus Combo.GotFocus Combo.Click Combo=COM4#1 Combo.Click"},
      // The walk of the real form's stops, both ways, is the tab order and keys sessions'.
      {"with no focus backtab goes to the last stop; a group with none selected stands by its "
       "first",
       "backtab; ?; focus OptA1; tab; ?",
       "TxtFree.GotFocus @TxtFree TxtFree.LostFocus OptA1.GotFocus OptA1.LostFocus OptB2.GotFocus "
       "@OptB2"},
      {"tab from an option that is not its group's stop goes on to the next stop",
       "click OptA2; focus OptA1; tab; ?",
       "OptA2.GotFocus OptA2.Click OptA2.LostFocus OptA1.GotFocus OptA1.LostFocus OptA2.GotFocus "
       "@OptA2"},
      {"a page shown moves the focus to the tab control, once",
       "focus TxtA; page 1; ?; ?Tabs; ?TxtA; page 1; focus TxtA",
       "TxtA.GotFocus TxtA.LostFocus Tabs.GotFocus @Tabs Tabs=1 TxtA=|12 !page not shown"},
      {"up-down arrows raise their notifications and leave the focus", "page 1; up Up; down Up; ?",
       "Tabs.GotFocus Up.UpClick Up.DownClick @Tabs"},
      {"timers tick on any page when enabled with an interval",
       "tick Clock; tick Still; disable Clock; tick Clock", "Clock.Timer"},
      // Keys on a list without a selection; on a box, the caret within the text; on the tab
      // control and the up-down control.
      {"list keys stay within the ends",
       "item Combo COM3; item Combo COM4; key Combo Up; ?Combo; key Combo Right; key Combo Down; "
       "?Combo; key Combo Home; ?Combo",
       "Combo.GotFocus Combo.Click Combo=COM3#0 Combo.Click Combo=COM4#1 Combo.Click Combo=COM3#0"},
      {"box keys move the caret; a selection collapses to its end",
       "key TxtA End; ?TxtA; key TxtA Right; ?TxtA; key TxtA Up; ?TxtA; box TxtA [12]; "
       "key TxtA Down; ?TxtA",
       "TxtA.GotFocus TxtA=12| TxtA=12| TxtA=1|2 TxtA=12|"},
      {"page keys stay within the ends; the up-down control takes Up and Down",
       "key Tabs End; ?Tabs; key Tabs Down; ?Tabs; key Up Up; key Up Down",
       "Tabs.GotFocus Tabs=1 Tabs=1 Tabs.LostFocus Up.GotFocus Up.UpClick Up.DownClick"},
      {"a disabled option is stepped over; an option out of reach refuses keys",
       "disable OptA2; key OptA1 Down; ?; key OptA2 Space", "OptA1.GotFocus @OptA1 !disabled"},
  };
  for (const Case& c : cases) {
    Reset();
    EXPECT_EQ(Run(c.steps), c.trace) << c.what;
  }
}

TEST_F(FormTest, KeysActOnTheControlByItsKind) {
  struct Case {
    std::string_view focus;
    std::string_view steps;
    std::string_view trace;
  };
  // Before each case: OptA1 and OptB2 selected (OptB2, OptB1, OptB3 in tab order), Combo holding
  // COM3 and COM4 with COM3 selected, TxtA "12" with the caret at 1, the focus on `focus`.
  const Case cases[] = {
      // Option groups: arrows move to the neighbour in tab order, and select it.
      {"OptA1", "key OptA1 Right; ?", "OptA1.LostFocus OptA2.GotFocus OptA2.Click @OptA2"},
      {"OptB2", "key OptB2 Down; ?", "OptB2.LostFocus OptB1.GotFocus OptB1.Click @OptB1"},
      {"OptB1", "key OptB1 Left; ?", "OptB1.LostFocus OptB2.GotFocus @OptB2"},  // selected already
      {"OptA2", "key OptA2 Space; ?OptA1", "OptA2.Click OptA1=off"},
      {"OptA1", "key OptA1 Home; ?", "@OptA1"},
      // The list steps without wrapping (as the steps' list row shows); each choice is a Click.
      {"Combo", "key Combo End; ?Combo", "Combo.Click Combo=COM4#1"},
      {"Combo", "key Combo Space", ""},
      // A button takes Space only; a key on a control without the focus takes it first.
      {"Btn", "key Btn Down", ""},
      {"Btn", "key TxtA Space; ?TxtA", "Btn.LostFocus TxtA.GotFocus TxtA.Change(1 2) TxtA=1 |2"},
  };
  for (const Case& c : cases) {
    Reset();
    Run("item Combo COM3; item Combo COM4; set Combo COM3; select OptB2; box TxtA 1|2; focus " +
        std::string(c.focus));
    EXPECT_EQ(Run(c.steps), c.trace) << c.focus << ": " << c.steps;
  }
}

// Type, paste and backspace at the caret or over the selection of a box; the limit binds the
// user. Typing raises one Change per keystroke that changes the text, a paste or a backspace one.
TEST_F(FormTest, EditsWorkAtTheCaretOrOverTheSelectionWithinTheLimit) {
  struct Case {
    std::string_view before;
    std::string_view edit;
    std::string_view after;
    int changes;
  };
  const Case cases[] = {
      {"1|4", "type TxtA 23", "TxtA=123|4", 2},
      {"1[23]4", "type TxtA 9", "TxtA=19|4", 1},
      {"12|", "type TxtA 3456", "TxtA=1234|", 2},   // the limit drops keystrokes
      {"123[4]", "type TxtA 56", "TxtA=1235|", 1},  // a replacement, then over the limit
      {"[1]234", "type TxtA 1", "TxtA=1|234", 0},   // the same character over itself
      {"1|2", "paste TxtA 345", "TxtA=134|2", 1},   // cut to the limit
      {"1[23]4", "paste TxtA abc", "TxtA=1ab|4", 1},
      {"1234|", "paste TxtA 5", "TxtA=1234|", 0},
      {"|123456", "paste TxtA 9", "TxtA=|123456", 0},  // over the limit already: nothing fits
      {"[1234]", "paste TxtA", "TxtA=|", 1},
      {"|", "paste TxtFree 0000000255", "TxtFree=0000000255|", 1},  // no limit
      {"12|34", "backspace TxtA", "TxtA=1|34", 1},
      {"1[23]4", "backspace TxtA", "TxtA=1|4", 1},
      {"|1234", "backspace TxtA", "TxtA=|1234", 0},
  };
  for (const Case& c : cases) {
    Reset();
    std::istringstream words{std::string(c.edit)};
    std::string verb, box;
    words >> verb >> box;
    Run("focus " + box + "; box " + box + " " + std::string(c.before));
    const std::string seen = Run(std::string(c.edit) + "; ?" + box);
    EXPECT_EQ(seen.substr(seen.rfind(' ') + 1), c.after) << c.edit << " on " << c.before;
    int changes = 0;
    for (size_t at = seen.find(".Change("); at != std::string::npos;
         at = seen.find(".Change(", at + 1)) {
      ++changes;
    }
    EXPECT_EQ(changes, c.changes) << c.edit << " on " << c.before;
  }
}

// Which assigned texts select an entry and click it (the selected one too, with case) and
// which stand alone are the port_fields and apply_fields sessions'; here the list's own entries.
TEST_F(FormTest, ComboBoxListEntries) {
  const ControlId combo = form->Id("Combo");
  EXPECT_EQ(Run("item Combo COM3; item Combo COM4; ?Combo"), "Combo=#-1");  // none selected yet
  EXPECT_THROW(form->SetListItem(combo, 3, "COM9"), std::out_of_range);
  form->SetText(combo, "COM3");
  form->SetListItem(combo, 0, "COM7");  // replacing the selected entry replaces the text
  form->SetListItem(combo, 1, "COM8");
  EXPECT_EQ(Run("?Combo"), "Combo=COM7#0");
}

TEST_F(FormTest, NotificationsRunInsideTheAssignmentThatRaisedThem) {
  const ControlId free_box = form->Id("TxtFree");
  // A guard that empties its own box: the nested Change sees the empty text and stops there,
  // because assigning "" again raises nothing.
  Record("TxtFree", Notification::kChange, [&] {
    if (form->at(free_box).text.find('x') != std::string::npos) form->SetText(free_box, "");
    if (form->at(free_box).text.empty()) form->SetText(free_box, "");
  });
  form->SetListItem(form->Id("Combo"), 0, "COM3");
  Record("Combo", Notification::kClick, [&] {
    form->SetText(free_box, "1x");
    trace.push_back("after");
  });
  EXPECT_EQ(Run("set Combo COM3; ?TxtFree"),
            "Combo.Click TxtFree.Change(1x) TxtFree.Change() after TxtFree=|");
}

// Each reason alone is the refusals session's; here which one speaks when several apply.
TEST_F(FormTest, ReachNamesTheNearestReasonFirst) {
  struct Case {
    std::string_view setup;
    std::string_view control;
    Refusal expected;
  };
  const Case cases[] = {
      {"", "TxtA", Refusal::kNone},
      {"disable HiddenBtn", "HiddenBtn", Refusal::kHidden},  // hidden before disabled
      {"disable PageA", "OffTxt", Refusal::kDisabled},       // own state before the container's
      {"disable GroupA", "TxtA", Refusal::kDisabledContainer},
      {"hide GroupA", "TxtA", Refusal::kHidden},
      {"hide GroupA; disable GroupA", "TxtA", Refusal::kDisabledContainer},
      {"hide GroupA; disable PageA", "TxtA", Refusal::kHidden},  // the nearest container first
      {"", "PageB", Refusal::kPageNotShown},
      {"disable GroupA; page 1", "TxtA", Refusal::kDisabledContainer},
      {"page 1", "OptA1", Refusal::kPageNotShown},  // deep on a page not shown
      {"page 1", "Up", Refusal::kNone},
  };
  for (const Case& c : cases) {
    Reset();
    Run(c.setup);
    const ControlId id = form->Id(c.control);
    EXPECT_EQ(form->Reach(id), c.expected) << c.setup << ": " << c.control;
    EXPECT_EQ(form->CanTakeFocus(id), c.expected == Refusal::kNone) << c.setup << ": " << c.control;
  }
  EXPECT_FALSE(form->CanTakeFocus(form->Id("Lbl")));
  EXPECT_FALSE(form->CanTakeFocus(form->Id("GroupA")));
}

// A handler, on a fresh form: the steps after the setup and the trace they leave ("box(TEXT)" for
// a message box). That typing goes on from where a Change handler left the caret is the guards
// session's, on the real numeric guard.
TEST_F(FormTest, HandlersActInsideTheStepThatRaisedThem) {
  struct Case {
    std::string_view what;
    std::string_view control;
    Notification notification;
    std::function<void()> handler;
    std::string_view setup;
    std::string_view steps;
    std::string_view trace;
  };
  const Case cases[] = {
      {"a LostFocus handler sees the focus moved and may show a box", "TxtFree",
       Notification::kLostFocus,
       [this] {
         trace.push_back(State(""));
         form->MsgBox("leaving", MsgBoxStyle::kPlain);
       },
       "focus TxtFree", "focus Btn", "TxtFree.LostFocus @Btn box(leaving) Btn.GotFocus"},
      {"typing focuses the box, whose GotFocus may select all", "TxtA", Notification::kGotFocus,
       [this] {
         form->SetSelStart(form->Id("TxtA"), 0);
         form->SetSelLength(form->Id("TxtA"), static_cast<int>(form->at("TxtA").text.size()));
       },
       "", "type TxtA 7; ?TxtA", "TxtA.GotFocus TxtA.Change(7) TxtA=7|"},
      {"typing stops when a handler takes the box away", "TxtFree", Notification::kChange,
       [this] { form->SetEnabled(form->Id("TxtFree"), false); }, "", "type TxtFree 123; ?TxtFree",
       "TxtFree.GotFocus TxtFree.Change(1) TxtFree=1|"},
  };
  for (const Case& c : cases) {
    Reset();
    Run(c.setup);
    Record(std::string(c.control), c.notification, c.handler);
    EXPECT_EQ(Run(c.steps), c.trace) << c.what;
  }
}

TEST_F(FormTest, TheObserverHearsEveryPropertyChange) {
  std::vector<std::string> seen;
  form->SetObserver([&](ControlId changed) { seen.push_back(form->at(changed).name); });
  Run("set TxtA 9; set TxtA 9; disable Btn; disable Btn; hide Lbl; picture Img; item Combo COM3; "
      "set Combo COM3; select OptA2; selstart TxtA 1; sellength TxtA 0; focus TxtFree; "
      "type TxtFree a; page 1");
  EXPECT_EQ(seen, (std::vector<std::string>{"TxtA", "Btn", "Lbl", "Img", "Combo", "Combo", "OptA1",
                                            "OptA2", "TxtA", "TxtFree", "TxtFree", "TxtFree",
                                            "Tabs", "Tabs"}));
}

}  // namespace
}  // namespace ketra::forms
