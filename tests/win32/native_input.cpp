#include "tests/win32/native_input.h"

#include <cctype>
#include <utility>
#include <vector>

namespace ketra::probe {
namespace {

INPUT Key(WORD virtual_key, bool up) {
  INPUT input{};
  input.type = INPUT_KEYBOARD;
  input.ki.wVk = virtual_key;
  input.ki.wScan = static_cast<WORD>(MapVirtualKeyA(virtual_key, MAPVK_VK_TO_VSC));
  input.ki.dwFlags = up ? KEYEVENTF_KEYUP : 0;
  switch (virtual_key) {
    case VK_LEFT:
    case VK_RIGHT:
    case VK_UP:
    case VK_DOWN:
    case VK_HOME:
    case VK_END:
      input.ki.dwFlags |= KEYEVENTF_EXTENDEDKEY;
      break;
    default:
      break;
  }
  return input;
}

void Chord(const std::vector<WORD>& modifiers, WORD virtual_key) {
  std::vector<INPUT> inputs;
  for (const WORD modifier : modifiers) inputs.push_back(Key(modifier, false));
  inputs.push_back(Key(virtual_key, false));
  inputs.push_back(Key(virtual_key, true));
  for (auto it = modifiers.rbegin(); it != modifiers.rend(); ++it) inputs.push_back(Key(*it, true));
  SendInput(static_cast<UINT>(inputs.size()), inputs.data(), sizeof(INPUT));
  Sleep(30);
}

WORD NamedKey(const std::string& name) {
  static const std::pair<const char*, WORD> kKeys[] = {
      {"Tab", VK_TAB},       {"Up", VK_UP},         {"Down", VK_DOWN},     {"Left", VK_LEFT},
      {"Right", VK_RIGHT},   {"Home", VK_HOME},     {"End", VK_END},       {"space", VK_SPACE},
      {"Return", VK_RETURN}, {"Escape", VK_ESCAPE}, {"BackSpace", VK_BACK}};
  for (const auto& [key_name, key] : kKeys) {
    if (name == key_name) return key;
  }
  if (name.size() == 1 && std::isalnum(static_cast<unsigned char>(name[0]))) {
    return static_cast<WORD>(std::toupper(static_cast<unsigned char>(name[0])));
  }
  return 0;
}

}  // namespace

bool PressKey(const std::string& spec) {
  std::vector<WORD> modifiers;
  std::string rest = spec;
  for (;;) {
    const auto plus = rest.find('+');
    if (plus == std::string::npos || plus + 1 == rest.size()) break;
    const std::string modifier = rest.substr(0, plus);
    if (modifier == "shift") {
      modifiers.push_back(VK_SHIFT);
    } else if (modifier == "alt") {
      modifiers.push_back(VK_MENU);
    } else {
      return false;
    }
    rest = rest.substr(plus + 1);
  }
  const WORD key = NamedKey(rest);
  if (key == 0) return false;
  Chord(modifiers, key);
  return true;
}

bool TypeText(const std::string& text) {
  for (const char ch : text) {
    const SHORT scan = VkKeyScanA(ch);
    if (scan == -1) return false;
    std::vector<WORD> modifiers;
    if (scan & 0x100) modifiers.push_back(VK_SHIFT);
    if (scan & 0x200) modifiers.push_back(VK_CONTROL);
    if (scan & 0x400) modifiers.push_back(VK_MENU);
    Chord(modifiers, static_cast<WORD>(scan & 0xFF));
  }
  return true;
}

void ClickAt(POINT screen) {
  const int width = GetSystemMetrics(SM_CXSCREEN);
  const int height = GetSystemMetrics(SM_CYSCREEN);
  INPUT inputs[3] = {};
  for (INPUT& input : inputs) {
    input.type = INPUT_MOUSE;
    input.mi.dx = static_cast<LONG>((screen.x * 65535LL + width / 2) / (width - 1));
    input.mi.dy = static_cast<LONG>((screen.y * 65535LL + height / 2) / (height - 1));
    input.mi.dwFlags = MOUSEEVENTF_ABSOLUTE | MOUSEEVENTF_MOVE;
  }
  inputs[1].mi.dwFlags |= MOUSEEVENTF_LEFTDOWN;
  inputs[2].mi.dwFlags |= MOUSEEVENTF_LEFTUP;
  SendInput(1, &inputs[0], sizeof(INPUT));
  Sleep(30);
  SendInput(2, &inputs[1], sizeof(INPUT));
  Sleep(30);
}

}  // namespace ketra::probe
