#include "platform/forms/user_actions.h"

#include "platform/forms/services.h"

namespace ketra::forms {

void UserActions::Run(const std::function<void()>& action) {
  if (ended_) return;
  ++depth_;
  const ActionOutcome outcome = RunUserAction(action, window_.report);
  --depth_;
  if (outcome == ActionOutcome::kProgramEnded) {
    ended_ = true;
    window_.end();
    return;
  }
  window_.show_state();
  if (depth_ > 0) return;
  std::vector<ControlId> ticks;
  ticks.swap(held_ticks_);
  for (const ControlId timer : ticks) Run([this, timer] { form_.Tick(timer); });
}

void UserActions::Tick(ControlId timer) {
  if (depth_ > 0) {
    held_ticks_.push_back(timer);
    return;
  }
  Run([this, timer] { form_.Tick(timer); });
}

}  // namespace ketra::forms
