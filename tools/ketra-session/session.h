// One scripted session of the panel: a program instance on the headless form engine, driven by
// commands read one a line, reporting what happens as JSON Lines (the session protocol). Message
// boxes are printed and answered OK at once; device calls go to a scripted driver stand-in, or to
// a device given by the caller, and are printed as events either way.
//
// Does not own the registry, the app services, the file system or a given device; they must
// outlive the session. Single-threaded, like the form engine it drives.
#ifndef KETRA_TOOLS_KETRA_SESSION_SESSION_H_
#define KETRA_TOOLS_KETRA_SESSION_SESSION_H_

#include <functional>
#include <istream>
#include <ostream>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "config_appl/app/program.h"
#include "platform/device/device.h"
#include "platform/device/scripted_device.h"
#include "platform/device/tracing_device.h"
#include "platform/forms/services.h"
#include "platform/registry/registry.h"
#include "platform/runtime/text_file.h"
#include "tools/ketra-session/json_dump.h"

namespace ketra::session {

struct Environment {
  registry::Registry& registry;
  forms::AppServices& app;
  runtime::FileSystem& files;
  // The machine's device layer; null for the scripted stand-in, which `driver` commands steer.
  device::DeviceIo* system_device = nullptr;
};

class Session : private forms::MessageBoxService {
 public:
  Session(const Environment& environment, std::ostream& out);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session() override;

  // Runs the commands of `in` until it ends or the program ends.
  void Run(std::istream& in);
  // Runs one line of a script; `line_number` counts from 1 and names the line in errors.
  // Returns false once the program has ended: no further line is read.
  bool Execute(std::string_view line, int line_number);

  bool ended() const { return ended_; }
  Program& program() { return program_; }
  device::ScriptedDevice& scripted_device() { return scripted_; }

 private:
  // What a command line holds, once split.
  struct Words;
  // A command that fails to read: reported as an `error` event.
  struct BadLine;

  void Show(std::string_view text, forms::MsgBoxStyle style) override;
  void Print(const Json& line);

  // A command of the language: its name and the member that runs it.
  struct Command;
  static std::span<const Command> Commands();
  void Dispatch(Words& words);

  // One member for each command; each reads the rest of its line.
  void DoStart(Words& words);
  void DoCall(Words& words);
  void DoClick(Words& words);
  void DoChoose(Words& words);
  void DoFocus(Words& words);
  void DoType(Words& words);
  void DoPaste(Words& words);
  void DoBackspace(Words& words);
  void DoSet(Words& words);
  void DoTab(Words& words);
  void DoBackTab(Words& words);
  void DoKey(Words& words);
  // A move of the focus in tab order: a failure is named by the LostFocus handler of the control
  // that had the focus, else by the GotFocus of the one that took it.
  void MoveInTabOrder(const std::function<void()>& move);
  void DoPage(Words& words);
  void DoTick(Words& words);
  void DoUpDown(Words& words);
  void DoClose(Words& words);
  void DoDriver(Words& words);
  void DoDump(Words& words);
  // A user's edit of text box `id` by `command`: the kind, then the focus, then the edit.
  void Edit(std::string_view command, forms::ControlId id,
            const std::function<forms::Refusal()>& edit);
  // Runs `action` as the routine `routine`: a failure that reaches here is printed, the end of
  // the program is noted. True when the action ran to its end.
  bool RunAs(std::string_view routine, const std::function<void()>& action);
  // The same, for an action whose routine is known only once it failed (which control the
  // focus reached, which option an arrow chose).
  bool Run(const std::function<void()>& action, const std::function<std::string()>& routine);
  // Prints a refusal; true when the action was refused.
  bool Refused(forms::ControlId id, forms::Refusal refusal);

  forms::ControlId ControlOf(std::string_view name) const;
  forms::ControlId FirstOfKind(forms::Kind kind) const;
  // The handler `control`_`notification` when the program has it, else "".
  std::string Handler(forms::ControlId id, std::string_view notification) const;
  // The routine a move of the focus to `target` runs first.
  std::string FocusRoutine(forms::ControlId target) const;
  // Moves the focus to `id` as a user action does before acting on a control. False when the
  // action is refused (printed) or the program ended.
  bool FocusFirst(forms::ControlId id);

  void DumpState();
  void DumpRow(int row);
  void DumpTable();
  void DumpForm();
  void DumpControl(forms::ControlId id);

  std::ostream& out_;
  device::ScriptedDevice scripted_;
  device::TracingDevice tracer_;
  Program program_;
  std::set<std::string, std::less<>> routines_;
  bool scripted_driver_ = true;
  bool started_ = false;
  bool ended_ = false;
};

}  // namespace ketra::session

#endif  // KETRA_TOOLS_KETRA_SESSION_SESSION_H_
