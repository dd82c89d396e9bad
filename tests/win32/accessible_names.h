// What assistive technology reads of the panel's controls through Microsoft Active
// Accessibility: for each control's window, its client object's name and role
// (AccessibleObjectFromWindow, get_accName, get_accRole), as a screen reader gets them.
#ifndef KETRA_TESTS_WIN32_ACCESSIBLE_NAMES_H_
#define KETRA_TESTS_WIN32_ACCESSIBLE_NAMES_H_

#include <windows.h>

#include <string>

namespace ketra::probe {

struct AccessibleView {
  bool found = false;     // an accessible object was given for the window
  std::string name;       // UTF-8; empty when it has none
  std::string role_text;  // the role as GetRoleText words it
};

AccessibleView ReadAccessible(HWND hwnd);

}  // namespace ketra::probe

#endif  // KETRA_TESTS_WIN32_ACCESSIBLE_NAMES_H_
