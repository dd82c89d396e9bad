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

namespace {

// The outline that QPainter::drawRect(edge) draws with a one-pixel pen, from four filled
// spans: the painter strokes the rectangle as a path, some 140,000 instructions each here.
void DrawOutline(QPainter& painter, const QRect& edge, const QColor& color) {
  const int x = edge.x();
  const int y = edge.y();
  const int w = edge.width();
  const int h = edge.height();
  painter.fillRect(x, y, w + 1, 1, color);
  painter.fillRect(x, y + h, w + 1, 1, color);
  painter.fillRect(x, y, 1, h + 1, color);
  painter.fillRect(x + w, y, 1, h + 1, color);
}

}  // namespace

void FrameBox::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const QFontMetrics metrics = fontMetrics();
  const QString caption = title();
  const int top = caption.isEmpty() ? 0 : metrics.height() / 2;
  const QRect edge = rect().adjusted(0, top, -2, -2);
  DrawOutline(painter, edge, palette().color(QPalette::Dark));
  DrawOutline(painter, edge.translated(1, 1), palette().color(QPalette::Light));
  if (caption.isEmpty()) return;
  const int indent = metrics.averageCharWidth();
  const QRect text(indent, 0, metrics.horizontalAdvance(caption) + indent, metrics.height());
  painter.fillRect(text, palette().window());
  style()->drawItemText(&painter, text, Qt::AlignCenter | Qt::TextShowMnemonic, palette(),
                        look_enabled_, caption, QPalette::WindowText);
}

}  // namespace ketra::window
