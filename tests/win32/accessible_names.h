// What assistive technology reads of the panel's controls through Microsoft Active
// Accessibility: for each control's window, its client object's name and role
// (AccessibleObjectFromWindow, get_accName, get_accRole), as a screen reader gets them.
#ifndef KETRA_TESTS_WIN32_ACCESSIBLE_NAMES_H_
#define KETRA_TESTS_WIN32_ACCESSIBLE_NAMES_H_

#include <windows.h>

#include <string>

namespace ketra::probe {

struct AccessibleView {
  bool found = false;  // an accessible object was given for the window
  long result = 0;     // what AccessibleObjectFromWindow answered
  std::string name;    // UTF-8; empty when it has none
  long role = 0;       // ROLE_SYSTEM_*
  std::string role_text;
};

AccessibleView ReadAccessible(HWND hwnd);

}  // namespace ketra::probe

#endif  // KETRA_TESTS_WIN32_ACCESSIBLE_NAMES_H_
