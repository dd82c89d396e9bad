// FocusMarkStyle: the user's style (Fusion unless chosen otherwise) with focus marks that can be
// seen. The styles draw the keyboard's focus with the highlight colour at part opacity, about
// 1.7:1 against the window in Qt's default palette and 1.3:1 for an option in a dark one, where
// 3:1 against what surrounds it is the usual minimum for a focus mark (WCAG 2.2, 2.4.13). Here
// every focus mark (the focus frame of buttons, options, tabs and the up-down control, and the
// outline of a focused text box or drop-down list) is a solid two-pixel ring in the first of the
// palette's highlight, a darker or lighter highlight, and the window text, that has 3:1 against
// the window, the base and the button colours of the palette it is drawn with.
//
// Install once the QApplication has its style; owned by the application. GUI thread only.
#ifndef KETRA_WINDOW_FOCUS_MARK_STYLE_H_
#define KETRA_WINDOW_FOCUS_MARK_STYLE_H_

#include <QColor>
#include <QPalette>
#include <QProxyStyle>

namespace ketra::window {

// The contrast ratio of two colours, (L1 + 0.05) / (L2 + 0.05) of their relative luminances
// (WCAG 2.x), from 1 to 21.
double ContrastRatio(const QColor& a, const QColor& b);

// The colour of the focus marks drawn with `palette`.
QColor FocusMarkColour(const QPalette& palette);

class FocusMarkStyle : public QProxyStyle {
 public:
  // A new instance of the style named `base` ("fusion", "windows"...), with its focus marks.
  explicit FocusMarkStyle(const QString& base);

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                          QPainter* painter, const QWidget* widget) const override;
};

// Wraps the application's current style in a FocusMarkStyle.
void InstallFocusMarks();

}  // namespace ketra::window

#endif  // KETRA_WINDOW_FOCUS_MARK_STYLE_H_
