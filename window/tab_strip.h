// TabStrip: the strip of tabs of the form's tab control, painted with the style's own tab
// primitive. A QTabBar would do, but it builds scroll buttons and looks up themed icons when it
// is created, which costs more than the rest of the window's widgets together; this strip draws
// the same tabs without them. Each tab is an equal share of the control's width (the strip is
// laid out for a number of tabs a row), at least as wide as its caption.
//
// It never changes its own page: a click on a tab (the one shown too) calls `on_tab_clicked`,
// and the page shown is set from outside. With the focus, the tab shown is the focus of
// assistive tools. GUI thread only.
#ifndef KETRA_WINDOW_TAB_STRIP_H_
#define KETRA_WINDOW_TAB_STRIP_H_

#include <QStringList>
#include <QWidget>
#include <functional>

namespace ketra::window {

class TabStrip : public QWidget {
 public:
  TabStrip(const QStringList& captions, int row_width, int tabs_per_row, QWidget* parent);

  int count() const { return static_cast<int>(captions_.size()); }
  QString tabText(int index) const { return captions_.at(index); }
  QRect tabRect(int index) const;
  int currentIndex() const { return current_; }
  void setCurrentIndex(int index);
  // The tab under a point, or -1.
  int tabAt(const QPoint& point) const;

  std::function<void(int)> on_tab_clicked;

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void focusInEvent(QFocusEvent*) override;
  void focusOutEvent(QFocusEvent*) override { update(); }

 private:
  QStringList captions_;
  int tab_width_ = 0;
  int current_ = 0;
};

}  // namespace ketra::window

#endif  // KETRA_WINDOW_TAB_STRIP_H_
