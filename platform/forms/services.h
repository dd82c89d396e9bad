// What a program asks of its surroundings through the form engine: message boxes, its own
// directory, whether another instance runs, and ending. The session answers boxes with OK at
// once; the window shows them modally.
#ifndef KETRA_PLATFORM_FORMS_SERVICES_H_
#define KETRA_PLATFORM_FORMS_SERVICES_H_

#include <functional>
#include <string>
#include <string_view>

namespace ketra::forms {

enum class MsgBoxStyle { kPlain, kInformation, kExclamation, kCritical };
// "plain", "information", "exclamation", "critical".
std::string_view MsgBoxStyleName(MsgBoxStyle style);

// A modal box with the text, the style's icon, an OK button and no title of the program's own.
// Show returns when the user has closed it.
class MessageBoxService {
 public:
  virtual ~MessageBoxService() = default;
  virtual void Show(std::string_view text, MsgBoxStyle style) = 0;
};

class AppServices {
 public:
  virtual ~AppServices() = default;
  // The program's directory, without a separator at the end.
  virtual std::string Path() const = 0;
  // True when another instance of the program runs on the same hive.
  virtual bool PrevInstance() = 0;
};

// Thrown when the form is unloaded or the program ends itself: it unwinds every handler and
// routine up to the loop that drives the engine, which then stops. Not an error, and not a
// failure any routine's error handling may catch.
struct ProgramEnded {};

// How the handlers of one user action ran.
enum class ActionOutcome { kDone, kFailed, kProgramEnded };

// Runs the handlers of one user action (a click, a key, a tick) as the platform's runtime does:
// a handler stopped by a failure, a failed conversion among them, stops where it stood, its
// reason goes to `report`, and the program goes on with the next action; the end of the
// program unwinds to here and is returned, not thrown. Every loop that drives the engine (the
// windows, the session) runs its actions through here, so that all of them treat a failure
// alike.
ActionOutcome RunUserAction(const std::function<void()>& action,
                            const std::function<void(std::string_view reason)>& report);

}  // namespace ketra::forms

#endif  // KETRA_PLATFORM_FORMS_SERVICES_H_
