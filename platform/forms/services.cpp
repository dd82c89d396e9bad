// Names of the message box styles and of the reasons a user action is refused, as the session
// prints them, and the one way a user action's handlers are run.
#include "platform/forms/services.h"

#include <exception>

#include "platform/forms/form.h"

namespace ketra::forms {

ActionOutcome RunUserAction(const std::function<void()>& action,
                            const std::function<void(std::string_view reason)>& report) {
  try {
    action();
    return ActionOutcome::kDone;
  } catch (const ProgramEnded&) {
    return ActionOutcome::kProgramEnded;
  } catch (const std::exception& failure) {
    report(failure.what());
  } catch (...) {
    report("unknown failure");
  }
  return ActionOutcome::kFailed;
}

std::string_view MsgBoxStyleName(MsgBoxStyle style) {
  switch (style) {
    case MsgBoxStyle::kPlain:
      return "plain";
    case MsgBoxStyle::kInformation:
      return "information";
    case MsgBoxStyle::kExclamation:
      return "exclamation";
    case MsgBoxStyle::kCritical:
      return "critical";
  }
  return "";
}

std::string_view RefusalName(Refusal refusal) {
  switch (refusal) {
    case Refusal::kNone:
      return "";
    case Refusal::kHidden:
      return "hidden";
    case Refusal::kDisabled:
      return "disabled";
    case Refusal::kDisabledContainer:
      return "disabled container";
    case Refusal::kPageNotShown:
      return "page not shown";
  }
  return "";
}

}  // namespace ketra::forms
