#include "tests/win32/panel_window.h"

#include <commctrl.h>

#include <array>
#include <cstdlib>

#include "config_appl/form1/form1_layout.h"
#include "window/win32/layout_pixels.h"
#include "window/win32/native_controls.h"

namespace ketra::probe {
namespace {

using forms::ControlId;
using forms::Kind;

class NoBoxes final : public forms::MessageBoxService {
 public:
  void Show(std::string_view, forms::MsgBoxStyle) override {}
};

std::string TextOf(HWND hwnd) {
  std::array<char, 512> buffer{};
  const auto length =
      SendMessageA(hwnd, WM_GETTEXT, buffer.size(), reinterpret_cast<LPARAM>(buffer.data()));
  return std::string(buffer.data(), static_cast<std::size_t>(length));
}

std::string ClassOf(HWND hwnd) {
  std::array<char, 64> buffer{};
  return std::string(buffer.data(),
                     static_cast<std::size_t>(GetClassNameA(hwnd, buffer.data(), buffer.size())));
}

int Distance(unsigned a, unsigned b) {
  int sum = 0;
  for (int shift : {0, 8, 16})
    sum += std::abs(static_cast<int>((a >> shift) & 0xFF) - static_cast<int>((b >> shift) & 0xFF));
  return sum;
}

// The lamp picture nearest to a pixel's colour; "" when none is near.
std::string PictureOfPixel(unsigned rgb) {
  const std::pair<const char*, unsigned> pictures[] = {
      {"green", 0x00FF80}, {"red", 0xFF0000}, {"grey", 0xC8C8C8}};
  for (const auto& [name, colour] : pictures) {
    if (Distance(rgb, colour) < 24) return name;
  }
  return "";
}

}  // namespace

ScreenCapture::ScreenCapture()
    : width_(GetSystemMetrics(SM_CXSCREEN)), height_(GetSystemMetrics(SM_CYSCREEN)) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width_;
  info.bmiHeader.biHeight = -height_;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  HDC screen = GetDC(nullptr);
  void* bits = nullptr;
  bitmap_ = CreateDIBSection(screen, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  HDC memory = CreateCompatibleDC(screen);
  HGDIOBJ old = SelectObject(memory, bitmap_);
  BitBlt(memory, 0, 0, width_, height_, screen, 0, 0, SRCCOPY);
  SelectObject(memory, old);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  bits_ = static_cast<const unsigned*>(bits);
}

ScreenCapture::~ScreenCapture() {
  if (bitmap_ != nullptr) DeleteObject(bitmap_);
}

unsigned ScreenCapture::Pixel(int x, int y) const {
  if (bits_ == nullptr || x < 0 || y < 0 || x >= width_ || y >= height_) return 0xFFFFFFFFu;
  return bits_[static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(x)] &
         0xFFFFFFu;
}

PanelWindow::PanelWindow()
    : no_boxes_(std::make_unique<NoBoxes>()),
      form_(std::make_unique<forms::Form>(Form1Layout(), *no_boxes_)) {}

PanelWindow::~PanelWindow() = default;

bool PanelWindow::Wait(int timeout_ms) {
  const std::string caption = form_->at(0).caption;
  for (int waited = 0; waited <= timeout_ms; waited += 100) {
    dialog_ = FindWindowA("#32770", caption.c_str());
    if (dialog_ != nullptr && IsWindowVisible(dialog_)) return true;
    Sleep(100);
  }
  return false;
}

HWND PanelWindow::Control(ControlId id) const {
  return GetDlgItem(dialog_, window::win32::kFirstControlIdentifier + id);
}

RECT PanelWindow::ClientRectOf(HWND hwnd) const {
  RECT rect{};
  GetWindowRect(hwnd, &rect);
  MapWindowPoints(nullptr, dialog_, reinterpret_cast<POINT*>(&rect), 2);
  return rect;
}

nlohmann::json PanelWindow::State() const {
  nlohmann::json controls = nlohmann::json::array();
  GUITHREADINFO thread{};
  thread.cbSize = sizeof(thread);
  GetGUIThreadInfo(GetWindowThreadProcessId(dialog_, nullptr), &thread);
  std::string focus;
  const ScreenCapture screen;
  for (ControlId id = 0; id < form_->size(); ++id) {
    HWND hwnd = Control(id);
    if (hwnd == nullptr) continue;
    const forms::Control& control = form_->at(id);
    if (hwnd == thread.hwndFocus) focus = control.name;
    nlohmann::json shown = {
        {"control", control.name},
        {"kind", forms::KindName(control.kind)},
        {"container", control.container >= 0 ? form_->at(control.container).name : ""},
        {"page", control.tab_page},
        // Laid out wholly past the edge of a frame around it: never seen.
        {"clipped_out", window::win32::VisibleRect(*form_, id, 96).width() == 0},
        {"shown", IsWindowVisible(hwnd) != FALSE},
        {"enabled", IsWindowEnabled(hwnd) != FALSE},
    };
    switch (control.kind) {
      case Kind::kFrame:
      case Kind::kLabel:
      case Kind::kButton:
        shown["caption"] = TextOf(hwnd);
        break;
      case Kind::kOption:
        shown["caption"] = TextOf(hwnd);
        shown["value"] = SendMessageA(hwnd, BM_GETCHECK, 0, 0) == BST_CHECKED;
        break;
      case Kind::kTextBox:
        shown["text"] = TextOf(hwnd);
        break;
      case Kind::kComboBox: {
        // Through the wide message: Wine hands another process's ANSI list text back wide.
        nlohmann::json items = nlohmann::json::array();
        const auto count = SendMessageW(hwnd, CB_GETCOUNT, 0, 0);
        for (LRESULT item = 0; item < count; ++item) {
          std::array<wchar_t, 256> wide{};
          const auto length = SendMessageW(hwnd, CB_GETLBTEXT, static_cast<WPARAM>(item),
                                           reinterpret_cast<LPARAM>(wide.data()));
          std::array<char, 512> text{};
          const int size =
              length > 0 ? WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(length),
                                               text.data(), static_cast<int>(text.size()), nullptr,
                                               nullptr)
                         : 0;
          items.push_back(std::string(text.data(), static_cast<std::size_t>(size)));
        }
        shown["items"] = items;
        shown["index"] = SendMessageA(hwnd, CB_GETCURSEL, 0, 0);
        break;
      }
      case Kind::kTab:
        shown["tab_shown"] = SendMessageA(hwnd, TCM_GETCURSEL, 0, 0);
        break;
      case Kind::kImage:
        if (IsWindowVisible(hwnd)) {
          RECT rect{};
          GetWindowRect(hwnd, &rect);
          shown["picture"] = PictureOfPixel(
              screen.Pixel((rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2));
        }
        break;
      default:
        break;
    }
    controls.push_back(shown);
  }
  return {{"focus", focus}, {"controls", controls}};
}

HWND PanelWindow::OpenBox() const {
  DWORD panel_process = 0;
  GetWindowThreadProcessId(dialog_, &panel_process);
  struct Search {
    DWORD process;
    HWND dialog;
    HWND found;
  } search{panel_process, dialog_, nullptr};
  EnumWindows(
      [](HWND hwnd, LPARAM data) -> BOOL {
        auto* s = reinterpret_cast<Search*>(data);
        DWORD process = 0;
        GetWindowThreadProcessId(hwnd, &process);
        if (process != s->process || hwnd == s->dialog || !IsWindowVisible(hwnd)) return TRUE;
        if (ClassOf(hwnd) != "#32770") return TRUE;
        s->found = hwnd;
        return FALSE;
      },
      reinterpret_cast<LPARAM>(&search));
  return search.found;
}

namespace {

// The style a box's icon shows: its colours as the screen shows them now.
std::string IconStyle(HWND box) {
  for (HWND child = GetWindow(box, GW_CHILD); child != nullptr;
       child = GetWindow(child, GW_HWNDNEXT)) {
    if (ClassOf(child) != "Static" || (GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) != SS_ICON ||
        !IsWindowVisible(child)) {
      continue;
    }
    // Wine keeps the icon's static shown, empty, in a box without an icon.
    if (SendMessageA(child, STM_GETICON, 0, 0) == 0) return "plain";
    RECT rect{};
    GetWindowRect(child, &rect);
    const ScreenCapture screen;
    int red = 0, yellow = 0, blue = 0;
    for (int y = rect.top; y < rect.bottom; y += 2) {
      for (int x = rect.left; x < rect.right; x += 2) {
        const unsigned rgb = screen.Pixel(x, y);
        const int r = (rgb >> 16) & 0xFF, g = (rgb >> 8) & 0xFF, b = rgb & 0xFF;
        if (r > 160 && g < 100 && b < 100) ++red;
        if (r > 180 && g > 150 && b < 90) ++yellow;
        if (b > 150 && r < 120) ++blue;
      }
    }
    if (red == 0 && yellow == 0 && blue == 0) return "unknown";
    if (red >= yellow && red >= blue) return "critical";
    return yellow >= blue ? "exclamation" : "information";
  }
  return "plain";
}

}  // namespace

BoxSeen PanelWindow::ReadBox(HWND box) const {
  BoxSeen seen;
  seen.text = TextOf(GetDlgItem(box, 0xFFFF));
  // The box may not have painted itself yet: the same answer twice in a row counts.
  std::string before = IconStyle(box);
  for (int round = 0; round < 10; ++round) {
    Sleep(200);
    seen.style = IconStyle(box);
    if (seen.style == before) break;
    before = seen.style;
  }
  return seen;
}

void PanelWindow::Settle() const {
  DWORD process_id = 0;
  GetWindowThreadProcessId(dialog_, &process_id);
  if (HANDLE process = OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, process_id)) {
    Sleep(50);
    WaitForInputIdle(process, 2000);
    CloseHandle(process);
  }
  nlohmann::json before = State();
  for (int round = 0; round < 20; ++round) {
    Sleep(100);
    if (OpenBox() != nullptr) return;
    nlohmann::json now = State();
    if (now == before) return;
    before = std::move(now);
  }
}

}  // namespace ketra::probe
