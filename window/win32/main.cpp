// ketra.exe: the control panel's window on Windows. The program instance runs on the headless
// form engine with the machine's registry, device calls and files, the same wiring as
// ketra-session.exe; FormWindow draws it with the platform's own controls and passes the user's
// actions back as the engine's user operations. One thread: the engine's and the window's.
#include <windows.h>

#include <commctrl.h>
#include <objbase.h>

#include <exception>
#include <memory>
#include <string>
#include <tuple>

#include "config_appl/app/program.h"
#include "tools/machine/machine.h"
#include "window/win32/form_window.h"
#include "window/win32/message_boxes_win32.h"
#include "window/win32/resources.h"

namespace {

// COM on the window's thread, for its life: the accessible objects the window gives assistive
// tools (labelled_accessible.h) reach them through COM's marshalling.
class ComApartment {
 public:
  ComApartment() : initialized_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;
  ~ComApartment() {
    if (initialized_) CoUninitialize();
  }

 private:
  bool initialized_;
};

int RunPanel(HINSTANCE instance) {
  // The program has no command line; on Windows the settings live in the system registry.
  const std::string no_hive;
  const std::unique_ptr<ketra::registry::Registry> registry = ketra::machine::OpenRegistry(no_hive);
  const std::unique_ptr<ketra::device::DeviceIo> device = ketra::machine::MakeSystemDevice();
  const std::unique_ptr<ketra::forms::AppServices> app = ketra::machine::MakeApp("", no_hive);
  const std::unique_ptr<ketra::runtime::FileSystem> files = ketra::machine::MakeFileSystem();
  ketra::window::win32::Win32MessageBoxes boxes;
  ketra::Program program(ketra::Platform{*registry, *device, *app, *files, boxes});
  try {
    program.Start();
  } catch (const ketra::forms::ProgramEnded&) {
    return 0;  // a second instance, or no ports: the load ended the program
  }
  ketra::window::win32::FormWindow window(program.form(), instance);
  if (window.hwnd() == nullptr) throw std::runtime_error("the window could not be created");
  // The program's icon on the title bar and the task bar (shared: the system frees it).
  for (const auto& [which, width, height] : {std::tuple{ICON_BIG, SM_CXICON, SM_CYICON},
                                             std::tuple{ICON_SMALL, SM_CXSMICON, SM_CYSMICON}}) {
    HANDLE icon = LoadImageA(instance, MAKEINTRESOURCEA(KETRA_ICON), IMAGE_ICON,
                             GetSystemMetrics(width), GetSystemMetrics(height), LR_SHARED);
    SendMessageA(window.hwnd(), WM_SETICON, which, reinterpret_cast<LPARAM>(icon));
  }
  boxes.SetOwner(window.hwnd());
  window.Run();
  return 0;
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
  INITCOMMONCONTROLSEX controls{};
  controls.dwSize = sizeof(controls);
  controls.dwICC = ICC_STANDARD_CLASSES | ICC_TAB_CLASSES | ICC_UPDOWN_CLASS;
  InitCommonControlsEx(&controls);
  const ComApartment com;
  try {
    return RunPanel(instance);
  } catch (const std::exception& error) {
    // Nothing below handles it: say what stopped the program instead of vanishing.
    const std::string text = std::string("ketra: stopped by an unexpected error: ") + error.what();
    MessageBoxA(nullptr, text.c_str(), "", MB_OK | MB_ICONHAND);
    return 1;
  }
}
