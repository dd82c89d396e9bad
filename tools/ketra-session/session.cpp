// The command interpreter. A command either cannot be read (an `error` event, the session goes
// on), is refused by the form (a `refused` event), or runs; while it runs the program's message
// boxes and device calls are printed as they happen, and a failure that no routine handled is
// printed with the routine the command ran.
#include "tools/ketra-session/session.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <exception>
#include <optional>
#include <span>
#include <stdexcept>
#include <utility>

#include "platform/runtime/codepage.h"
#include "platform/runtime/strings.h"

namespace ketra::session {
namespace {

bool IsBlank(char ch) { return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n'; }

// The blanks of IsBlank.
std::string_view Trim(std::string_view text) { return runtime::TrimAny(text, " \t\r\n"); }

std::optional<int> ParseInt(std::string_view text) {
  int value = 0;
  const char* end = text.data() + text.size();
  const auto [ptr, ec] = std::from_chars(text.data(), end, value);
  if (ec != std::errc() || ptr != end || text.empty()) return std::nullopt;
  return value;
}

}  // namespace

struct Session::BadLine {
  std::string message;
};

struct Session::Words {
  std::string_view rest;

  // The next blank-separated word, or "" at the end of the line.
  std::string_view Next() {
    rest = Trim(rest);
    size_t end = 0;
    while (end < rest.size() && !IsBlank(rest[end])) ++end;
    const std::string_view word = rest.substr(0, end);
    rest.remove_prefix(end);
    return word;
  }
  std::string_view Required(std::string_view what) {
    const std::string_view word = Next();
    if (word.empty()) throw BadLine{"missing " + std::string(what)};
    return word;
  }
  void End() {
    if (!Trim(rest).empty()) throw BadLine{"unexpected text " + std::string(Trim(rest))};
  }
  int Number(std::string_view what, int low, int high) {
    const std::string_view word = Required(what);
    const std::optional<int> value = ParseInt(word);
    if (!value || *value < low || *value > high) {
      throw BadLine{std::string(what) + " must be a whole number from " + std::to_string(low) +
                    " to " + std::to_string(high) + ", not " + std::string(word)};
    }
    return *value;
  }
  // The rest of the line as one JSON string literal, taken into the program's code page.
  std::string Text() {
    const std::string_view literal = Trim(rest);
    rest = {};
    if (literal.empty()) throw BadLine{"missing TEXT, a JSON string literal"};
    Json parsed;
    try {
      parsed = Json::parse(literal);
    } catch (const Json::parse_error&) {
      throw BadLine{"TEXT is no JSON string literal: " + std::string(literal)};
    }
    if (!parsed.is_string())
      throw BadLine{"TEXT is no JSON string literal: " + std::string(literal)};
    return runtime::Utf8ToAnsi(parsed.get_ref<const std::string&>());
  }
};

Session::Session(const Environment& environment, std::ostream& out)
    : out_(out),
      tracer_(environment.system_device != nullptr ? *environment.system_device : scripted_,
              [this](const device::DeviceCall& call) { Print(DeviceEvent(call)); }),
      program_(Platform{environment.registry, tracer_, environment.app, environment.files, *this}),
      scripted_driver_(environment.system_device == nullptr) {
  for (const std::string_view name : Program::RoutineNames()) routines_.emplace(name);
}

Session::~Session() = default;

void Session::Show(std::string_view text, forms::MsgBoxStyle style) {
  Print(MsgBoxEvent(text, style));
}

void Session::Print(const Json& line) { out_ << line.dump() << std::endl; }

void Session::Run(std::istream& in) {
  std::string line;
  int number = 0;
  while (!ended_ && std::getline(in, line)) {
    if (!Execute(line, ++number)) break;
  }
}

bool Session::Execute(std::string_view line, int line_number) {
  if (ended_) return false;
  const std::string_view trimmed = Trim(line);
  if (trimmed.empty() || trimmed.front() == '#') return true;
  Words words{trimmed};
  try {
    Dispatch(words);
  } catch (const BadLine& bad) {
    Print(ErrorEvent(line_number, bad.message));
  }
  if (ended_) Print(EndedEvent());
  return !ended_;
}

bool Session::RunAs(std::string_view routine, const std::function<void()>& action) {
  return Run(action, [&] { return std::string(routine); });
}

bool Session::Run(const std::function<void()>& action,
                  const std::function<std::string()>& routine) {
  const forms::ActionOutcome outcome = forms::RunUserAction(
      action, [&](std::string_view reason) { Print(FailureEvent(routine(), reason)); });
  if (outcome == forms::ActionOutcome::kProgramEnded) ended_ = true;
  return outcome == forms::ActionOutcome::kDone;
}

bool Session::Refused(forms::ControlId id, forms::Refusal refusal) {
  if (refusal == forms::Refusal::kNone) return false;
  Print(RefusedEvent(program_.form().at(id).name, refusal));
  return true;
}

forms::ControlId Session::ControlOf(std::string_view name) const {
  const forms::ControlId id = program_.form().Find(runtime::Utf8ToAnsi(name));
  if (id == forms::kNoControl) throw BadLine{"unknown control " + std::string(name)};
  return id;
}

forms::ControlId Session::FirstOfKind(forms::Kind kind) const {
  const forms::Form& form = program_.form();
  for (forms::ControlId id = 0; id < form.size(); ++id) {
    if (form.at(id).kind == kind) return id;
  }
  throw BadLine{"the form has no " + std::string(forms::KindName(kind))};
}

std::string Session::Handler(forms::ControlId id, std::string_view notification) const {
  if (id == forms::kNoControl) return "";
  const forms::Control& control = program_.form().at(id);
  // The form's own handlers carry the name "Form", as StartUp does.
  const std::string owner = control.kind == forms::Kind::kForm ? "Form" : control.name;
  std::string name = owner + "_" + std::string(notification);
  return routines_.count(name) > 0 ? name : "";
}

std::string Session::FocusRoutine(forms::ControlId target) const {
  const forms::ControlId old = program_.form().focus();
  if (old != target) {
    if (std::string lost = Handler(old, "LostFocus"); !lost.empty()) return lost;
  }
  if (std::string got = Handler(target, "GotFocus"); !got.empty()) return got;
  // No handler runs; name the notification all the same.
  return program_.form().at(target).name + "_GotFocus";
}

bool Session::FocusFirst(forms::ControlId id) {
  forms::Form& form = program_.form();
  if (Refused(id, form.Reach(id))) return false;
  if (form.focus() == id) return true;
  forms::Refusal refusal = forms::Refusal::kNone;
  // A failure while the focus moves ends the action: what follows does not run.
  if (!RunAs(FocusRoutine(id), [&] { refusal = form.Focus(id); })) return false;
  return !Refused(id, refusal);
}

// The commands, as Program's table holds the routines: a name and the member that reads and
// runs the rest of the line.
struct Session::Command {
  std::string_view name;
  void (Session::*run)(Words&);
};

std::span<const Session::Command> Session::Commands() {
  static constexpr Command kCommands[] = {
      {"start", &Session::DoStart},     {"call", &Session::DoCall},
      {"click", &Session::DoClick},     {"choose", &Session::DoChoose},
      {"focus", &Session::DoFocus},     {"type", &Session::DoType},
      {"paste", &Session::DoPaste},     {"backspace", &Session::DoBackspace},
      {"set", &Session::DoSet},         {"tab", &Session::DoTab},
      {"backtab", &Session::DoBackTab}, {"key", &Session::DoKey},
      {"page", &Session::DoPage},       {"tick", &Session::DoTick},
      {"updown", &Session::DoUpDown},   {"close", &Session::DoClose},
      {"driver", &Session::DoDriver},   {"dump", &Session::DoDump},
  };
  return kCommands;
}

void Session::Dispatch(Words& words) {
  const std::string_view command = words.Next();
  for (const Command& entry : Commands()) {
    if (entry.name == command) {
      (this->*entry.run)(words);
      return;
    }
  }
  throw BadLine{"unknown command " + std::string(command)};
}

void Session::DoStart(Words& words) {
  words.End();
  if (started_) throw BadLine{"the program has already started"};
  started_ = true;
  RunAs("Form_Load", [&] { program_.Start(); });
}

void Session::DoCall(Words& words) {
  const std::string routine(words.Required("ROUTINE"));
  words.End();
  bool known = true;
  RunAs(routine, [&] { known = program_.Call(routine); });
  if (!known) throw BadLine{"unknown routine " + routine};
}

void Session::DoClick(Words& words) {
  forms::Form& form = program_.form();
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  words.End();
  const forms::Kind kind = form.at(id).kind;
  if (kind != forms::Kind::kButton && kind != forms::Kind::kOption) {
    throw BadLine{"click applies to buttons and option buttons, not " + form.at(id).name};
  }
  if (!FocusFirst(id)) return;
  forms::Refusal refusal = forms::Refusal::kNone;
  RunAs(form.at(id).name + "_Click", [&] { refusal = form.Click(id); });
  Refused(id, refusal);
}

void Session::DoChoose(Words& words) {
  forms::Form& form = program_.form();
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  const std::string entry = words.Text();
  const forms::Control& box = form.at(id);
  if (box.kind != forms::Kind::kComboBox) {
    throw BadLine{"choose applies to combo boxes, not " + box.name};
  }
  if (std::find(box.items.begin(), box.items.end(), entry) == box.items.end()) {
    throw BadLine{box.name + " has no entry " + runtime::AnsiToUtf8(entry)};
  }
  if (!FocusFirst(id)) return;
  forms::Refusal refusal = forms::Refusal::kNone;
  RunAs(box.name + "_Click", [&] { refusal = form.Choose(id, entry); });
  Refused(id, refusal);
}

void Session::DoFocus(Words& words) {
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  words.End();
  if (!forms::TakesFocus(program_.form().at(id).kind)) {
    throw BadLine{program_.form().at(id).name + " cannot take the focus"};
  }
  FocusFirst(id);
}

void Session::DoType(Words& words) {
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  const std::string text = words.Text();
  Edit("type", id, [&] { return program_.form().Type(id, text); });
}

void Session::DoPaste(Words& words) {
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  const std::string text = words.Text();
  Edit("paste", id, [&] { return program_.form().Paste(id, text); });
}

void Session::DoBackspace(Words& words) {
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  words.End();
  Edit("backspace", id, [&] { return program_.form().Backspace(id); });
}

void Session::Edit(std::string_view command, forms::ControlId id,
                   const std::function<forms::Refusal()>& edit) {
  const forms::Control& box = program_.form().at(id);
  if (box.kind != forms::Kind::kTextBox) {
    throw BadLine{std::string(command) + " applies to text boxes, not " + box.name};
  }
  if (!FocusFirst(id)) return;
  forms::Refusal refusal = forms::Refusal::kNone;
  RunAs(box.name + "_Change", [&] { refusal = edit(); });
  Refused(id, refusal);
}

void Session::DoSet(Words& words) {
  forms::Form& form = program_.form();
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  const std::string text = words.Text();
  const forms::Control& control = form.at(id);
  // The routine that runs: a box's Change, the list's Click; a caption has no handler.
  std::string routine = control.name;
  if (control.kind == forms::Kind::kTextBox) {
    routine += "_Change";
  } else if (control.kind == forms::Kind::kComboBox) {
    routine += "_Click";
  } else if (!forms::HasCaption(control.kind)) {
    throw BadLine{control.name + " has no text"};
  }
  RunAs(routine, [&] { form.SetText(id, text); });
}

void Session::DoTab(Words& words) {
  words.End();
  MoveInTabOrder([this] { program_.form().Tab(); });
}

void Session::DoBackTab(Words& words) {
  words.End();
  MoveInTabOrder([this] { program_.form().BackTab(); });
}

void Session::MoveInTabOrder(const std::function<void()>& move) {
  forms::Form& form = program_.form();
  const std::string lost_focus = Handler(form.focus(), "LostFocus");
  // With no LostFocus handler behind a failure, the focus has reached the new control.
  Run(move, [&] { return lost_focus.empty() ? FocusRoutine(form.focus()) : lost_focus; });
}

void Session::DoKey(Words& words) {
  static constexpr std::pair<std::string_view, forms::Key> kKeys[] = {
      {"Up", forms::Key::kUp},       {"Down", forms::Key::kDown},   {"Left", forms::Key::kLeft},
      {"Right", forms::Key::kRight}, {"Space", forms::Key::kSpace}, {"Home", forms::Key::kHome},
      {"End", forms::Key::kEnd},
  };
  forms::Form& form = program_.form();
  const forms::ControlId id = ControlOf(words.Required("NAME"));
  const std::string_view key_name = words.Required("KEY");
  words.End();
  const auto* key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                 [&](const auto& entry) { return entry.first == key_name; });
  if (key == std::end(kKeys)) {
    throw BadLine{"unknown key " + std::string(key_name) +
                  ", not one of Up, Down, Left, Right, Space, Home, End"};
  }
  const forms::Control& control = form.at(id);
  if (!forms::TakesFocus(control.kind)) throw BadLine{control.name + " cannot take the focus"};
  if (!FocusFirst(id)) return;
  // What the key raises: an option's or the list's Click, a box's Change, an arrow of the
  // up-down control. An arrow on an option selects another one, which then has the focus.
  const auto routine = [&]() -> std::string {
    const forms::Control& now = form.at(form.focus());
    switch (control.kind) {
      case forms::Kind::kTextBox:
        return control.name + "_Change";
      case forms::Kind::kUpDown:
        return control.name + (key->second == forms::Key::kDown ? "_DownClick" : "_UpClick");
      case forms::Kind::kTab:
        return FocusRoutine(id);
      default:
        return now.name + "_Click";
    }
  };
  forms::Refusal refusal = forms::Refusal::kNone;
  Run([&] { refusal = form.Press(id, key->second); }, routine);
  Refused(id, refusal);
}

void Session::DoPage(Words& words) {
  forms::Form& form = program_.form();
  const int page = words.Number("page N", 0, 1000);
  words.End();
  const forms::ControlId tab = FirstOfKind(forms::Kind::kTab);
  if (page >= static_cast<int>(form.at(tab).tabs.size())) {
    throw BadLine{"the tab control has no page " + std::to_string(page)};
  }
  // Showing a page puts the focus on the tab control, as a click on its strip does.
  if (Refused(tab, form.Reach(tab))) return;
  RunAs(FocusRoutine(tab), [&] { form.ShowPage(page); });
}

void Session::DoTick(Words& words) {
  words.End();
  forms::Form& form = program_.form();
  const forms::ControlId timer = FirstOfKind(forms::Kind::kTimer);
  RunAs(form.at(timer).name + "_Timer", [&] { form.Tick(timer); });
}

void Session::DoUpDown(Words& words) {
  forms::Form& form = program_.form();
  const std::string_view arrow = words.Required("up or down");
  words.End();
  if (arrow != "up" && arrow != "down") throw BadLine{"updown takes up or down"};
  const forms::ControlId updown = FirstOfKind(forms::Kind::kUpDown);
  const bool up = arrow == "up";
  forms::Refusal refusal = forms::Refusal::kNone;
  RunAs(form.at(updown).name + (up ? "_UpClick" : "_DownClick"),
        [&] { refusal = up ? form.UpClick(updown) : form.DownClick(updown); });
  Refused(updown, refusal);
}

void Session::DoClose(Words& words) {
  words.End();
  RunAs("Form_Unload", [&] { program_.form().Close(); });
}

void Session::DoDriver(Words& words) {
  const std::string_view mode = words.Required("driver mode");
  int status = 0;
  if (mode == "status") status = words.Number("status N", 0, 255);
  words.End();
  if (mode != "auto" && mode != "status" && mode != "silent" && mode != "open-fails") {
    throw BadLine{"unknown driver mode " + std::string(mode)};
  }
  if (!scripted_driver_) throw BadLine{"driver commands steer the scripted driver only"};
  if (mode == "auto") {
    scripted_.SetAuto();
  } else if (mode == "status") {
    scripted_.SetStatus(static_cast<std::uint8_t>(status));
  } else if (mode == "silent") {
    scripted_.SetSilent();
  } else {
    scripted_.SetOpenFails();
  }
}

void Session::DoDump(Words& words) {
  const std::string_view what = words.Required("what to dump");
  if (what == "state") {
    words.End();
    DumpState();
  } else if (what == "row") {
    const int row = words.Number("row N", 0, kPortTableRows - 1);
    words.End();
    DumpRow(row);
  } else if (what == "table") {
    words.End();
    DumpTable();
  } else if (what == "form") {
    words.End();
    DumpForm();
  } else if (what == "control") {
    const forms::ControlId id = ControlOf(words.Required("NAME"));
    words.End();
    DumpControl(id);
  } else {
    throw BadLine{"unknown dump " + std::string(what)};
  }
}

void Session::DumpState() { Print(StateJson(program_)); }

void Session::DumpRow(int row) { Print(RowJson(program_, row)); }

void Session::DumpTable() {
  const int last = std::min<int>(program_.decl().LastPort, kPortTableRows - 1);
  for (int row = 0; row <= last; ++row) DumpRow(row);
}

void Session::DumpForm() {
  for (forms::ControlId id = 0; id < program_.form().size(); ++id) DumpControl(id);
}

void Session::DumpControl(forms::ControlId id) { Print(ControlJson(program_.form().at(id))); }

}  // namespace ketra::session
