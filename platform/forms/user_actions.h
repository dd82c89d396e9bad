// UserActions: a window's user actions on a form, run one at a time. A handler that shows a
// message box runs the platform's modal loop inside the action, and that loop goes on delivering
// timer ticks; a tick that comes then waits until the outermost action has finished, so that
// notifications run one after the other, never inside each other. Each action runs through
// RunUserAction; once one ends the program, nothing more runs.
//
// The window supplies what is its own: where a failed handler's reason goes, how it shows the
// engine's state after an action, and how it closes once the program has ended.
//
// Does not own the form; the form must outlive it. Used on the window's thread only.
#ifndef KETRA_PLATFORM_FORMS_USER_ACTIONS_H_
#define KETRA_PLATFORM_FORMS_USER_ACTIONS_H_

#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/forms/form.h"

namespace ketra::forms {

class UserActions {
 public:
  struct WindowSide {
    std::function<void(std::string_view reason)> report;  // a handler stopped by a failure
    std::function<void()> show_state;  // after each action, unless the program ended
    std::function<void()> end;         // once, when an action has ended the program
  };

  UserActions(Form& form, WindowSide window) : form_(form), window_(std::move(window)) {}

  // Runs `action` (a user operation on the form), then shows the state, then runs the ticks held
  // meanwhile if this was the outermost action. Does nothing once the program has ended.
  void Run(const std::function<void()>& action);
  // A timer elapsed: its tick runs now, or after the action under way.
  void Tick(ControlId timer);

  // An action is running (a message box may be open inside it).
  bool under_way() const { return depth_ > 0; }
  bool ended() const { return ended_; }

 private:
  Form& form_;
  WindowSide window_;
  int depth_ = 0;
  bool ended_ = false;
  std::vector<ControlId> held_ticks_;
};

}  // namespace ketra::forms

#endif  // KETRA_PLATFORM_FORMS_USER_ACTIONS_H_
