// window_probe.exe: drives and reads the running panel window from another process, for the
// tests under Wine. Prints JSON Lines.
//
//   window_probe wait             wait for the window (2 min: the first start of a prefix also
//                                 starts its desktop), print its client size
//   window_probe layout           every control shown: its rectangle on the client area, the
//                                 layout table's rectangle at the screen's DPI, and how many
//                                 colours the screen shows inside it
//   window_probe names            every control shown: its name and role through MSAA
//   window_probe box              wait for a message box of a program without a window (its load
//                                 ended it), print its text and style, answer it with Enter
//   window_probe steps FILE       each line of FILE is one row of steps, separated by ';':
//                                 key SPEC | type "TEXT" | click NAME | click NAME:PAGE; after a
//                                 row, the message boxes it opened (answered with Enter) and
//                                 the window's state
#include <windows.h>

#include <commctrl.h>
#include <objbase.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <string>

#include <nlohmann/json.hpp>

#include "tests/win32/accessible_names.h"
#include "tests/win32/native_input.h"
#include "tests/win32/panel_window.h"
#include "window/win32/layout_pixels.h"

namespace {

using ketra::probe::PanelWindow;

int ScreenDpi() {
  HDC screen = GetDC(nullptr);
  const int dpi = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return dpi;
}

// The screen rectangle of a tab of a tab control in another process.
bool TabItemRect(HWND tab, int page, RECT* rect) {
  DWORD process_id = 0;
  GetWindowThreadProcessId(tab, &process_id);
  HANDLE process =
      OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE, FALSE, process_id);
  if (process == nullptr) return false;
  void* remote = VirtualAllocEx(process, nullptr, sizeof(RECT), MEM_COMMIT, PAGE_READWRITE);
  bool ok = remote != nullptr &&
            SendMessageA(tab, TCM_GETITEMRECT, static_cast<WPARAM>(page),
                         reinterpret_cast<LPARAM>(remote)) &&
            ReadProcessMemory(process, remote, rect, sizeof(RECT), nullptr);
  if (remote != nullptr) VirtualFreeEx(process, remote, 0, MEM_RELEASE);
  CloseHandle(process);
  if (ok) MapWindowPoints(tab, nullptr, reinterpret_cast<POINT*>(rect), 2);
  return ok;
}

POINT Centre(const RECT& rect) {
  return {(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
}

std::string Trim(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// One native step; false with a message on standard error when it cannot be read.
bool Step(const PanelWindow& panel, const std::string& step) {
  const auto blank = step.find(' ');
  const std::string verb = step.substr(0, blank);
  const std::string argument = blank == std::string::npos ? "" : Trim(step.substr(blank + 1));
  SetForegroundWindow(panel.dialog());
  if (verb == "key") return ketra::probe::PressKey(argument);
  if (verb == "type")
    return ketra::probe::TypeText(nlohmann::json::parse(argument).get<std::string>());
  if (verb == "click") {
    const auto colon = argument.find(':');
    HWND control = panel.Control(argument.substr(0, colon));
    if (control == nullptr) return false;
    RECT rect{};
    if (colon != std::string::npos) {
      if (!TabItemRect(control, std::stoi(argument.substr(colon + 1)), &rect)) return false;
    } else {
      GetWindowRect(control, &rect);
      // A drop-down list's window reaches over its list: click its box.
      if (GetWindowLongA(control, GWL_STYLE) & CBS_DROPDOWNLIST) {
        COMBOBOXINFO info{};
        info.cbSize = sizeof(info);
        if (GetComboBoxInfo(control, &info)) {
          rect = info.rcItem;
          MapWindowPoints(control, nullptr, reinterpret_cast<POINT*>(&rect), 2);
        }
      }
    }
    ketra::probe::ClickAt(Centre(rect));
    return true;
  }
  return false;
}

int RunSteps(PanelWindow& panel, const std::string& path) {
  std::ifstream file(path);
  if (!file) {
    std::cerr << "window_probe: cannot open " << path << '\n';
    return 2;
  }
  std::string line;
  int row = 0;
  while (std::getline(file, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    ++row;
    std::stringstream steps(line);
    std::string step;
    while (std::getline(steps, step, ';')) {
      step = Trim(step);
      if (step.empty()) continue;
      if (!IsWindow(panel.dialog())) break;
      if (!Step(panel, step)) {
        std::cerr << "window_probe: row " << row << ": cannot perform " << step << '\n';
        return 2;
      }
    }
    nlohmann::json boxes = nlohmann::json::array();
    for (int round = 0; round < 10 && IsWindow(panel.dialog()); ++round) {
      panel.Settle();
      HWND box = panel.OpenBox();
      if (box == nullptr) break;
      Sleep(150);  // the box paints its icon
      const ketra::probe::BoxSeen seen = panel.ReadBox(box);
      boxes.push_back({{"text", seen.text}, {"style", seen.style}});
      SetForegroundWindow(box);
      ketra::probe::PressKey("Return");
      for (int wait = 0; wait < 50 && IsWindow(box); ++wait) Sleep(50);
    }
    nlohmann::json out = {{"row", row}, {"boxes", boxes}};
    // The window may be on its way out after the program ended.
    for (int wait = 0;
         wait < 20 && IsWindow(panel.dialog()) && IsWindowVisible(panel.dialog()) == FALSE; ++wait)
      Sleep(100);
    if (IsWindow(panel.dialog()) && IsWindowVisible(panel.dialog())) {
      out["state"] = panel.State();
    } else {
      out["ended"] = true;
    }
    std::cout << out.dump() << std::endl;
  }
  return 0;
}

int PrintLayout(const PanelWindow& panel) {
  const int dpi = ScreenDpi();
  const ketra::probe::ScreenCapture capture;
  for (ketra::forms::ControlId id = 0; id < panel.form().size(); ++id) {
    HWND hwnd = panel.Control(id);
    if (hwnd == nullptr || !IsWindowVisible(hwnd)) continue;
    const ketra::forms::Control& control = panel.form().at(id);
    const RECT shown = panel.ClientRectOf(hwnd);
    const ketra::window::win32::PixelRect laid =
        ketra::window::win32::ClientRect(panel.form(), id, dpi);
    RECT screen{};
    GetWindowRect(hwnd, &screen);
    // A drop-down list's window reaches over its closed list: only its box is seen.
    if (control.kind == ketra::forms::Kind::kComboBox) screen.bottom = screen.top + laid.height();
    std::set<unsigned> colours;
    for (int y = screen.top; y < screen.bottom; y += 2) {
      for (int x = screen.left; x < screen.right; x += 2) colours.insert(capture.Pixel(x, y));
    }
    std::cout << nlohmann::json{{"control", control.name},
                                {"kind", ketra::forms::KindName(control.kind)},
                                {"rect", {shown.left, shown.top, shown.right, shown.bottom}},
                                {"layout", {laid.left, laid.top, laid.right, laid.bottom}},
                                {"colours", colours.size()}}
                     .dump()
              << std::endl;
  }
  return 0;
}

std::string PictureOf(const nlohmann::json& state, const std::string& name) {
  for (const nlohmann::json& control : state["controls"]) {
    if (control["control"] == name && control.contains("picture")) return control["picture"];
  }
  return "";
}

int PrintNames(const PanelWindow& panel) {
  const nlohmann::json state = panel.State();
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  for (ketra::forms::ControlId id = 0; id < panel.form().size(); ++id) {
    HWND hwnd = panel.Control(id);
    if (hwnd == nullptr || !IsWindowVisible(hwnd)) continue;
    const ketra::forms::Control& control = panel.form().at(id);
    const ketra::probe::AccessibleView view = ketra::probe::ReadAccessible(hwnd);
    const std::string label =
        control.named_by >= 0 ? panel.form().at(control.named_by).caption : std::string();
    std::cout << nlohmann::json{{"control", control.name},
                                {"kind", ketra::forms::KindName(control.kind)},
                                {"caption", control.caption},
                                {"label", label},
                                // A lamp's picture as the screen shows it.
                                {"picture", PictureOf(state, control.name)},
                                {"found", view.found},
                                {"name", view.name},
                                {"role_text", view.role_text}}
                     .dump()
              << std::endl;
  }
  CoUninitialize();
  return 0;
}

}  // namespace

// A message box shown before any window of the program: a top-level dialog with the box's text.
int AnswerBox() {
  PanelWindow reader;
  for (int waited = 0; waited < 120000; waited += 100) {
    HWND box = FindWindowA("#32770", nullptr);
    if (box != nullptr && IsWindowVisible(box) && GetDlgItem(box, 0xFFFF) != nullptr) {
      Sleep(300);  // the box paints its icon
      const ketra::probe::BoxSeen seen = reader.ReadBox(box);
      std::cout << nlohmann::json{{"text", seen.text}, {"style", seen.style}}.dump() << std::endl;
      SetForegroundWindow(box);
      ketra::probe::PressKey("Return");
      return 0;
    }
    Sleep(100);
  }
  std::cerr << "window_probe: no message box appeared\n";
  return 1;
}

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: window_probe wait|layout|names|box|steps FILE\n";
    return 2;
  }
  const std::string command = argv[1];
  if (command == "box") return AnswerBox();
  PanelWindow panel;
  if (!panel.Wait(command == "wait" ? 120000 : 5000)) {
    std::cerr << "window_probe: the panel's window did not appear\n";
    return 1;
  }
  if (command == "wait") {
    RECT client{};
    GetClientRect(panel.dialog(), &client);
    std::cout << nlohmann::json{{"width", client.right}, {"height", client.bottom}}.dump()
              << std::endl;
    return 0;
  }
  if (command == "layout") return PrintLayout(panel);
  if (command == "names") return PrintNames(panel);
  if (command == "steps" && argc == 3) return RunSteps(panel, argv[2]);
  std::cerr << "window_probe: unknown command " << command << '\n';
  return 2;
}
