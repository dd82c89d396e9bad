// UpDownBox: the up-down control, an up arrow above a down arrow. The arrows never take the
// focus; the box does, from the engine, and then draws the style's focus frame around them. Owns
// its two arrows (child widgets). Assistive tools read it as a spin button whose value is
// `value`, the text of the box it steps, kept up to date by its ControlView. GUI thread only.
#ifndef KETRA_WINDOW_UP_DOWN_BOX_H_
#define KETRA_WINDOW_UP_DOWN_BOX_H_

#include <QToolButton>
#include <QWidget>

namespace ketra::window {

class UpDownBox : public QWidget {
 public:
  explicit UpDownBox(QWidget* parent);

  QToolButton* up;
  QToolButton* down;
  QString value;  // the stepped box's text; empty when it steps none

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void focusInEvent(QFocusEvent*) override { update(); }
  void focusOutEvent(QFocusEvent*) override { update(); }
};
}  // namespace ketra::window

#endif  // KETRA_WINDOW_UP_DOWN_BOX_H_
