// What assistive tools read from the window's own widgets, where Qt's defaults say the wrong
// thing: the window is a frame (Qt makes a plain top-level widget a filler); a drop-down list
// is named by its label, not by its entry, and its entry is its text, so that a screen reader
// speaks it with the name; an option button is a radio button (Qt reports a check box for a
// radio button that does not exclude its siblings itself, and ours never does: exclusion is the
// engine's rule); the tab strip, a widget of our own, is a named page tab list with one page tab
// for each tab; the up-down control is a spin button whose value is the box it steps; a text
// box's text is one attribute run, and its selection the engine's.
//
// The Announce functions send the events by which a screen reader hears a change of what the
// user works on; the controls' views call them when the engine changes the value shown.
//
// InstallAccessibility adds the factory to Qt's list once; it may be called again. The
// interfaces it makes are owned by Qt's accessibility cache. GUI thread only.
#ifndef KETRA_WINDOW_ACCESSIBILITY_H_
#define KETRA_WINDOW_ACCESSIBILITY_H_

#include <QString>

class QComboBox;

namespace ketra::window {

class TabStrip;
class UpDownBox;

void InstallAccessibility();

// The entry shown by a drop-down list changed from `before`.
void AnnounceListEntry(QComboBox* box, const QString& before);
// The value of an up-down control changed.
void AnnounceUpDownValue(UpDownBox* updown);
// The tab shown of a focused tab strip is the focus now (its page changed, or the strip took
// the focus).
void AnnounceShownTab(TabStrip* strip);

}  // namespace ketra::window

#endif  // KETRA_WINDOW_ACCESSIBILITY_H_
