// TextBox: a text box's QLineEdit, which also holds the selection the engine keeps for the box.
// The line edit shows a selection only while it has the focus, as the platform's edit boxes do;
// assistive tools read the engine's selection, shown or not, so that the focus moving on is no
// change of selection to them. Kept up to date by the box's ControlView. GUI thread only.
#ifndef KETRA_WINDOW_TEXT_BOX_H_
#define KETRA_WINDOW_TEXT_BOX_H_

#include <QLineEdit>

namespace ketra::window {

class TextBox : public QLineEdit {
 public:
  using QLineEdit::QLineEdit;

  int sel_start = 0;   // the engine's SelStart
  int sel_length = 0;  // the engine's SelLength
};
}  // namespace ketra::window

#endif  // KETRA_WINDOW_TEXT_BOX_H_
