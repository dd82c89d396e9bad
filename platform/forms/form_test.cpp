#include "platform/forms/form.h"

#include "platform/forms/layout_row.h"

#include <gtest/gtest.h>

#include <array>
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

class NoBoxes : public MessageBoxService {
 public:
  void Show(std::string_view text, MsgBoxStyle) override { shown.emplace_back(text); }
  std::vector<std::string> shown;
};

std::string EventName(Notification notification) {
  constexpr std::array<std::string_view, 8> kNames = {"Load",      "Click", "Change",  "GotFocus",
                                                      "LostFocus", "Timer", "UpClick", "DownClick"};
  return std::string(kNames.at(static_cast<size_t>(notification)));
}

class FormTest : public ::testing::Test {
 protected:
  FormTest() : form(kLayout, boxes) {
    for (ControlId id = 0; id < form.size(); ++id) {
      for (int n = 0; n <= static_cast<int>(Notification::kDownClick); ++n) {
        Record(form.at(id).name, static_cast<Notification>(n));
      }
    }
  }

  // Every notification leaves "Name.Event" in the trace (Change with the text it saw), then runs
  // `then` if given.
  void Record(const std::string& name, Notification notification, std::function<void()> then = {}) {
    form.On(name, notification, [this, name, notification, then] {
      std::string entry = name + "." + EventName(notification);
      if (notification == Notification::kChange) entry += "(" + form.at(name).text + ")";
      trace.push_back(entry);
      if (then) then();
    });
  }

  ControlId id(std::string_view name) const { return form.Id(name); }
  std::string FocusName() const {
    return form.focus() == kNoControl ? "" : form.at(form.focus()).name;
  }

  NoBoxes boxes;
  Form form;
  std::vector<std::string> trace;
};

using Trace = std::vector<std::string>;

TEST(FormLayout, RefusesContainersLaidOutAfterTheirContents) {
  NoBoxes boxes;
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

TEST_F(FormTest, NamesAreFoundWithoutRegardToCase) {
  EXPECT_EQ(form.Find("txta"), form.Find("TXTA"));
  EXPECT_NE(form.Find("TxtA"), kNoControl);
  EXPECT_EQ(form.Find("Nothing"), kNoControl);
  EXPECT_THROW(form.Id("Nothing"), std::out_of_range);
}

TEST_F(FormTest, OptionButtonsExcludeEachOtherAndClickOnlyWhenSelected) {
  form.SetValue(id("OptA2"), true);
  EXPECT_TRUE(form.at("OptA2").value);
  EXPECT_FALSE(form.at("OptA1").value);
  EXPECT_EQ(trace, Trace{"OptA2.Click"});

  form.SetValue(id("OptA2"), true);  // already selected: nothing
  EXPECT_EQ(trace, Trace{"OptA2.Click"});

  form.SetValue(id("OptB1"), true);  // another container: group A keeps its selection
  EXPECT_TRUE(form.at("OptA2").value);
  EXPECT_EQ(trace, (Trace{"OptA2.Click", "OptB1.Click"}));

  form.SetValue(id("OptA2"), false);  // clearing raises nothing and selects no sibling
  EXPECT_FALSE(form.at("OptA2").value);
  EXPECT_FALSE(form.at("OptA1").value);
  EXPECT_EQ(trace.size(), 2u);

  form.SetValue(id("OptA1"), true);
  EXPECT_EQ(trace.back(), "OptA1.Click");
  EXPECT_THROW(form.SetValue(id("TxtA"), true), std::invalid_argument);
}

TEST_F(FormTest, TextBoxRaisesChangeOnlyWhenTheTextDiffersAndPutsTheCaretAtZero) {
  form.SetSelStart(id("TxtA"), 1);
  form.SetSelLength(id("TxtA"), 1);
  form.SetText(id("TxtA"), "12");
  EXPECT_TRUE(trace.empty());
  EXPECT_EQ(form.at("TxtA").sel_start, 0);
  EXPECT_EQ(form.at("TxtA").sel_length, 0);

  form.SetText(id("TxtA"), "123456");  // the limit binds the user only
  EXPECT_EQ(form.at("TxtA").text, "123456");
  EXPECT_EQ(trace, Trace{"TxtA.Change(123456)"});
  form.SetText(id("TxtA"), "");
  form.SetText(id("TxtA"), "");
  EXPECT_EQ(trace, (Trace{"TxtA.Change(123456)", "TxtA.Change()"}));
}

TEST_F(FormTest, SelectionAssignmentsStayInsideTheText) {
  form.SetSelStart(id("TxtA"), 9);
  EXPECT_EQ(form.at("TxtA").sel_start, 2);
  form.SetSelStart(id("TxtA"), 1);
  form.SetSelLength(id("TxtA"), 9);
  EXPECT_EQ(form.at("TxtA").sel_length, 1);
  form.SetSelStart(id("TxtA"), 0);  // a new caret drops the selection
  EXPECT_EQ(form.at("TxtA").sel_length, 0);
  EXPECT_THROW(form.SetSelStart(id("TxtA"), -1), std::invalid_argument);
  EXPECT_THROW(form.SetSelLength(id("Combo"), 1), std::invalid_argument);
}

TEST_F(FormTest, ComboBoxAssignmentsFollowTheListRules) {
  const ControlId combo = id("Combo");
  form.SetListItem(combo, 0, "COM3");
  form.SetListItem(combo, 1, "COM4");
  EXPECT_THROW(form.SetListItem(combo, 3, "COM9"), std::out_of_range);
  EXPECT_EQ(form.at(combo).items, (std::vector<std::string>{"COM3", "COM4"}));
  EXPECT_EQ(form.at(combo).text, "");  // no entry selected yet

  struct Step {
    std::string_view text;
    int index;
    std::string_view shown;
    bool click;
  };
  const Step steps[] = {
      {"COM4", 1, "COM4", true},                         // an entry selects and clicks
      {"COM4", 1, "COM4", true},                         // also when it is already selected
      {"com3", -1, "com3", false},                       // texts compare with case
      {"COM3", 0, "COM3", true},   {"", -1, "", false},  // any other text stands, nothing selected
      {"COM5", -1, "COM5", false},
  };
  for (const Step& step : steps) {
    trace.clear();
    form.SetText(combo, step.text);
    EXPECT_EQ(form.at(combo).list_index, step.index) << step.text;
    EXPECT_EQ(form.at(combo).text, step.shown) << step.text;
    EXPECT_EQ(trace, step.click ? Trace{"Combo.Click"} : Trace{}) << step.text;
  }

  form.SetText(combo, "COM3");
  form.SetListItem(combo, 0, "COM7");  // replacing the selected entry replaces the text
  EXPECT_EQ(form.at(combo).text, "COM7");
  form.SetListItem(combo, 1, "COM8");
  EXPECT_EQ(form.at(combo).text, "COM7");
  EXPECT_EQ(form.at(combo).list_index, 0);
}

TEST_F(FormTest, NotificationsRunInsideTheAssignmentThatRaisedThem) {
  const ControlId free_box = id("TxtFree");
  // A guard that empties its own box: the nested Change sees the empty text and stops there,
  // because assigning "" again raises nothing.
  Record("TxtFree", Notification::kChange, [&] {
    if (form.at(free_box).text.find('x') != std::string::npos) form.SetText(free_box, "");
    if (form.at(free_box).text.empty()) form.SetText(free_box, "");
  });
  form.SetListItem(id("Combo"), 0, "COM3");
  Record("Combo", Notification::kClick, [&] {
    form.SetText(free_box, "1x");
    trace.push_back("after");
  });
  form.SetText(id("Combo"), "COM3");
  EXPECT_EQ(trace, (Trace{"Combo.Click", "TxtFree.Change(1x)", "TxtFree.Change()", "after"}));
  EXPECT_EQ(form.at(free_box).text, "");
}

TEST_F(FormTest, ReachNamesTheNearestReasonFirst) {
  struct Case {
    std::string_view what;
    std::function<void(Form&)> setup;
    std::string_view control;
    Refusal expected;
  };
  const Case cases[] = {
      {"free", [](Form&) {}, "TxtA", Refusal::kNone},
      {"hidden", [](Form&) {}, "HiddenBtn", Refusal::kHidden},
      {"disabled", [](Form&) {}, "OffTxt", Refusal::kDisabled},
      {"hidden before disabled", [](Form& f) { f.SetEnabled(f.Id("HiddenBtn"), false); },
       "HiddenBtn", Refusal::kHidden},
      {"own state before container", [](Form& f) { f.SetEnabled(f.Id("PageA"), false); }, "OffTxt",
       Refusal::kDisabled},
      {"disabled container", [](Form& f) { f.SetEnabled(f.Id("GroupA"), false); }, "TxtA",
       Refusal::kDisabledContainer},
      {"hidden container", [](Form& f) { f.SetVisible(f.Id("GroupA"), false); }, "TxtA",
       Refusal::kHidden},
      {"disabled before hidden container",
       [](Form& f) {
         f.SetVisible(f.Id("GroupA"), false);
         f.SetEnabled(f.Id("GroupA"), false);
       },
       "TxtA", Refusal::kDisabledContainer},
      {"nearest container first",
       [](Form& f) {
         f.SetVisible(f.Id("GroupA"), false);
         f.SetEnabled(f.Id("PageA"), false);
       },
       "TxtA", Refusal::kHidden},
      {"page not shown", [](Form&) {}, "TxtB", Refusal::kPageNotShown},
      {"page itself not shown", [](Form&) {}, "PageB", Refusal::kPageNotShown},
      {"page not shown after a disabled container",
       [](Form& f) {
         f.SetEnabled(f.Id("GroupA"), false);
         f.ShowPage(1);
       },
       "TxtA", Refusal::kDisabledContainer},
      {"deep on a page not shown", [](Form& f) { f.ShowPage(1); }, "OptA1", Refusal::kPageNotShown},
      {"shown page", [](Form& f) { f.ShowPage(1); }, "Up", Refusal::kNone},
  };
  for (const Case& c : cases) {
    Form fresh(kLayout, boxes);
    c.setup(fresh);
    EXPECT_EQ(fresh.Reach(fresh.Id(c.control)), c.expected) << c.what;
    EXPECT_EQ(fresh.CanTakeFocus(fresh.Id(c.control)), c.expected == Refusal::kNone) << c.what;
  }
  EXPECT_FALSE(form.CanTakeFocus(id("Lbl")));
  EXPECT_FALSE(form.CanTakeFocus(id("GroupA")));
}

TEST_F(FormTest, RefusedUserActionsPerformNothing) {
  form.SetEnabled(id("GroupA"), false);
  EXPECT_EQ(form.Click(id("OptA2")), Refusal::kDisabledContainer);
  EXPECT_EQ(form.Type(id("TxtA"), "9"), Refusal::kDisabledContainer);
  EXPECT_EQ(form.Paste(id("TxtA"), "9"), Refusal::kDisabledContainer);
  EXPECT_EQ(form.Backspace(id("TxtA")), Refusal::kDisabledContainer);
  EXPECT_EQ(form.Focus(id("TxtA")), Refusal::kDisabledContainer);
  EXPECT_EQ(form.Click(id("HiddenBtn")), Refusal::kHidden);
  EXPECT_EQ(form.UpClick(id("Up")), Refusal::kPageNotShown);
  EXPECT_EQ(form.DownClick(id("Up")), Refusal::kPageNotShown);
  form.SetListItem(id("Combo"), 0, "COM3");
  form.SetEnabled(id("Combo"), false);
  EXPECT_EQ(form.Choose(id("Combo"), "COM3"), Refusal::kDisabled);
  EXPECT_TRUE(trace.empty());
  EXPECT_EQ(form.focus(), kNoControl);
  EXPECT_FALSE(form.at("OptA2").value);
  EXPECT_EQ(form.at("TxtA").text, "12");
  EXPECT_EQ(form.at("Combo").list_index, -1);

  // The program's own assignments go through.
  form.SetText(id("TxtA"), "7");
  form.SetValue(id("OptA2"), true);
  EXPECT_EQ(trace, (Trace{"TxtA.Change(7)", "OptA2.Click"}));
}

TEST_F(FormTest, ActionsThatDoNotFitTheKindAreRejected) {
  form.SetListItem(id("Combo"), 0, "COM3");
  EXPECT_THROW(form.Click(id("TxtA")), std::invalid_argument);
  EXPECT_THROW(form.Click(id("Combo")), std::invalid_argument);
  EXPECT_THROW(form.Type(id("Btn"), "1"), std::invalid_argument);
  EXPECT_THROW(form.Paste(id("Combo"), "1"), std::invalid_argument);
  EXPECT_THROW(form.Backspace(id("Lbl")), std::invalid_argument);
  EXPECT_THROW(form.Choose(id("TxtA"), "COM3"), std::invalid_argument);
  EXPECT_THROW(form.Choose(id("Combo"), "COM4"), std::invalid_argument);
  EXPECT_THROW(form.Focus(id("Lbl")), std::invalid_argument);
  EXPECT_THROW(form.Tick(id("Btn")), std::invalid_argument);
  EXPECT_THROW(form.UpClick(id("Btn")), std::invalid_argument);
  EXPECT_THROW(form.SetPicture(id("Lbl"), Picture::kRed), std::invalid_argument);
  EXPECT_THROW(form.SetText(id("Img"), "x"), std::invalid_argument);
  EXPECT_THROW(form.ShowPage(2), std::invalid_argument);
  EXPECT_TRUE(trace.empty());
}

TEST_F(FormTest, AClickMovesTheFocusBeforeItClicks) {
  form.Focus(id("TxtA"));
  trace.clear();
  EXPECT_EQ(form.Click(id("Btn")), Refusal::kNone);
  EXPECT_EQ(trace, (Trace{"TxtA.LostFocus", "Btn.GotFocus", "Btn.Click"}));

  trace.clear();
  form.Click(id("Btn"));  // the focus stays: only the click
  EXPECT_EQ(trace, Trace{"Btn.Click"});

  trace.clear();
  form.Click(id("OptA2"));
  EXPECT_EQ(trace, (Trace{"Btn.LostFocus", "OptA2.GotFocus", "OptA2.Click"}));
  EXPECT_FALSE(form.at("OptA1").value);

  trace.clear();
  form.Click(id("OptA1"));
  form.Click(id("OptA1"));  // the selected option: the focus only, no Click
  EXPECT_EQ(trace, (Trace{"OptA2.LostFocus", "OptA1.GotFocus", "OptA1.Click"}));
}

TEST_F(FormTest, FocusRunsLostFocusOfTheOldThenGotFocusOfTheNew) {
  form.Focus(id("TxtA"));
  form.Focus(id("TxtA"));
  form.Focus(id("TxtFree"));
  EXPECT_EQ(trace, (Trace{"TxtA.GotFocus", "TxtA.LostFocus", "TxtFree.GotFocus"}));
  EXPECT_EQ(FocusName(), "TxtFree");

  // A LostFocus handler that sees the focus already moved, and shows a box on the way.
  std::string seen;
  Record("TxtFree", Notification::kLostFocus, [&] {
    seen = FocusName();
    form.MsgBox("leaving", MsgBoxStyle::kPlain);
  });
  form.Focus(id("Btn"));
  EXPECT_EQ(seen, "Btn");
  EXPECT_EQ(boxes.shown, std::vector<std::string>{"leaving"});
}

TEST_F(FormTest, ChooseFocusesTheBoxThenSelectsAndClicksEvenTheSelectedEntry) {
  form.SetListItem(id("Combo"), 0, "COM3");
  form.SetListItem(id("Combo"), 1, "COM4");
  form.Focus(id("TxtA"));
  trace.clear();
  EXPECT_EQ(form.Choose(id("Combo"), "COM4"), Refusal::kNone);
  EXPECT_EQ(trace, (Trace{"TxtA.LostFocus", "Combo.GotFocus", "Combo.Click"}));
  EXPECT_EQ(form.at("Combo").list_index, 1);
  trace.clear();
  form.Choose(id("Combo"), "COM4");
  EXPECT_EQ(trace, Trace{"Combo.Click"});
}

TEST_F(FormTest, TypingInsertsAtTheCaretReplacesTheSelectionAndKeepsTheLimit) {
  struct Case {
    std::string_view what;
    std::string_view start;
    int sel_start;
    int sel_length;
    std::string_view typed;
    std::string_view text;
    int caret;
    int changes;
  };
  const Case cases[] = {
      {"append", "", 0, 0, "123", "123", 3, 3},
      {"insert at the caret", "14", 1, 0, "23", "1234", 3, 2},
      {"replace the selection", "1234", 1, 2, "9", "194", 2, 1},
      {"replace all", "1234", 0, 4, "56", "56", 2, 2},
      {"limit drops keystrokes", "12", 2, 0, "3456", "1234", 4, 2},
      {"over the limit after a replacement", "1234", 3, 1, "56", "1235", 4, 1},
      {"same character over itself", "1234", 0, 1, "1", "1234", 1, 0},
  };
  for (const Case& c : cases) {
    Form fresh(kLayout, boxes);
    int changes = 0;
    fresh.On("TxtA", Notification::kChange, [&] { ++changes; });
    const ControlId box = fresh.Id("TxtA");
    fresh.SetText(box, c.start);
    changes = 0;
    fresh.Focus(box);
    fresh.SetSelStart(box, c.sel_start);
    fresh.SetSelLength(box, c.sel_length);
    EXPECT_EQ(fresh.Type(box, c.typed), Refusal::kNone);
    EXPECT_EQ(fresh.at(box).text, c.text) << c.what;
    EXPECT_EQ(fresh.at(box).sel_start, c.caret) << c.what;
    EXPECT_EQ(fresh.at(box).sel_length, 0) << c.what;
    EXPECT_EQ(changes, c.changes) << c.what;
  }
}

TEST_F(FormTest, TypingFocusesTheBoxWhoseGotFocusMaySelectAll) {
  const ControlId box = id("TxtA");
  Record("TxtA", Notification::kGotFocus, [&] {
    form.SetSelStart(box, 0);
    form.SetSelLength(box, static_cast<int>(form.at(box).text.size()));
  });
  form.Type(box, "7");
  EXPECT_EQ(form.at(box).text, "7");
  EXPECT_EQ(trace, (Trace{"TxtA.GotFocus", "TxtA.Change(7)"}));
}

TEST_F(FormTest, TypingGoesOnFromWhereAChangeHandlerLeftTheCaret) {
  const ControlId box = id("TxtFree");
  // A numeric guard: a bad keystroke empties the box, and typing goes on in the empty box.
  Record("TxtFree", Notification::kChange, [&] {
    const std::string& text = form.at(box).text;
    if (text.find_first_not_of("0123456789") != std::string::npos || text.empty()) {
      form.SetText(box, "");
    }
  });
  form.Type(box, "12a34");
  EXPECT_EQ(form.at(box).text, "34");
  EXPECT_EQ(form.at(box).sel_start, 2);
  EXPECT_EQ(trace, (Trace{"TxtFree.GotFocus", "TxtFree.Change(1)", "TxtFree.Change(12)",
                          "TxtFree.Change(12a)", "TxtFree.Change()", "TxtFree.Change(3)",
                          "TxtFree.Change(34)"}));
}

TEST_F(FormTest, TypingStopsWhenAHandlerTakesTheBoxAway) {
  const ControlId box = id("TxtFree");
  Record("TxtFree", Notification::kChange, [&] { form.SetEnabled(box, false); });
  form.Type(box, "123");
  EXPECT_EQ(form.at(box).text, "1");
}

TEST_F(FormTest, PasteIsOneChangeCutToTheLimit) {
  struct Case {
    std::string_view start;
    int sel_start;
    int sel_length;
    std::string_view pasted;
    std::string_view text;
    int caret;
  };
  const Case cases[] = {
      {"", 0, 0, "-1.5e3", "-1.5", 4},    {"12", 1, 0, "345", "1342", 3},
      {"1234", 1, 2, "abc", "1ab4", 3},   {"1234", 4, 0, "5", "1234", 4},
      {"123456", 0, 0, "9", "123456", 0},  // over the limit already: nothing fits
      {"1234", 0, 4, "", "", 0},
  };
  for (const Case& c : cases) {
    Form fresh(kLayout, boxes);
    std::vector<std::string> changes;
    const ControlId box = fresh.Id("TxtA");
    fresh.On("TxtA", Notification::kChange, [&] { changes.push_back(fresh.at(box).text); });
    fresh.SetText(box, c.start);
    changes.clear();
    fresh.Focus(box);
    fresh.SetSelStart(box, c.sel_start);
    fresh.SetSelLength(box, c.sel_length);
    fresh.Paste(box, c.pasted);
    EXPECT_EQ(fresh.at(box).text, c.text) << c.pasted;
    EXPECT_EQ(fresh.at(box).sel_start, c.caret) << c.pasted;
    const std::vector<std::string> expected = c.text == c.start
                                                  ? std::vector<std::string>{}
                                                  : std::vector<std::string>{std::string(c.text)};
    EXPECT_EQ(changes, expected) << c.pasted;
  }
  Form unlimited(kLayout, boxes);
  unlimited.Paste(unlimited.Id("TxtFree"), "0000000255");
  EXPECT_EQ(unlimited.at("TxtFree").text, "0000000255");
}

TEST_F(FormTest, BackspaceDeletesTheSelectionOrTheCharacterBeforeTheCaret) {
  struct Case {
    std::string_view start;
    int sel_start;
    int sel_length;
    std::string_view text;
    int caret;
  };
  const Case cases[] = {
      {"1234", 4, 0, "123", 3},  {"1234", 2, 0, "134", 1}, {"1234", 1, 2, "14", 1},
      {"1234", 0, 0, "1234", 0}, {"", 0, 0, "", 0},
  };
  for (const Case& c : cases) {
    Form fresh(kLayout, boxes);
    int changes = 0;
    const ControlId box = fresh.Id("TxtA");
    fresh.SetText(box, c.start);
    fresh.On("TxtA", Notification::kChange, [&] { ++changes; });
    fresh.Focus(box);
    fresh.SetSelStart(box, c.sel_start);
    fresh.SetSelLength(box, c.sel_length);
    fresh.Backspace(box);
    EXPECT_EQ(fresh.at(box).text, c.text) << c.start << " at " << c.sel_start;
    EXPECT_EQ(fresh.at(box).sel_start, c.caret) << c.start << " at " << c.sel_start;
    EXPECT_EQ(changes, c.text == c.start ? 0 : 1);
  }
}

std::vector<std::string> WalkTabs(Form& form, int presses, bool backward = false) {
  std::vector<std::string> names;
  for (int i = 0; i < presses; ++i) {
    if (backward) {
      form.BackTab();
    } else {
      form.Tab();
    }
    names.push_back(form.focus() == kNoControl ? "" : form.at(form.focus()).name);
  }
  return names;
}

TEST_F(FormTest, TabWalksTheStopsOfTheShownPageInTabIndexOrder) {
  // OptA1 stands for group A (selected); group B has none selected, so its first in tab order,
  // OptB2, stands for it. Hidden, disabled, labels and frames are no stops.
  EXPECT_EQ(WalkTabs(form, 8), (std::vector<std::string>{"Tabs", "TxtA", "OptA1", "OptB2", "Combo",
                                                         "Btn", "TxtFree", "Tabs"}));
  form.SetValue(id("OptB1"), true);
  form.SetEnabled(id("GroupA"), false);
  EXPECT_EQ(WalkTabs(form, 5),
            (std::vector<std::string>{"OptB1", "Combo", "Btn", "TxtFree", "Tabs"}));
  // Backward: the same stops the other way round, wrapping from the first to the last.
  EXPECT_EQ(WalkTabs(form, 5, true),
            (std::vector<std::string>{"TxtFree", "Btn", "Combo", "OptB1", "Tabs"}));
  form.ShowPage(1);
  EXPECT_EQ(WalkTabs(form, 3), (std::vector<std::string>{"TxtB", "Up", "Tabs"}));
  Form fresh(kLayout, boxes);
  fresh.BackTab();  // with no focus, to the last stop
  EXPECT_EQ(fresh.at(fresh.focus()).name, "TxtFree");
}

TEST_F(FormTest, KeysActOnTheControlByItsKind) {
  struct Case {
    std::string_view control;
    Key key;
    std::string_view focus_after;
    Trace trace;  // after the focus reached `control`
  };
  // Before each case: focus on Btn, OptA1 and OptB2 selected (OptB1 after OptB2 in tab
  // order), Combo holding COM3 and COM4 with COM3 selected, TxtA "12" with the caret at 1.
  const Case cases[] = {
      // Option groups: arrows move to the neighbour in tab order, wrapping, and select it.
      {"OptA1", Key::kDown, "OptA2", {"OptA1.LostFocus", "OptA2.GotFocus", "OptA2.Click"}},
      {"OptA1", Key::kRight, "OptA2", {"OptA1.LostFocus", "OptA2.GotFocus", "OptA2.Click"}},
      {"OptA1", Key::kUp, "OptA2", {"OptA1.LostFocus", "OptA2.GotFocus", "OptA2.Click"}},
      {"OptB2", Key::kDown, "OptB1", {"OptB2.LostFocus", "OptB1.GotFocus", "OptB1.Click"}},
      {"OptB1", Key::kLeft, "OptB2", {"OptB1.LostFocus", "OptB2.GotFocus"}},  // selected already
      {"OptA1", Key::kSpace, "OptA1", {}},
      {"OptA2", Key::kSpace, "OptA2", {"OptA2.Click"}},
      {"OptA1", Key::kHome, "OptA1", {}},
      // The list steps without wrapping; each choice is a Click.
      {"Combo", Key::kDown, "Combo", {"Combo.Click"}},
      {"Combo", Key::kUp, "Combo", {}},
      {"Combo", Key::kEnd, "Combo", {"Combo.Click"}},
      {"Combo", Key::kSpace, "Combo", {}},
      // The tab control shows its pages; nothing is raised.
      {"Tabs", Key::kRight, "Tabs", {}},
      // Buttons and the up-down control.
      {"Btn", Key::kSpace, "Btn", {"Btn.Click"}},
      {"Btn", Key::kDown, "Btn", {}},
      // A blank typed into a box.
      {"TxtA", Key::kSpace, "TxtA", {"TxtA.Change(1 2)"}},
      {"TxtA", Key::kLeft, "TxtA", {}},
  };
  for (const Case& c : cases) {
    NoBoxes quiet;
    Form fresh(kLayout, quiet);
    Trace seen;
    fresh.SetListItem(fresh.Id("Combo"), 0, "COM3");
    fresh.SetListItem(fresh.Id("Combo"), 1, "COM4");
    fresh.SetText(fresh.Id("Combo"), "COM3");
    fresh.SetValue(fresh.Id("OptB2"), true);
    fresh.Focus(fresh.Id("Btn"));
    fresh.SetSelStart(fresh.Id("TxtA"), 1);
    if (c.control != "Btn") fresh.Focus(fresh.Id(c.control));
    for (ControlId id = 0; id < fresh.size(); ++id) {
      for (int n = 0; n <= static_cast<int>(Notification::kDownClick); ++n) {
        const std::string name = fresh.at(id).name;
        const auto notification = static_cast<Notification>(n);
        fresh.On(name, notification, [&, name, notification] {
          std::string entry = name + "." + EventName(notification);
          if (notification == Notification::kChange) entry += "(" + fresh.at(name).text + ")";
          seen.push_back(entry);
        });
      }
    }
    EXPECT_EQ(fresh.Press(fresh.Id(c.control), c.key), Refusal::kNone) << c.control;
    EXPECT_EQ(fresh.at(fresh.focus()).name, c.focus_after) << c.control;
    EXPECT_EQ(seen, c.trace) << c.control << " key " << static_cast<int>(c.key);
  }
}

TEST_F(FormTest, KeysMoveTheCaretStepTheListAndThePagesWithinTheirEnds) {
  form.SetListItem(id("Combo"), 0, "COM3");
  form.SetListItem(id("Combo"), 1, "COM4");
  form.Press(id("Combo"), Key::kUp);  // none selected: the first entry
  EXPECT_EQ(form.at("Combo").list_index, 0);
  form.Press(id("Combo"), Key::kRight);
  form.Press(id("Combo"), Key::kDown);  // at the end it stays
  EXPECT_EQ(form.at("Combo").text, "COM4");
  form.Press(id("Combo"), Key::kHome);
  EXPECT_EQ(form.at("Combo").list_index, 0);

  const ControlId box = id("TxtA");  // "12"
  form.Press(box, Key::kEnd);
  EXPECT_EQ(form.at(box).sel_start, 2);
  form.Press(box, Key::kRight);
  EXPECT_EQ(form.at(box).sel_start, 2);
  form.Press(box, Key::kUp);
  EXPECT_EQ(form.at(box).sel_start, 1);
  form.SetSelStart(box, 0);
  form.SetSelLength(box, 2);
  form.Press(box, Key::kDown);  // a selection collapses to its end
  EXPECT_EQ(form.at(box).sel_start, 2);
  EXPECT_EQ(form.at(box).sel_length, 0);
  EXPECT_EQ(form.at(box).text, "12");

  form.Press(id("Tabs"), Key::kEnd);
  EXPECT_EQ(form.page(), 1);
  form.Press(id("Tabs"), Key::kDown);
  EXPECT_EQ(form.page(), 1);
  trace.clear();
  form.Press(id("Up"), Key::kUp);
  form.Press(id("Up"), Key::kDown);
  EXPECT_EQ(trace, (Trace{"Tabs.LostFocus", "Up.GotFocus", "Up.UpClick", "Up.DownClick"}));

  // A disabled option is stepped over; an unreachable control is refused.
  form.ShowPage(0);
  form.SetEnabled(id("OptA2"), false);
  form.Press(id("OptA1"), Key::kDown);
  EXPECT_EQ(FocusName(), "OptA1");
  EXPECT_EQ(form.Press(id("OptA2"), Key::kSpace), Refusal::kDisabled);
  EXPECT_THROW(form.Press(id("Lbl"), Key::kSpace), std::invalid_argument);
}

TEST_F(FormTest, TabFromAControlThatIsNoStopGoesToTheNextStop) {
  form.Click(id("OptA2"));  // selected now, so the group's stop
  form.Focus(id("OptA1"));  // a user may still reach the other option
  trace.clear();
  form.Tab();
  EXPECT_EQ(FocusName(), "OptA2");
  EXPECT_EQ(trace, (Trace{"OptA1.LostFocus", "OptA2.GotFocus"}));
}

TEST_F(FormTest, ShowPageMovesTheFocusToTheTabControl) {
  form.Focus(id("TxtA"));
  trace.clear();
  int observed_tabs = 0;
  form.SetObserver([&](ControlId changed) { observed_tabs += changed == id("Tabs"); });
  form.ShowPage(1);
  EXPECT_EQ(form.page(), 1);
  EXPECT_EQ(FocusName(), "Tabs");
  EXPECT_EQ(trace, (Trace{"TxtA.LostFocus", "Tabs.GotFocus"}));
  EXPECT_GE(observed_tabs, 2);  // the focus and the page
  EXPECT_EQ(form.Reach(id("TxtA")), Refusal::kPageNotShown);
  trace.clear();
  form.ShowPage(1);
  EXPECT_TRUE(trace.empty());
}

TEST_F(FormTest, StartRaisesLoadThenFocusesTheFirstStop) {
  form.SetEnabled(id("Tabs"), false);
  Record("TestForm", Notification::kLoad, [&] { form.SetEnabled(id("Tabs"), true); });
  form.Start();
  EXPECT_EQ(trace, (Trace{"TestForm.Load", "Tabs.GotFocus"}));
  EXPECT_FALSE(form.unloaded());
}

TEST_F(FormTest, UnloadEndsTheProgramFromInsideAnyHandler) {
  Record("TestForm", Notification::kLoad, [&] { form.Unload(); });
  EXPECT_THROW(form.Start(), ProgramEnded);
  EXPECT_TRUE(form.unloaded());
  EXPECT_EQ(trace, Trace{"TestForm.Load"});  // no focus: the form was never shown

  Form other(kLayout, boxes);
  bool after = false;
  other.On("Btn", Notification::kClick, [&] {
    other.Unload();
    after = true;
  });
  EXPECT_THROW(other.Click(other.Id("Btn")), ProgramEnded);
  EXPECT_FALSE(after);
  Form closed(kLayout, boxes);
  EXPECT_THROW(closed.Close(), ProgramEnded);
  EXPECT_TRUE(closed.unloaded());
}

TEST_F(FormTest, TimersTickOnlyWhenEnabledWithAnInterval) {
  form.Tick(id("Clock"));  // ticks whichever page is shown
  form.Tick(id("Still"));
  form.SetEnabled(id("Clock"), false);
  form.Tick(id("Clock"));
  EXPECT_EQ(trace, Trace{"Clock.Timer"});
}

TEST_F(FormTest, UpDownArrowsRaiseTheirNotificationsWithoutMovingTheFocus) {
  form.ShowPage(1);
  trace.clear();
  EXPECT_EQ(form.UpClick(id("Up")), Refusal::kNone);
  EXPECT_EQ(form.DownClick(id("Up")), Refusal::kNone);
  EXPECT_EQ(trace, (Trace{"Up.UpClick", "Up.DownClick"}));
  EXPECT_EQ(FocusName(), "Tabs");
}

TEST_F(FormTest, TheObserverHearsEveryPropertyChange) {
  std::vector<std::string> seen;
  form.SetObserver([&](ControlId changed) { seen.push_back(form.at(changed).name); });
  form.SetText(id("TxtA"), "9");
  form.SetText(id("TxtA"), "9");  // nothing changed
  form.SetEnabled(id("Btn"), false);
  form.SetEnabled(id("Btn"), false);
  form.SetVisible(id("Lbl"), false);
  form.SetPicture(id("Img"), Picture::kRed);
  form.SetListItem(id("Combo"), 0, "COM3");
  form.SetText(id("Combo"), "COM3");
  form.SetValue(id("OptA2"), true);
  form.SetSelStart(id("TxtA"), 1);
  form.SetSelLength(id("TxtA"), 0);  // already so
  form.Focus(id("TxtFree"));
  form.Type(id("TxtFree"), "a");
  EXPECT_EQ(seen, (std::vector<std::string>{"TxtA", "Btn", "Lbl", "Img", "Combo", "Combo", "OptA1",
                                            "OptA2", "TxtA", "TxtFree", "TxtFree"}));
}

}  // namespace
}  // namespace ketra::forms
