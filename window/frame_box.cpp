// The frame drawn by hand: an etched rectangle and its caption.
#include "window/frame_box.h"

#include <QPainter>
#include <QStyle>

namespace ketra::window {

void FrameBox::SetLookEnabled(bool enabled) {
  if (look_enabled_ == enabled) return;
  look_enabled_ = enabled;
  update();
}

void FrameBox::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QFontMetrics metrics = fontMetrics();
  const QString caption = title();
  const int top = caption.isEmpty() ? 0 : metrics.height() / 2;
  const QRect edge = rect().adjusted(0, top, -2, -2);
  painter.setPen(palette().color(QPalette::Dark));
  painter.drawRect(edge);
  painter.setPen(palette().color(QPalette::Light));
  painter.drawRect(edge.translated(1, 1));
  if (caption.isEmpty()) return;
  const int indent = metrics.averageCharWidth();
  const QRect text(indent, 0, metrics.horizontalAdvance(caption) + indent, metrics.height());
  painter.fillRect(text, palette().window());
  style()->drawItemText(&painter, text, Qt::AlignCenter | Qt::TextShowMnemonic, palette(),
                        look_enabled_, caption, QPalette::WindowText);
}

}  // namespace ketra::window
