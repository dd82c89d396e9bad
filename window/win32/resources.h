// The identifiers of ketra.exe's resources (ketra.rc), for the resource script and the program.
#ifndef KETRA_WINDOW_WIN32_RESOURCES_H_
#define KETRA_WINDOW_WIN32_RESOURCES_H_

// The program's icon, drawn by packaging/windows/make_icon.py. The first icon of the file is
// the one the shell shows for it, and its shortcuts.
#define KETRA_ICON 1

#endif  // KETRA_WINDOW_WIN32_RESOURCES_H_
