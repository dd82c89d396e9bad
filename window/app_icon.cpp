// The icon: the shell of a nine-pin connector, five pins over four, on a round plate.
#include "window/app_icon.h"

#include <QPainter>
#include <QPainterPath>

namespace ketra::window {

QPixmap KetraIconPixmap() {
  constexpr int kSize = 32;
  QPixmap pixmap(kSize, kSize);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);

  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0x1f, 0x4e, 0x8c));
  painter.drawRoundedRect(QRectF(1, 1, 30, 30), 7, 7);

  // The shell: a trapezoid wider at the top, with rounded corners.
  QPainterPath shell;
  shell.moveTo(5, 9);
  shell.lineTo(27, 9);
  shell.lineTo(23.5, 23);
  shell.lineTo(8.5, 23);
  shell.closeSubpath();
  painter.setBrush(QColor(0xd8, 0xdc, 0xe2));
  painter.setPen(QPen(QColor(0x0e, 0x24, 0x44), 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter.drawPath(shell);

  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(0xc8, 0x8a, 0x12));
  for (int pin = 0; pin < 5; ++pin) painter.drawEllipse(QPointF(8.5 + pin * 3.75, 13.5), 1.5, 1.5);
  for (int pin = 0; pin < 4; ++pin) painter.drawEllipse(QPointF(10.4 + pin * 3.75, 18.5), 1.5, 1.5);
  return pixmap;
}

QIcon KetraIcon() { return QIcon(KetraIconPixmap()); }

}  // namespace ketra::window
