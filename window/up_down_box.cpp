// The up-down control: two arrow buttons, one over the other.
#include "window/up_down_box.h"

namespace ketra::window {

UpDownBox::UpDownBox(QWidget* parent)
    : QWidget(parent), up(new QToolButton(this)), down(new QToolButton(this)) {
  for (QToolButton* arrow : {up, down}) {
    arrow->setAutoRepeat(true);
    arrow->setFocusPolicy(Qt::NoFocus);
  }
  up->setArrowType(Qt::UpArrow);
  down->setArrowType(Qt::DownArrow);
}

void UpDownBox::resizeEvent(QResizeEvent*) {
  const int half = height() / 2;
  up->setGeometry(0, 0, width(), half);
  down->setGeometry(0, half, width(), height() - half);
}

}  // namespace ketra::window
