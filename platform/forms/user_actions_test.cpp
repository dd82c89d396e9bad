#include "platform/forms/user_actions.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/forms/layout_row.h"

namespace ketra::forms {
namespace {

constexpr ControlSpec kLayout[] = {
    LayoutRow("TestForm", Kind::kForm),
    LayoutRow("Btn", Kind::kButton, "TestForm").Tab(0),
    LayoutRow("Clock", Kind::kTimer, "TestForm").Every(1000),
};

class Boxes : public MessageBoxService {
  void Show(std::string_view, MsgBoxStyle) override {}
};

// A message box's loop delivers ticks inside the action that opened it: they run after that
// action, each as an action of its own; an action that ends the program drops the ticks still
// held, and nothing runs after it. The trace holds the handlers and what the window was told.
TEST(UserActionsTest, TicksWaitForTheActionUnderWayAndNothingRunsAfterTheEnd) {
  Boxes boxes;
  Form form(kLayout, boxes);
  std::vector<std::string> trace;
  UserActions actions(
      form, {.report = [&](std::string_view why) { trace.push_back("failed " + std::string(why)); },
             .show_state = [&] { trace.push_back("shown"); },
             .end = [&] { trace.push_back("ended"); }});
  const ControlId clock = form.Id("Clock");
  form.On("Btn", Notification::kClick, [&] {
    trace.push_back("click");
    actions.Tick(clock);
    actions.Tick(clock);
    throw std::runtime_error("overflow");
  });
  int ticks = 0;
  form.On("Clock", Notification::kTimer, [&] {
    trace.push_back("tick");
    if (++ticks == 3) form.Unload();
  });

  actions.Run([&] { form.Click(form.Id("Btn")); });
  EXPECT_EQ(trace, (std::vector<std::string>{"click", "failed overflow", "shown", "tick", "shown",
                                             "tick", "shown"}));
  EXPECT_FALSE(actions.under_way());

  trace.clear();
  actions.Run([&] { form.Click(form.Id("Btn")); });
  EXPECT_EQ(trace,
            (std::vector<std::string>{"click", "failed overflow", "shown", "tick", "ended"}));
  EXPECT_TRUE(actions.ended());

  trace.clear();
  actions.Tick(clock);
  actions.Run([&] { form.Click(form.Id("Btn")); });
  EXPECT_TRUE(trace.empty());
}

}  // namespace
}  // namespace ketra::forms
