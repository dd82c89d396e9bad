// Key presses and mouse clicks sent to the panel through the platform's input (SendInput), as a
// user's would arrive: through the system's input queue to the window that has the keyboard.
#ifndef KETRA_TESTS_WIN32_NATIVE_INPUT_H_
#define KETRA_TESTS_WIN32_NATIVE_INPUT_H_

#include <windows.h>

#include <string>

namespace ketra::probe {

// A key with its modifiers (shift, alt), such as "Tab", "shift+Tab", "alt+a", "Down", "space".
// False for a name it does not know.
bool PressKey(const std::string& spec);
// Each character typed with the keys that make it on the keyboard layout.
bool TypeText(const std::string& text);
// A click of the left button at a point of the screen.
void ClickAt(POINT screen);

}  // namespace ketra::probe

#endif  // KETRA_TESTS_WIN32_NATIVE_INPUT_H_
