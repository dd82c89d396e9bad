// The up-down control: two arrow buttons, one over the other.
#include "window/up_down_box.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

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

namespace {
// Room around the arrows for the focus frame.
constexpr int kFocusMargin = 2;
}  // namespace

void UpDownBox::resizeEvent(QResizeEvent*) {
  const QRect inner = rect().adjusted(kFocusMargin, kFocusMargin, -kFocusMargin, -kFocusMargin);
  const int half = inner.height() / 2;
  up->setGeometry(inner.left(), inner.top(), inner.width(), half);
  down->setGeometry(inner.left(), inner.top() + half, inner.width(), inner.height() - half);
}

void UpDownBox::paintEvent(QPaintEvent*) {
  if (!hasFocus()) return;
  QPainter painter(this);
  QStyleOptionFocusRect option;
  option.initFrom(this);
  option.rect = rect();
  option.backgroundColor = palette().color(QPalette::Window);
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
}

}  // namespace ketra::window
