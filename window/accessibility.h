// What assistive tools read from the window's own widgets, where Qt's defaults say the wrong
// thing: a drop-down list is named by its label, not by its entry; an option button is a radio
// button (Qt reports a check box for a radio button that does not exclude its siblings itself,
// and ours never does: exclusion is the engine's rule); and the tab strip, a widget of our own,
// is a page tab list with one page tab for each tab.
//
// InstallAccessibility adds the factory to Qt's list once; it may be called again. The
// interfaces it makes are owned by Qt's accessibility cache. GUI thread only.
#ifndef KETRA_WINDOW_ACCESSIBILITY_H_
#define KETRA_WINDOW_ACCESSIBILITY_H_

namespace ketra::window {

void InstallAccessibility();

}  // namespace ketra::window

#endif  // KETRA_WINDOW_ACCESSIBILITY_H_
