// The program's message boxes as modal Qt boxes: the text, the icon of the style (none,
// information, warning, critical), an OK button alone, and no title of the program's own (the
// platform shows its default title for a window without one).
//
// Does not own the parent window. GUI thread only; Show returns when the user closed the box.
#ifndef KETRA_WINDOW_QT_MESSAGE_BOXES_H_
#define KETRA_WINDOW_QT_MESSAGE_BOXES_H_

#include <QMessageBox>
#include <QPointer>
#include <QWidget>

#include "platform/forms/services.h"

namespace ketra::window {

QMessageBox::Icon IconOf(forms::MsgBoxStyle style);

class QtMessageBoxes : public forms::MessageBoxService {
 public:
  // Boxes shown before the window exists stand on their own, centred on the screen.
  void SetParent(QWidget* parent) { parent_ = parent; }
  void Show(std::string_view text, forms::MsgBoxStyle style) override;

 private:
  QPointer<QWidget> parent_;
};

}  // namespace ketra::window

#endif  // KETRA_WINDOW_QT_MESSAGE_BOXES_H_
