#include "window/focus_mark_style.h"

#include <QApplication>
#include <QPainter>
#include <QStyleOption>
#include <algorithm>
#include <cmath>

namespace ketra::window {
namespace {

// 3:1 is the least a mark may have; the colour is chosen for 4.5:1 against the palette's flat
// colours, as the styles draw some surfaces as gradients a little lighter or darker than these.
constexpr double kWantedContrast = 4.5;
constexpr int kRingWidth = 2;

double Linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour) {
  return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) +
         0.0722 * Linear(colour.blueF());
}

// A two-pixel ring just inside `rect`.
void DrawRing(QPainter* painter, const QRect& rect, const QColor& colour) {
  if (rect.width() <= 2 * kRingWidth || rect.height() <= 2 * kRingWidth) return;
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing, false);
  painter->fillRect(rect.left(), rect.top(), rect.width(), kRingWidth, colour);
  painter->fillRect(rect.left(), rect.bottom() - kRingWidth + 1, rect.width(), kRingWidth, colour);
  painter->fillRect(rect.left(), rect.top(), kRingWidth, rect.height(), colour);
  painter->fillRect(rect.right() - kRingWidth + 1, rect.top(), kRingWidth, rect.height(), colour);
  painter->restore();
}

}  // namespace

double ContrastRatio(const QColor& a, const QColor& b) {
  const double la = Luminance(a);
  const double lb = Luminance(b);
  return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor FocusMarkColour(const QPalette& palette) {
  const QColor highlight = palette.color(QPalette::Highlight);
  const QColor candidates[] = {highlight, highlight.darker(150), highlight.lighter(160),
                               palette.color(QPalette::WindowText)};
  for (const QColor& colour : candidates) {
    if (ContrastRatio(colour, palette.color(QPalette::Window)) >= kWantedContrast &&
        ContrastRatio(colour, palette.color(QPalette::Base)) >= kWantedContrast &&
        ContrastRatio(colour, palette.color(QPalette::Button)) >= kWantedContrast) {
      return colour;
    }
  }
  return palette.color(QPalette::WindowText);
}

FocusMarkStyle::FocusMarkStyle(const QString& base) : QProxyStyle(base) {}

void FocusMarkStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                   QPainter* painter, const QWidget* widget) const {
  switch (element) {
    case PE_FrameFocusRect:
      DrawRing(painter, option->rect, FocusMarkColour(option->palette));
      return;
    case PE_FrameLineEdit:
    case PE_PanelButtonCommand:
    case PE_IndicatorRadioButton: {
      // The style's own faint focus outline gives way to the ring.
      // On a copy of the option's own type, kept on the stack: QStyleOption has no virtual
      // destructor, so a derived copy must not be deleted through it.
      auto draw_plain = [&](auto plain) {
        plain.state &= ~State_HasFocus;
        QProxyStyle::drawPrimitive(element, &plain, painter, widget);
      };
      if (const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option)) {
        draw_plain(QStyleOptionButton(*button));
      } else if (const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(option)) {
        draw_plain(QStyleOptionFrame(*frame));
      } else {
        draw_plain(QStyleOption(*option));
      }
      if (element != PE_IndicatorRadioButton && (option->state & State_HasFocus)) {
        DrawRing(painter, option->rect, FocusMarkColour(option->palette));
      }
      return;
    }
    default:
      QProxyStyle::drawPrimitive(element, option, painter, widget);
  }
}

void FocusMarkStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                        QPainter* painter, const QWidget* widget) const {
  if (control != CC_ComboBox) {
    QProxyStyle::drawComplexControl(control, option, painter, widget);
    return;
  }
  QStyleOptionComboBox plain = *qstyleoption_cast<const QStyleOptionComboBox*>(option);
  plain.state &= ~State_HasFocus;
  QProxyStyle::drawComplexControl(control, &plain, painter, widget);
  if (option->state & State_HasFocus) {
    DrawRing(painter, option->rect, FocusMarkColour(option->palette));
  }
}

void InstallFocusMarks() {
  QApplication::setStyle(new FocusMarkStyle(QApplication::style()->name()));
}

}  // namespace ketra::window
